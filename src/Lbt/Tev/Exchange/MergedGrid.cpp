// Puts all parts of a step into one grid.

#include "Lbt/Tev/Exchange/MergedGrid.h"

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <tuple>

#include "GridMembers.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Exchange {

namespace {

using Analysis::Field;
using Analysis::LoadedArray;
using Analysis::LoadedGroup;
using Analysis::Location;
using Analysis::UsedNodes;

/// What a loaded group is for.
struct Purpose {
  enum class Kind : std::uint8_t { Mesh, NodeIds, ElementIds, Field };

  Kind kind = Kind::Field;
  const Member* member = nullptr;
  const Field* field = nullptr;
  std::size_t array = 0;
};

constexpr std::int32_t kNoId = -1;

/// The work on one grid.
class Merging {
 public:
  Merging(const Contents& contents, std::size_t place, const CellRules& rules, GridSink& sink,
          const Listener& listener)
      : contents_(&contents),
        model_(&contents.GetModel()),
        place_(place),
        step_(contents.Steps()[place]),
        rules_(&rules),
        sink_(&sink),
        listener_(&listener),
        heavy_(model_->GetTree().GetStreams().heavy),
        request_(*heavy_),
        sets_(SortedSetsOf(model_->GetTree())) {}

  void Run() {
    Describe();
    PlanMesh();
    PlanFields();
    sink_->Begin(layout_);
    WriteNumbers();
    FillGaps();
  }

 private:
  void Describe() {
    grid_ = FindMembers(*contents_, step_, *rules_, *listener_);
    layout_.points = grid_.points;
    layout_.cells = grid_.cells;
    layout_.time = contents_->TimeOf(place_);
    layout_.step = contents_->TextOf(step_);
    const std::vector<std::string> names = contents_->PartNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
      layout_.parts.emplace_back(model_->Parts()[contents_->Parts()[i]].id, names[i]);
    }
  }

  [[nodiscard]] std::uint64_t TuplesOf(ArrayRole role) const {
    return role == ArrayRole::Points || role == ArrayRole::PointData ? layout_.points
           : role == ArrayRole::Connectivity                         ? grid_.connectivity
                                                                     : layout_.cells;
  }

  std::size_t AddArray(ArrayRole role, const std::string& name, NumberType type,
                       std::size_t components = 1) {
    auto& used = role == ArrayRole::PointData ? pointNames_ : cellNames_;
    const bool isData = role >= ArrayRole::PartIds;
    layout_.arrays.push_back(
        {role, isData ? UniqueName(name, used) : name, type, components, TuplesOf(role)});
    heavy_->Charge(layout_.arrays.back().tuples / kCheapness + grid_.all.size());
    return layout_.arrays.size() - 1;
  }

  /// The mesh's own arrays come first: the work below goes by their places.
  void PlanMesh() {
    AddArray(ArrayRole::Points, "Points", NumberType::Float32, 3);
    AddArray(ArrayRole::Connectivity, "connectivity", NumberType::Int64);
    AddArray(ArrayRole::Offsets, "offsets", NumberType::Int64);
    AddArray(ArrayRole::Types, "types", NumberType::UInt8);
    AddArray(ArrayRole::PartIds, "Part Ids", NumberType::Int32);
    nodeIds_ = AddArray(ArrayRole::PointData, "Node Ids", NumberType::Int32);
    elementIds_ = AddArray(ArrayRole::CellData, "Element Ids", NumberType::Int32);
    firstSet_ = layout_.arrays.size();
    for (const SortedSet& set : sets_) {
      AddArray(ArrayRole::PointData, "Node Set " + set.name, NumberType::UInt8);
      heavy_->Charge(layout_.points);
    }
  }

  /// Fields of one name, place and width are one array; of several of them in one part each is one.
  void PlanFields() {
    using Key = std::tuple<Location, std::string_view, unsigned int, std::size_t>;
    std::map<Key, std::size_t> arrays;
    for (const Member& member : grid_.all) {
      std::map<Key, std::size_t> seen;
      for (const Field* field : contents_->FieldsAt(member.part, step_)) {
        const Location location = LocationOn(member.mesh, *field);
        if (location == Location::Unknown) {
          listener_->leftOut({member.part, field});
          continue;
        }
        Key key{location, field->result, field->components, 0};
        std::get<3>(key) = seen[key]++;
        const auto [known, isNew] = arrays.emplace(key, layout_.arrays.size());
        if (isNew) {
          AddArray(location == Location::Node ? ArrayRole::PointData : ArrayRole::CellData,
                   Analysis::ShownName(field->result), NumberType::Float32, field->components);
        }
        if (member.isThere) {
          Want(Purpose{Purpose::Kind::Field, &member, field, known->second}, {{field->variable}});
        }
      }
    }
  }

  void Want(const Purpose& purpose, Analysis::WantedGroup group) {
    purposes_.push_back(purpose);
    wanted_.push_back(std::move(group));
  }

  void WantIds(const Purpose& purpose, Location of) {
    const Member& member = *purpose.member;
    if (HasFewIds(member.mesh, of)) {
      listener_->fewIds(member.part, of);
    } else if (IdsTaken(member.mesh, of) != 0) {
      Want(purpose, {{member.mesh.IdsOf(of)}});
    }
  }

  void WriteNumbers() {
    for (const Member& member : grid_.all) {
      if (member.isThere) {
        using enum Purpose::Kind;
        Want({Mesh, &member}, WantedMesh(member.mesh));
        WantIds({NodeIds, &member, nullptr, nodeIds_}, Location::Node);
        WantIds({ElementIds, &member, nullptr, elementIds_}, Location::Element);
      }
    }
    Analysis::LoadInFileOrder(
        {&model_->GetTree(), wanted_}, [&](std::size_t i, const LoadedGroup& loaded) {
          const Purpose& purpose = purposes_[i];
          switch (purpose.kind) {
            case Purpose::Kind::Mesh:
              WriteMesh(*purpose.member, LoadedMesh(purpose.member->mesh, loaded));
              break;
            case Purpose::Kind::Field:
              TakeField(purpose, loaded[0]);
              break;
            default:
              TakeIds(purpose, loaded[0]);
          }
        });
  }

  void WriteMesh(const Member& member, const LoadedMesh& mesh) {
    Write(kPoints, member.firstPoint, AllBytes(UsedTuples(member.used, mesh.coordinates, 3)));
    const std::vector<std::uint64_t> pointOf = NewPlaces(member, mesh.Points());
    std::vector<std::int64_t> connectivity;
    std::vector<std::int64_t> offsets;
    std::vector<CellShape> types;
    connectivity.reserve(member.connectivity);
    ForCells(mesh, *rules_, [&](CellShape shape, std::span<const unsigned int> nodes) {
      for (const unsigned int node : nodes) {
        connectivity.push_back(static_cast<std::int64_t>(pointOf[node]));
      }
      offsets.push_back(static_cast<std::int64_t>(member.firstConnectivity + connectivity.size()));
      types.push_back(shape);
    });
    Write(kConnectivity, member.firstConnectivity, AllBytes(connectivity));
    Write(kOffsets, member.firstCell, AllBytes(offsets));
    Write(kTypes, member.firstCell, AllBytes(types));
    const auto id = static_cast<std::int32_t>(model_->Parts()[member.part].id);
    Write(kPartIds, member.firstCell, AllBytes(std::vector<std::int32_t>(member.cells, id)));
  }

  void TakeField(const Purpose& purpose, const LoadedArray& loaded) {
    const Field& field = *purpose.field;
    const Member& member = *purpose.member;
    if (loaded.failure != nullptr) {
      listener_->fieldFailed({member.part, &field}, loaded.failure);
      return;
    }
    const auto values = loaded.Floats().first(field.count * field.components);
    if (layout_.arrays[purpose.array].role == ArrayRole::PointData) {
      Write(purpose.array, member.firstPoint,
            AllBytes(UsedTuples(member.used, values, field.components)));
    } else {
      Write(purpose.array, member.firstCell, std::as_bytes(values));
    }
    isWritten_.insert({purpose.array, &member});
  }

  void TakeIds(const Purpose& purpose, const LoadedArray& loaded) {
    const Member& member = *purpose.member;
    const bool areNodes = purpose.kind == Purpose::Kind::NodeIds;
    if (loaded.failure != nullptr) {
      listener_->meshFailed(member.part, step_, loaded.failure);
      return;
    }
    const UsedNodes all(IdsTaken(member.mesh, Location::Element));
    const std::vector<float> stored = UsedTuples(areNodes ? member.used : all, loaded.Floats(), 1);
    std::vector<std::int32_t> ids(stored.size());
    std::ranges::transform(stored, ids.begin(), Lbt::Util::Clamped<std::int32_t>);
    Write(purpose.array, areNodes ? member.firstPoint : member.firstCell, AllBytes(ids));
    isWritten_.insert({purpose.array, &member});
    if (areNodes) {
      WriteSets(member, ids);
    }
  }

  void WriteSets(const Member& member, std::span<const std::int32_t> ids) {
    for (std::size_t i = 0; i < sets_.size(); ++i) {
      std::vector<std::uint8_t> mask;
      mask.reserve(ids.size());
      for (const std::int32_t id : ids) {
        mask.push_back(sets_[i].Has(id) ? 1 : 0);
      }
      Write(firstSet_ + i, member.firstPoint, AllBytes(mask));
      isWritten_.insert({firstSet_ + i, &member});
    }
  }

  /// Fields that a part lacks are NaN, ids -1, and its nodes are in no set.
  void FillGaps() {
    for (std::size_t array = nodeIds_; array < layout_.arrays.size(); ++array) {
      for (const Member& member : grid_.all) {
        if (member.isThere && !isWritten_.contains({array, &member})) {
          Fill(array, member);
        }
      }
    }
  }

  void Fill(std::size_t place, const Member& member) {
    const GridArray& array = layout_.arrays[place];
    const bool ofPoints = array.role == ArrayRole::PointData;
    const std::uint64_t first = ofPoints ? member.firstPoint : member.firstCell;
    const std::size_t tuples = ofPoints ? member.used.Count() : member.cells;
    if (array.type == NumberType::Float32) {
      constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();
      Write(place, first, AllBytes(std::vector<float>(tuples * array.components, kMissing)));
    } else if (array.type == NumberType::Int32) {
      Write(place, first, AllBytes(std::vector<std::int32_t>(tuples, kNoId)));
    } else {
      Write(place, first, AllBytes(std::vector<std::uint8_t>(tuples)));
    }
  }

  void Write(std::size_t array, std::uint64_t first, std::span<const std::byte> tuples) {
    if (!tuples.empty()) {
      sink_->Write(array, first, tuples);
    }
  }

  static constexpr std::size_t kPoints = 0;
  static constexpr std::size_t kConnectivity = 1;
  static constexpr std::size_t kOffsets = 2;
  static constexpr std::size_t kTypes = 3;
  static constexpr std::size_t kPartIds = 4;
  /// Places of an array that cost as much as a byte that is read: most may be gaps.
  static constexpr std::uint64_t kCheapness = 16;

  const Contents* contents_;
  const Analysis::Model* model_;
  std::size_t place_;
  PlaceInTime step_;
  const CellRules* rules_;
  GridSink* sink_;
  const Listener* listener_;
  std::shared_ptr<ModelStream> heavy_;
  ModelStream::Request request_;
  std::vector<SortedSet> sets_;
  GridMembers grid_;
  GridLayout layout_;
  std::map<std::string, int> pointNames_;
  std::map<std::string, int> cellNames_;
  std::size_t nodeIds_ = 0;
  std::size_t elementIds_ = 0;
  std::size_t firstSet_ = 0;
  std::vector<Purpose> purposes_;
  std::vector<Analysis::WantedGroup> wanted_;
  std::set<std::pair<std::size_t, const Member*>> isWritten_;
};

}  // namespace

void WriteMergedGrid(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
                     GridSink& sink, const Listener& listener) {
  Merging(contents, placeAmongSteps, rules, sink, listener).Run();
}

}  // namespace LbtTev::Exchange
