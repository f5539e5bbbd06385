// Loads numbers of variables in the order in which the file holds them.
#include "Lbt/Tev/Analysis/FileOrder.h"

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Analysis {

namespace {

/// The exception that is being handled; in place of what zlib leaves one that names the block.
std::exception_ptr CurrentFailure(const Tree& tree) {
  const auto refused = tree.GetFile().GetIndex().RefusedBlock();
  try {
    throw;
  } catch (const Lbt::Util::Exception&) {
    return std::current_exception();
  } catch (const std::exception&) {
    if (!refused) {
      return std::current_exception();
    }
  }
  const std::string message = "zlib refuses the data of block " + std::to_string(refused->number) +
                              " (" + refused->stream + ")";
  try {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ReadError, message.c_str(),
                    "include/Lbt/Tev/Analysis/FileOrder");
  } catch (const Lbt::Util::Exception&) {
    return std::current_exception();
  }
}

/// All loads of a list, and what waits for what: numbers for their arrays and for the nodes that
/// take part, and these for the arrays of the faces.
class Loads {
 public:
  Loads(const Tree& tree, std::span<const WantedNumbers> wanted,
        const std::function<void(LoadedNumbers)>& take)
      : tree_(&tree), take_(&take) {
    requests_.reserve(wanted.size());
    for (const WantedNumbers& numbers : wanted) {
      AddRequest(numbers);
    }
  }

  void Run(const Loading& loading) {
    std::vector<unsigned long> positions;
    for (const auto& [key, array] : arrays_) {
      if (array.source->loader != nullptr) {
        positions.push_back(key.first.position);
      }
    }
    BlocksAhead ahead(loading, StreamNames().heavy, positions);
    SetBudget(loading);
    for (auto& [key, array] : arrays_) {
      LoadNext(key.first, key.second, array, ahead);
      const std::vector<Mask*> masks = std::move(array.masks);
      for (Mask* mask : masks) {
        if (--mask->missing == 0) {
          Build(*mask);
        }
      }
      const std::vector<std::size_t> requests = std::move(array.requests);
      for (const std::size_t request : requests) {
        Arrive(request);
      }
    }
  }

 private:
  struct Mask;

  /// The numbers of one array; floats, or whole numbers for faces and their lengths.
  struct Array {
    const NumericArray* source = nullptr;
    std::size_t users = 0;  // that have not been served
    std::vector<Mask*> masks{};
    std::vector<std::size_t> requests{};
    std::shared_ptr<const std::vector<float>> floats{};
    std::vector<unsigned int> wholes{};
    std::exception_ptr failure{};
  };

  /// Sound models have each byte decoded about once; records that all refer to the same bytes
  /// must not make as much work as they like.
  void SetBudget(const Loading& loading) {
    constexpr std::uint64_t kTimes = 16;
    constexpr std::uint64_t kFurther = std::uint64_t{16} << 20U;
    auto* stream =
        loading.file == nullptr ? nullptr : loading.file->FindStream(StreamNames().heavy);
    if (stream != nullptr) {
      budget_ = loading.file->ReadRecordedLength(*stream) * kTimes + kFurther;
    }
  }

  void Charge(std::uint64_t bytes) {
    if (bytes > budget_) {
      Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds,
                      "The model refers to its data too often",
                      "include/Lbt/Tev/Analysis/FileOrder");
    }
    budget_ -= bytes;
  }

  /// A block that zlib has refused is not tried again for the next array in it.
  void LoadNext(const ArrayKey& key, bool isOfWholes, Array& array, BlocksAhead& ahead) {
    const bool isInFile = array.source->loader != nullptr;
    const std::optional<std::size_t> entry = isInFile ? ahead.EntryAt(key.position) : std::nullopt;
    if (entry && refusedEntry_ == entry) {
      array.failure = refusal_;
      return;
    }
    array.failure = FailureOfLoad(*tree_, [&] {
      Charge(key.byteSize);
      Load(array, isOfWholes, ahead);
    });
    const auto refused = tree_->GetFile().GetIndex().RefusedBlock();
    if (array.failure != nullptr && entry && refused && refused->number == *entry) {
      refusedEntry_ = entry;
      refusal_ = array.failure;
    }
  }

  /// The nodes that take part.
  struct Mask {
    Array* faces = nullptr;
    Array* lengths = nullptr;  // null where the mesh has none
    std::size_t points = 0;
    std::size_t missing = 0;
    std::size_t users = 0;
    std::vector<std::size_t> requests{};
    std::shared_ptr<const UsedNodes> used{};
    std::exception_ptr failure{};
  };

  struct Request {
    Array* values = nullptr;
    Array* ids = nullptr;
    Mask* mask = nullptr;
    std::size_t missing = 0;
  };

  using MaskKey = std::tuple<Array*, Array*, std::size_t>;

  Array& ArrayOf(const Geometry::VarStruct& variable, bool isOfWholes) {
    Array& array = arrays_[{ArrayKey(variable.array), isOfWholes}];
    array.source = &variable.array;
    ++array.users;
    return array;
  }

  /// Parts without faces take part as a whole, and wait for nothing.
  Mask& MaskOf(const WantedNumbers& numbers) {
    const auto find = [&](const Geometry::VarStruct* variable) {
      return variable == nullptr ? nullptr : &ArrayOf(*variable, true);
    };
    Array* faces = find(numbers.faces);
    Array* lengths = faces == nullptr ? nullptr : find(numbers.lengths);
    const auto [found, isNew] = masks_.try_emplace({faces, lengths, numbers.count});
    Mask& mask = found->second;
    ++mask.users;
    if (isNew) {
      mask.faces = faces;
      mask.lengths = lengths;
      mask.points = numbers.count;
      for (Array* array : {faces, lengths}) {
        if (array != nullptr) {
          array->masks.push_back(&mask);
          ++mask.missing;
        }
      }
      if (faces == nullptr) {
        mask.used = std::make_shared<const UsedNodes>(mask.points);
      }
    } else {
      for (Array* array : {faces, lengths}) {
        Release(array);  // the mask that is there uses it already
      }
    }
    return mask;
  }

  void AddRequest(const WantedNumbers& numbers) {
    const std::size_t place = requests_.size();
    Request& request = requests_.emplace_back();
    request.values = &ArrayOf(*numbers.variable, false);
    request.ids = numbers.ids == nullptr ? nullptr : &ArrayOf(*numbers.ids, false);
    request.mask = &MaskOf(numbers);
    for (Array* array : {request.values, request.ids}) {
      if (array != nullptr) {
        array->requests.push_back(place);
        ++request.missing;
      }
    }
    if (request.mask->missing != 0) {
      request.mask->requests.push_back(place);
      ++request.missing;
    }
  }

  static void Load(Array& array, bool isOfWholes, BlocksAhead& ahead) {
    if (isOfWholes) {
      array.wholes = LoadArray<unsigned int>(*array.source, ahead);
    } else {
      array.floats =
          std::make_shared<const std::vector<float>>(LoadArray<float>(*array.source, ahead));
    }
  }

  void Build(Mask& mask) {
    static const std::vector<unsigned int> none;
    const Array* lengths = mask.lengths;
    mask.failure = mask.faces->failure;
    if (mask.failure == nullptr && lengths != nullptr) {
      mask.failure = lengths->failure;
    }
    if (mask.failure == nullptr) {
      mask.failure = FailureOfLoad(*tree_, [&] {
        mask.used = std::make_shared<const UsedNodes>(
            mask.faces->wholes, lengths == nullptr ? none : lengths->wholes, mask.points);
      });
    }
    Release(mask.faces);
    Release(mask.lengths);
    const std::vector<std::size_t> requests = std::move(mask.requests);
    for (const std::size_t request : requests) {
      Arrive(request);
    }
  }

  /// One thing that a request waits for is there.
  void Arrive(std::size_t place) {
    Request& request = requests_[place];
    if (--request.missing != 0) {
      return;
    }
    LoadedNumbers loaded{.place = place,
                         .values = request.values->floats,
                         .used = request.mask->used,
                         .ids = request.ids == nullptr ? nullptr : request.ids->floats,
                         .isLast = request.values->users == 1,
                         .failure = FailureOfRequest(request)};
    Release(request.values);
    Release(request.ids);
    if (--request.mask->users == 0) {
      request.mask->used.reset();
    }
    (*take_)(std::move(loaded));
  }

  [[nodiscard]] static std::exception_ptr FailureOfRequest(const Request& request) {
    if (request.values->failure != nullptr) {
      return request.values->failure;
    }
    const bool areIdsLost = request.ids != nullptr && request.ids->failure != nullptr;
    return areIdsLost ? request.ids->failure : request.mask->failure;
  }

  static void Release(Array* array) {
    if (array != nullptr && --array->users == 0) {
      array->floats.reset();
      std::vector<unsigned int>().swap(array->wholes);
    }
  }

  const Tree* tree_;
  const std::function<void(LoadedNumbers)>* take_;
  std::uint64_t budget_ = std::numeric_limits<std::uint64_t>::max();
  std::optional<std::size_t> refusedEntry_;
  std::exception_ptr refusal_;
  std::map<std::pair<ArrayKey, bool>, Array> arrays_;
  std::map<MaskKey, Mask> masks_;
  std::vector<Request> requests_;
};

}  // namespace

std::exception_ptr FailureOfLoad(const Tree& tree, const std::function<void()>& load) {
  try {
    load();
  } catch (const std::exception& exception) {
    if (LbtLbf::IsLackOfMemory(exception)) {
      throw;
    }
    return CurrentFailure(tree);
  }
  return nullptr;
}

WantedNumbers WantedFor(const Model& model, const FieldOfPart& field) {
  const MeshVariables mesh = model.MeshAt(model.Parts()[field.part], field.field->step);
  WantedNumbers wanted{.variable = field.field->variable, .count = field.field->count};
  if (field.field->location == Location::Node) {
    wanted.faces = mesh.faces;
    wanted.lengths = mesh.lengths;
    wanted.ids = mesh.nodeIds;
  } else if (field.field->location == Location::Element) {
    wanted.ids = mesh.elementIds;
  }
  return wanted;
}

void LoadInFileOrder(const Tree& tree, std::span<const WantedNumbers> wanted,
                     const std::function<void(LoadedNumbers)>& take, const Loading& loading) {
  Loads(tree, wanted, take).Run(loading);
}

}  // namespace LbtTev::Analysis
