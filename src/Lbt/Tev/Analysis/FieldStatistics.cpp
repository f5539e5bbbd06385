// Works out the statistics of many fields, or counts elements, in one pass through the file.

#include <algorithm>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Remembered.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::Analysis {

namespace {

/// The nodes that take part in fields: one for all parts and steps that share the faces.
struct Mask {
  WantedGroup wanted;      // faces and their lengths; none where all nodes take part
  std::size_t points = 0;  // the most that a field has of them
  std::size_t users = 0;   // fields that have not been served
  bool isThere = false;
  std::shared_ptr<const UsedNodes> used{};
  std::exception_ptr failure{};
  std::vector<std::pair<std::size_t, LoadedGroup>> waiting{};  // fields whose numbers came first
};

/// Parts that share numbers and nodes have the same statistics. Other work on shared numbers counts
/// as bytes that were copied.
class SharedStatistics {
 public:
  explicit SharedStatistics(ModelStream& heavy) : heavy_(&heavy) {}

  const Statistics& Of(const LoadedArray& values, const LoadedArray& ids,
                       const std::shared_ptr<const UsedNodes>& used, std::size_t width) {
    return known_.Of({Identity(values), Identity(ids), Identity(used)}, width * sizeof(Figures),
                     [&] {
                       heavy_->Charge(used->Count() * width * sizeof(float));
                       return StatisticsOf(values.Tuples(width), *used, ids.Tuples(1));
                     });
  }

 private:
  ModelStream* heavy_;
  Remembered<std::tuple<Identity, Identity, Identity>, Statistics> known_;
};

/// The groups that are loaded are those of the fields, and then those of the masks.
class Gathering {
 public:
  using Take = std::function<void(const FieldOfPart&, const FieldStatistics&)>;

  Gathering(const Model& model, std::span<const FieldOfPart> fields, const Take& take)
      : model_(&model),
        fields_(fields),
        shared_(*model.GetTree().GetStreams().heavy),
        results_([&take, fields](std::size_t place, const FieldStatistics& result) {
          take(fields[place], result);
        }) {
    for (const FieldOfPart& field : fields) {
      Add(field);
    }
  }

  void Run(std::size_t threads) {
    for (const Mask* mask : masks_) {
      wanted_.push_back(mask->wanted);
    }
    LoadInFileOrder({&model_->GetTree(), wanted_, {.threads = threads}},
                    [this](std::size_t place, const LoadedGroup& loaded) {
                      if (place < fields_.size()) {
                        TakeField(place, loaded);
                      } else {
                        Build(*masks_[place - fields_.size()], loaded);
                      }
                    });
  }

 private:
  /// Faces and their lengths, else the number of points.
  using MaskKey = std::tuple<bool, ArrayKey, ArrayKey, std::size_t>;

  void Add(const FieldOfPart& each) {
    const Field& field = *each.field;
    const MeshVariables mesh = model_->MeshAt(model_->Parts()[each.part], field.step);
    const bool hasMask = field.location == Location::Node && mesh.faces != nullptr;
    using enum WantedArray::Turn;
    wanted_.push_back({{.variable = field.variable, .mayStayStored = true},
                       WantedIds(mesh.IdsOf(field.location))});
    if (hasMask) {
      wanted_.back().push_back({mesh.faces, true, BeforeFirstForOthers});
      wanted_.back().push_back({mesh.lengths, true, BeforeFirstForOthers});
    }
    maskOf_.push_back(&MaskOf(hasMask ? mesh : MeshVariables(), field.count));
    ++maskOf_.back()->users;
  }

  Mask& MaskOf(const MeshVariables& mesh, std::size_t points) {
    const auto keyOf = [](const Geometry::VarStruct* variable) {
      return variable == nullptr ? ArrayKey() : ArrayKey(variable->array);
    };
    const bool hasFaces = mesh.faces != nullptr;
    const MaskKey key{hasFaces, keyOf(mesh.faces), hasFaces ? keyOf(mesh.lengths) : ArrayKey(),
                      hasFaces ? 0 : points};
    const auto [found, isNew] = maskOfKey_.try_emplace(key);
    Mask& mask = found->second;
    mask.points = std::max(mask.points, points);
    if (isNew) {
      mask.isThere = !hasFaces;
      if (hasFaces) {
        mask.wanted = {{mesh.faces, true}, {mesh.lengths, true}};
        masks_.push_back(&mask);
      } else {
        mask.used = std::make_shared<const UsedNodes>(points);
      }
    }
    return mask;
  }

  void Build(Mask& mask, const LoadedGroup& loaded) {
    mask.isThere = true;
    mask.failure = FailureOf(loaded);
    if (mask.failure == nullptr) {
      mask.failure = FailureOfLoad(model_->GetTree(), [&] {
        const auto faces = loaded[0].Wholes();
        const auto lengths = loaded[1].Wholes();
        model_->GetTree().GetStreams().heavy->Charge(faces.size_bytes() + lengths.size_bytes());
        mask.used = std::make_shared<const UsedNodes>(faces, lengths, mask.points);
      });
    }
    for (auto& [field, numbers] : std::exchange(mask.waiting, {})) {
      Finish(field, numbers, mask);
    }
  }

  void TakeField(std::size_t field, const LoadedGroup& loaded) {
    Mask& mask = *maskOf_[field];
    if (mask.isThere) {
      Finish(field, loaded, mask);
    } else {
      mask.waiting.emplace_back(field, loaded);
    }
  }

  void Finish(std::size_t place, const LoadedGroup& loaded, Mask& mask) {
    const LoadedArray& values = loaded[0];
    const LoadedArray& ids = loaded[1];
    FieldStatistics result{.failure = values.failure != nullptr ? values.failure : mask.failure};
    if (result.failure == nullptr) {
      result.failure = FailureOfLoad(model_->GetTree(), [&] {
        const Field& field = *fields_[place].field;
        mask.used->RequireWithin(field.count);
        result.statistics = shared_.Of(values, ids, mask.used, field.components);
      });
    }
    result.failure = result.failure != nullptr ? result.failure : ids.failure;
    if (--mask.users == 0) {
      mask.used.reset();
    }
    results_.Add(place, std::move(result));
  }

  const Model* model_;
  std::span<const FieldOfPart> fields_;
  std::vector<WantedGroup> wanted_;
  std::vector<Mask*> maskOf_;  // of the fields
  std::map<MaskKey, Mask> maskOfKey_;
  std::vector<Mask*> masks_;  // those that are to be loaded
  SharedStatistics shared_;
  InOrder<FieldStatistics> results_;
};

std::shared_ptr<const ElementCounts> CountsOf(std::span<const unsigned int> lengths) {
  auto counts = std::make_shared<ElementCounts>();
  for (const unsigned int length : lengths) {
    ++counts->byNodes[length];
    counts->nodes += length;
  }
  return counts;
}

}  // namespace

void GatherStatistics(const Model& model, std::span<const FieldOfPart> fields,
                      const std::function<void(const FieldOfPart&, const FieldStatistics&)>& take,
                      std::size_t threads) {
  Gathering(model, fields, take).Run(threads);
}

void CountElements(const Model& model,
                   const std::function<void(std::size_t, std::shared_ptr<const ElementCounts>,
                                            std::exception_ptr)>& take) {
  std::vector<std::size_t> parts;
  std::vector<WantedGroup> wanted;
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    if (const auto* lengths = model.Parts()[i].mesh.lengths) {
      parts.push_back(i);
      wanted.push_back({{lengths, true}});
    }
  }
  std::weak_ptr<const std::vector<unsigned int>> last;
  std::shared_ptr<const ElementCounts> counts;
  LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t place, const LoadedGroup& loaded) {
    const Geometry::VarStruct* faces = model.Parts()[parts[place]].mesh.faces;
    std::exception_ptr failure = FailureOf(loaded);
    if (failure == nullptr) {
      if (loaded[0].wholes != last.lock()) {
        counts = CountsOf(loaded[0].Wholes());
        last = loaded[0].wholes;
      }
      failure = FailureOfLoad(model.GetTree(), [&] {
        CheckLengths(counts->nodes, faces == nullptr ? 0 : faces->array.GetNumElements());
      });
    }
    take(parts[place], failure == nullptr ? counts : nullptr, failure);
  });
}

}  // namespace LbtTev::Analysis
