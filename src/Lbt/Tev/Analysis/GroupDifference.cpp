// Compares meshes and fields that have been loaded.

#include "GroupDifference.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Analysis {

namespace {

/// The arrays of a mesh by their places in its group; the numbers are floats unless they are faces
/// or lengths.
enum MeshArray : std::uint8_t { kCoordinates, kFaces, kLengths, kNodeIds, kElementIds };

std::size_t CoordinatesIn(const MeshVariables& mesh) {
  return mesh.coordinates == nullptr ? 0 : TuplesOf(mesh.coordinates->array);
}

std::size_t WidthOf(const MeshVariables& mesh) {
  return mesh.coordinates == nullptr ? 0 : mesh.coordinates->array.GetWidth();
}

std::size_t BytesOf(const LoadedArray& array) {
  return array.Floats().size_bytes() + array.Wholes().size_bytes() +
         (array.stored == nullptr ? 0 : array.stored->bytes.size());
}

/// Ids as the whole numbers that they are read as.
std::vector<float> WholeIds(const FloatTuples& ids) {
  std::vector<float> room;
  const std::span<const float> stored = ids.Read(0, ids.Count(), room);
  std::vector<float> whole(stored.size());
  std::ranges::transform(stored, whole.begin(), [](float id) {
    return static_cast<float>(Lbt::Util::Clamped<std::int32_t>(id));
  });
  return whole;
}

/// Compares one array of a mesh after another.
class MeshComparison {
 public:
  MeshComparison(GroupComparison& comparison, const ComparedMesh& a, const ComparedMesh& b,
                 const ModelDifference& about)
      : comparison_(&comparison), a_(&a), b_(&b), about_(&about) {}

  [[nodiscard]] std::vector<ModelDifference> Run() {
    const std::size_t widthOfA = WidthOf(*a_->variables);
    const std::size_t widthOfB = WidthOf(*b_->variables);
    const ArrayPair lengths = Pair(kLengths);
    const MatchInputs nodes{Pair(kNodeIds), a_->points, b_->points};
    const MatchInputs elements{Pair(kElementIds), lengths.a->Wholes().size(),
                               lengths.b->Wholes().size()};
    Tell(MeshName::kNodeIds, comparison_->OfIds(nodes), {});
    Tell(MeshName::kElementIds, comparison_->OfIds(elements), {});
    if ((a_->variables->coordinates == nullptr) != (b_->variables->coordinates == nullptr)) {
      Tell(MeshName::kCoordinates,
           {.onlyInA = CoordinatesIn(*a_->variables), .onlyInB = CoordinatesIn(*b_->variables)},
           {});
    } else if (widthOfA != widthOfB) {
      ModelDifference difference = About(MeshName::kCoordinates);
      difference.a = ComponentsText(widthOfA);
      difference.b = ComponentsText(widthOfB);
      differences_.push_back(std::move(difference));
    } else if (a_->variables->coordinates != nullptr) {
      Tell(MeshName::kCoordinates, comparison_->OfNumbers(Pair(kCoordinates), widthOfA, nodes),
           nodes.ids.a->Tuples(1));
    }
    TellFaces(comparison_->OfFaces(Pair(kFaces), lengths, nodes, elements));
    return std::move(differences_);
  }

 private:
  [[nodiscard]] ArrayPair Pair(MeshArray array) const {
    return {&(*a_->numbers)[array], &(*b_->numbers)[array]};
  }

  [[nodiscard]] ModelDifference About(std::string_view name) const {
    ModelDifference difference = *about_;
    difference.result = std::string(name);
    return difference;
  }

  void Tell(std::string_view name, const NumbersDifference& numbers, const FloatTuples& ids) {
    if (!numbers.IsSame()) {
      ModelDifference difference = About(name);
      difference.numbers = numbers;
      difference.id = numbers.beyond == 0 ? std::nullopt : IdAt(ids, numbers.index);
      differences_.push_back(std::move(difference));
    }
  }

  void TellFaces(std::size_t different) {
    if (different != 0) {
      ModelDifference difference = About("Faces");
      difference.differentFaces = different;
      differences_.push_back(std::move(difference));
    }
  }

  GroupComparison* comparison_;
  const ComparedMesh* a_;
  const ComparedMesh* b_;
  const ModelDifference* about_;
  std::vector<ModelDifference> differences_;
};

}  // namespace

std::string ComponentsText(std::size_t width) {
  return std::to_string(width) + (width == 1 ? " component" : " components");
}

WantedGroup WantedOf(const MeshVariables& mesh) {
  return {{.variable = mesh.coordinates, .mayStayStored = true},
          {mesh.faces, true},
          {mesh.faces == nullptr ? nullptr : mesh.lengths, true},
          WantedIds(mesh.nodeIds, WantedArray::Turn::AnyTurn),
          WantedIds(mesh.elementIds, WantedArray::Turn::AnyTurn)};
}

GroupComparison::GroupComparison(const Tree& a, const Tree& b, const Tolerance& tolerance)
    : heavyOfA_(a.GetStreams().heavy),
      heavyOfB_(b.GetStreams().heavy),
      facesOfA_(a),
      facesOfB_(b),
      tolerance_(tolerance) {}

GroupComparison::PairKey GroupComparison::KeyOf(const ArrayPair& arrays) {
  return {Identity(*arrays.a), Identity(*arrays.b)};
}

GroupComparison::MatchKey GroupComparison::KeyOf(const MatchInputs& inputs) {
  return {KeyOf(inputs.ids), inputs.countInA, inputs.countInB, inputs.isById};
}

void GroupComparison::Charge(std::size_t bytesOfA, std::size_t bytesOfB) {
  isChargingA_ = true;
  heavyOfA_->Charge(bytesOfA);
  isChargingA_ = false;
  heavyOfB_->Charge(bytesOfB);
}

std::shared_ptr<const TupleMatch> GroupComparison::Match(const MatchInputs& inputs) {
  const std::size_t bytes = inputs.isById ? inputs.countInA * sizeof(std::size_t) : 0;
  return matches_.Of(KeyOf(inputs), bytes, [&] {
    const FloatTuples a = inputs.ids.a->Tuples(1);
    const FloatTuples b = inputs.ids.b->Tuples(1);
    if (!inputs.isById) {
      return std::make_shared<const TupleMatch>(inputs.countInA, inputs.countInB);
    }
    constexpr std::size_t kBytesOfAnId = 16;  // with its place, as ids are put in order
    Charge(a.Count() * kBytesOfAnId, b.Count() * kBytesOfAnId);
    return std::make_shared<const TupleMatch>(a, inputs.countInA, b, inputs.countInB);
  });
}

void GroupComparison::CheckFacesOf(const ComparedMesh& mesh, bool isInA) {
  if (mesh.variables->faces != nullptr) {
    (isInA ? facesOfA_ : facesOfB_)
        .Check((*mesh.numbers)[kFaces], (*mesh.numbers)[kLengths], mesh.points);
  }
}

std::vector<ModelDifference> GroupComparison::OfMeshes(const ComparedMesh& a, const ComparedMesh& b,
                                                       const ModelDifference& about) {
  return MeshComparison(*this, a, b, about).Run();
}

NumbersDifference GroupComparison::OfFields(const ComparedField& a, const ComparedField& b) {
  const MatchInputs inputs{{&(*a.numbers)[1], &(*b.numbers)[1]},
                           a.field->count,
                           b.field->count,
                           a.field->location == b.field->location};
  return OfNumbers({a.numbers->data(), b.numbers->data()}, a.field->components, inputs);
}

NumbersDifference GroupComparison::OfIds(const MatchInputs& inputs) {
  return ids_.Of(KeyOf(inputs), 0, [&]() -> NumbersDifference {
    const auto match = Match(inputs);
    if (match->IsById()) {
      return {.onlyInA = match->OnlyInA(), .onlyInB = match->OnlyInB()};
    }
    const FloatTuples a = inputs.ids.a->Tuples(1);
    const FloatTuples b = inputs.ids.b->Tuples(1);
    const TupleMatch byPlace(a.Count(), b.Count());
    Charge(a.Bytes(), b.Bytes());
    const NumbersDifference asStored = Compare(a, b, byPlace, {});
    return asStored.beyond == 0 ? asStored
                                : Compare({WholeIds(a), 1}, {WholeIds(b), 1}, byPlace, {});
  });
}

NumbersDifference GroupComparison::OfNumbers(const ArrayPair& values, std::size_t width,
                                             const MatchInputs& inputs) {
  return numbers_.Of({KeyOf(values), width, KeyOf(inputs)}, 0, [&] {
    const auto match = Match(inputs);
    Charge(BytesOf(*values.a), BytesOf(*values.b));
    return Compare(values.a->Tuples(width), values.b->Tuples(width), *match, tolerance_);
  });
}

std::size_t GroupComparison::OfFaces(const ArrayPair& faces, const ArrayPair& lengths,
                                     const MatchInputs& nodes, const MatchInputs& elements) {
  return faces_.Of({KeyOf(faces), KeyOf(lengths), KeyOf(nodes), KeyOf(elements)}, 0, [&] {
    const auto matchOfNodes = Match(nodes);
    const auto matchOfElements = Match(elements);
    Charge(BytesOf(*faces.a) + BytesOf(*lengths.a), BytesOf(*faces.b) + BytesOf(*lengths.b));
    return CountDifferentFaces({faces.a->Wholes(), lengths.a->Wholes()},
                               {faces.b->Wholes(), lengths.b->Wholes()}, *matchOfNodes,
                               *matchOfElements);
  });
}

}  // namespace LbtTev::Analysis
