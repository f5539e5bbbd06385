// Reads an open model for Python, one thread at a time.

#include "ModelReader.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <thread>
#include <utility>

#include "Lbt/Tev/Analysis/FaceChecks.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Exchange/Contents.h"
#include "tev/Entries.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"

using namespace LbtTev::Analysis;

struct ModelReader::Opened {
  explicit Opened(const std::string& path) : input(path), entry("info", path) {
    RequireReadable(input.Get());
    try {
      LoadModel(tree, input.Get(), entry.Writer());
    } catch (...) {
      throw CurrentReadFailure(&tree.GetFile());
    }
    tree.GetFile().GetIndex().ObserveLoads([this](std::size_t) { ++blocksRead; });
    model.emplace(tree);
  }

  [[nodiscard]] const std::vector<FieldOfPart>& Fields() {
    if (!fields) {
      fields = SelectFields(*model, {});
    }
    return *fields;
  }

  [[nodiscard]] const Part& PartAt(std::size_t place) const {
    const Part& part = model->Parts().at(place);
    if (part.geometry == nullptr) {
      throw Failure(FailureCode::Damaged, "the geometry of part " + std::to_string(part.id) + " (" +
                                              part.name + ") is missing");
    }
    return part;
  }

  [[nodiscard]] MeshVariables MeshOf(std::size_t place, std::int64_t step) const {
    const Part& part = PartAt(place);
    return step == kOwnMesh  ? part.mesh
           : step == kNoStep ? model->MeshAt(part, std::nullopt)
                             : model->MeshAt(part, static_cast<std::size_t>(step));
  }

  /// Before what refers to the file: a pipe has a copy there.
  NamedInput input;
  EntryInMemory entry;
  LbtTev::Tree tree;
  std::optional<Model> model;
  std::string info;
  std::optional<std::vector<FieldOfPart>> fields;
  std::uint64_t blocksRead = 0;
};

namespace {

/// One core is left to who asks.
std::size_t HelpingThreads() {
  constexpr unsigned int kMost = 3;
  return std::clamp(std::thread::hardware_concurrency(), 1U, kMost) - 1;
}

/// What the exception that is being handled tells of a file that it ended the opening of.
ReadFailure FailureToOpen(const std::string& path) {
  ReadFailure known = CurrentReadFailure(nullptr);
  known.path = path;
  return known;
}

/// "failure" with the place of the variable that it is about.
ReadFailure FailureAt(const std::exception_ptr& failure, const LbtTev::Tree& tree,
                      const LbtTev::Geometry::VarStruct& variable) {
  try {
    std::rethrow_exception(failure);
  } catch (...) {
    LbtTev::ModelStream& stream = *tree.GetStreams().heavy;
    ReadFailure known = CurrentReadFailure(&stream.GetFile());
    if (known.code == FailureCode::Damaged && variable.array.loader != nullptr) {
      const unsigned long position = variable.array.OwnLoader().GetPosition();
      known.place = {.block = stream.GetFile().FindBlockAt(stream.GetName(), position),
                     .stream = stream.GetName(),
                     .offset = position};
    }
    return known;
  }
}

/// Loads what belongs together. Throws a ReadFailure for the first that cannot be.
LoadedGroup LoadTogether(const LbtTev::Tree& tree, const WantedGroup& group) {
  LoadedGroup all;
  const std::vector<WantedGroup> groups{group};
  LoadInFileOrder({.tree = &tree, .groups = groups, .helpers = {HelpingThreads()}},
                  [&all](std::size_t, const LoadedGroup& loaded) { all = loaded; });
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].failure != nullptr) {
      throw FailureAt(all[i].failure, tree, *group[i].variable);
    }
  }
  return all;
}

/// Throws why a field has no statistics: at the first of what they are made of that cannot be
/// loaded, else at the faces, which are checked in them.
[[noreturn]] void ThrowOfStatistics(const Model& model, const FieldOfPart& each,
                                    const std::exception_ptr& failure) {
  const LbtTev::Tree& tree = model.GetTree();
  const Field& field = *each.field;
  const MeshVariables mesh = model.MeshAt(model.Parts()[each.part], field.step);
  const bool isOfFaces = field.location == Location::Node && mesh.faces != nullptr;
  WantedGroup group{{.variable = field.variable}};
  if (isOfFaces) {
    group.push_back({.variable = mesh.faces, .isOfWholes = true});
    group.push_back({.variable = mesh.lengths, .isOfWholes = true});
  }
  group.push_back({.variable = mesh.IdsOf(field.location)});
  static_cast<void>(LoadTogether(tree, group));
  throw FailureAt(failure, tree, isOfFaces ? *mesh.faces : *field.variable);
}

/// Runs "check". Throws a ReadFailure at "variable" for what it throws.
template <class Check>
void Checking(const LbtTev::Tree& tree, const LbtTev::Geometry::VarStruct& variable,
              const Check& check) {
  if (const auto failure = FailureOfLoad(tree, check); failure != nullptr) {
    throw FailureAt(failure, tree, variable);
  }
}

std::size_t TuplesOf(const LbtTev::Geometry::VarStruct* variable) {
  return variable == nullptr ? 0 : LbtTev::Analysis::TuplesOf(variable->array);
}

/// Tuples of one component are a plain list.
std::vector<std::size_t> ShapeOf(std::size_t count, std::size_t components) {
  return components == 1 ? std::vector{count} : std::vector{count, components};
}

template <class T>
std::shared_ptr<const std::vector<T>> OrNone(std::shared_ptr<const std::vector<T>> numbers) {
  return numbers == nullptr ? std::make_shared<const std::vector<T>>() : std::move(numbers);
}

template <class T>
Numbers<T> ListOf(std::vector<T> numbers) {
  const std::size_t count = numbers.size();
  return {std::make_shared<const std::vector<T>>(std::move(numbers)), {count}};
}

std::vector<std::int64_t> OffsetsOf(std::span<const unsigned int> lengths) {
  std::vector<std::int64_t> offsets{0};
  offsets.reserve(lengths.size() + 1);
  for (const unsigned int length : lengths) {
    offsets.push_back(offsets.back() + length);
  }
  return offsets;
}

template <class Write>
std::string JsonLine(const Write& write) {
  std::ostringstream text;
  text.exceptions(std::ios::badbit);
  JsonWriter json(text, JsonLayout::OneLine);
  write(json);
  return std::move(text).str();
}

}  // namespace

ModelReader::ModelReader(const std::string& path, std::uint64_t cacheBytes) : process_(getpid()) {
  try {
    opened_ = std::make_unique<Opened>(path);
  } catch (...) {
    throw FailureToOpen(path);
  }
  if (cacheBytes != 0) {
    opened_->tree.GetFile().GetIndex().KeepAllContents(cacheBytes);
  }
}

ModelReader::~ModelReader() {
  if (IsInheritedByFork()) {
    static_cast<void>(opened_.release());  // to close the file would move the place in the other's
  }
}

bool ModelReader::IsInheritedByFork() const { return getpid() != process_; }

template <class Work>
auto ModelReader::Locked(const Work& work) {
  if (IsInheritedByFork()) {
    throw std::runtime_error("the model was opened before this process was forked: open it anew");
  }
  const std::scoped_lock lock(mutex_);
  if (opened_ == nullptr) {
    throw std::invalid_argument("the model is closed");
  }
  try {
    return work(*opened_);
  } catch (...) {
    throw CurrentReadFailure(&opened_->tree.GetFile());
  }
}

void ModelReader::Close() {
  if (IsInheritedByFork()) {
    return;
  }
  const std::scoped_lock lock(mutex_);
  opened_.reset();
}

bool ModelReader::IsClosed() const {
  if (IsInheritedByFork()) {
    return true;
  }
  const std::scoped_lock lock(mutex_);
  return opened_ == nullptr;
}

std::string ModelReader::Info() {
  return Locked([](Opened& opened) {
    if (opened.info.empty()) {
      AnswerWriter& writer = opened.entry.Writer();
      try {
        WriteInfoJson(*opened.model, writer.Lost(), nullptr, writer.Facts());
      } catch (...) {
        writer.FailWithoutFacts(FailureOfCurrentException());  // lets go what was written
        throw;
      }
      opened.info = opened.entry.Take();
    }
    return opened.info;
  });
}

std::string ModelReader::Fields() {
  return Locked([](Opened& opened) {
    return JsonLine([&opened](JsonWriter& json) {
      json.OpenList();
      for (const FieldOfPart& field : opened.Fields()) {
        WriteFieldJson(*opened.model, field, nullptr, json);
      }
      json.Close();
    });
  });
}

std::vector<LoadedField> ModelReader::Load(std::span<const std::size_t> fields) {
  return Locked([fields](Opened& opened) {
    std::vector<const Field*> asked;
    std::vector<WantedGroup> groups;
    for (const std::size_t place : fields) {
      asked.push_back(opened.Fields().at(place).field);
      groups.push_back({{.variable = asked.back()->variable}});
    }
    std::vector<LoadedField> all(fields.size());
    LoadInFileOrder(
        {.tree = &opened.tree, .groups = groups, .helpers = {HelpingThreads()}},
        [&](std::size_t i, const LoadedGroup& loaded) {
          const Field& field = *asked[i];
          if (loaded.front().failure != nullptr) {
            all[i].failure = FailureAt(loaded.front().failure, opened.tree, *field.variable);
          }
          all[i].values = {OrNone(loaded.front().floats), ShapeOf(field.count, field.components)};
        });
    return all;
  });
}

std::string ModelReader::FieldStatistics(std::size_t field) {
  return Locked([field](Opened& opened) {
    const std::vector<FieldOfPart> asked{opened.Fields().at(field)};
    std::exception_ptr failure;
    std::string line = JsonLine([&](JsonWriter& json) {
      GatherStatistics(
          *opened.model, asked,
          [&](const FieldOfPart& each, const LbtTev::Analysis::FieldStatistics& statistics) {
            failure = statistics.statistics ? nullptr : statistics.failure;
            WriteFieldJson(*opened.model, each, &statistics, json);
          },
          HelpingThreads());
    });
    if (failure != nullptr) {
      ThrowOfStatistics(*opened.model, asked.front(), failure);
    }
    return line;
  });
}

Numbers<float> ModelReader::Points(std::size_t part, std::int64_t step) {
  return Locked([part, step](Opened& opened) -> Numbers<float> {
    const MeshVariables mesh = opened.MeshOf(part, step);
    const auto loaded = LoadTogether(opened.tree, {{.variable = mesh.coordinates}});
    if (mesh.coordinates != nullptr) {
      Checking(opened.tree, *mesh.coordinates,
               [&] { LbtTev::Exchange::RequireThreeCoordinates(mesh); });
    }
    return {OrNone(loaded.front().floats), {TuplesOf(mesh.coordinates), 3}};
  });
}

LoadedFaces ModelReader::Faces(std::size_t part, std::int64_t step) {
  return Locked([part, step](Opened& opened) -> LoadedFaces {
    const MeshVariables mesh = opened.MeshOf(part, step);
    const auto loaded = LoadTogether(opened.tree, {{.variable = mesh.faces, .isOfWholes = true},
                                                   {.variable = mesh.lengths, .isOfWholes = true}});
    const auto indices = OrNone(loaded.front().wholes);
    if (const auto* variable = mesh.faces == nullptr ? mesh.lengths : mesh.faces) {
      Checking(opened.tree, *variable, [&] {
        CheckFaces(ExtentOf(*indices, loaded.back().Wholes()),
                   PointsOf(opened.model->Parts()[part], mesh,
                            step < 0 ? std::nullopt : std::optional<std::size_t>(step)));
      });
    }
    return {ListOf(OffsetsOf(loaded.back().Wholes())), {indices, {indices->size()}}};
  });
}

Numbers<std::int64_t> ModelReader::Ids(std::size_t part, std::int64_t step, bool ofNodes) {
  return Locked([part, step, ofNodes](Opened& opened) {
    const MeshVariables mesh = opened.MeshOf(part, step);
    const auto loaded =
        LoadTogether(opened.tree, {{.variable = ofNodes ? mesh.nodeIds : mesh.elementIds}});
    const std::span<const float> stored = loaded.front().Floats();
    std::vector<std::int64_t> ids(stored.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
      ids[i] = IdAt(stored, i).value_or(0);
    }
    return ListOf(std::move(ids));
  });
}

std::uint64_t ModelReader::BlocksRead() {
  return Locked([](Opened& opened) { return opened.blocksRead; });
}
