// Compares meshes and fields that have been loaded.
#include "GroupDifference.h"

#include <cstdint>
#include <span>
#include <string>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::Analysis {

namespace {

/// The arrays of a mesh by their places in its group; the numbers are floats unless they are faces
/// or lengths.
enum MeshArray : std::uint8_t { kCoordinates, kFaces, kLengths, kNodeIds, kElementIds };

std::size_t PointsOf(const MeshVariables& mesh) {
  return mesh.coordinates == nullptr ? 0 : TuplesOf(mesh.coordinates->array);
}

std::size_t WidthOf(const MeshVariables& mesh) {
  return mesh.coordinates == nullptr ? 0 : mesh.coordinates->array.GetWidth();
}

/// Ids by which tuples are matched differ where one has no partner; others place by place.
NumbersDifference CompareIds(std::span<const float> a, std::span<const float> b,
                             const TupleMatch& match) {
  return match.IsById() ? NumbersDifference{.onlyInA = match.OnlyInA(), .onlyInB = match.OnlyInB()}
                        : Compare(a, b, 1, TupleMatch(a.size(), b.size()), {});
}

/// Compares one array of a mesh after another.
class MeshComparison {
 public:
  MeshComparison(const LoadedMesh& a, const LoadedMesh& b, const ModelDifference& about)
      : a_(&a), b_(&b), about_(&about) {}

  [[nodiscard]] std::vector<ModelDifference> Run(const Tolerance& tolerance) {
    const LoadedGroup& a = *a_->numbers;
    const LoadedGroup& b = *b_->numbers;
    const std::size_t widthOfA = WidthOf(*a_->variables);
    const std::size_t widthOfB = WidthOf(*b_->variables);
    const auto idsOfA = a[kNodeIds].Floats();
    const auto idsOfB = b[kNodeIds].Floats();
    const auto elementsOfA = a[kElementIds].Floats();
    const auto elementsOfB = b[kElementIds].Floats();
    const Faces facesOfA{a[kFaces].Wholes(), a[kLengths].Wholes()};
    const Faces facesOfB{b[kFaces].Wholes(), b[kLengths].Wholes()};
    const TupleMatch nodes(idsOfA, PointsOf(*a_->variables), idsOfB, PointsOf(*b_->variables));
    const TupleMatch elements(elementsOfA, facesOfA.lengths.size(), elementsOfB,
                              facesOfB.lengths.size());
    Tell("Node Ids", CompareIds(idsOfA, idsOfB, nodes), {});
    Tell("Element Ids", CompareIds(elementsOfA, elementsOfB, elements), {});
    if (widthOfA != widthOfB) {
      ModelDifference difference = About("Coordinates");
      difference.a = std::to_string(widthOfA) + " components";
      difference.b = std::to_string(widthOfB) + " components";
      differences_.push_back(std::move(difference));
    } else {
      Tell("Coordinates",
           Compare(a[kCoordinates].Floats(), b[kCoordinates].Floats(), widthOfA, nodes, tolerance),
           idsOfA);
    }
    TellFaces(CountDifferentFaces(facesOfA, facesOfB, nodes, elements));
    return std::move(differences_);
  }

 private:
  [[nodiscard]] ModelDifference About(const char* name) const {
    ModelDifference difference = *about_;
    difference.result = name;
    return difference;
  }

  void Tell(const char* name, const NumbersDifference& numbers, std::span<const float> ids) {
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

  const LoadedMesh* a_;
  const LoadedMesh* b_;
  const ModelDifference* about_;
  std::vector<ModelDifference> differences_;
};

}  // namespace

WantedGroup WantedOf(const MeshVariables& mesh) {
  return {{mesh.coordinates},
          {mesh.faces, true},
          {mesh.faces == nullptr ? nullptr : mesh.lengths, true},
          {mesh.nodeIds},
          {mesh.elementIds}};
}

void CheckFacesOf(const MeshVariables& mesh, const LoadedGroup& loaded) {
  if (mesh.faces != nullptr) {
    CheckFaces(loaded[kFaces].Wholes(), loaded[kLengths].Wholes(), PointsOf(mesh));
  }
}

std::vector<ModelDifference> CompareMeshes(const LoadedMesh& a, const LoadedMesh& b,
                                           const ModelDifference& about,
                                           const Tolerance& tolerance) {
  return MeshComparison(a, b, about).Run(tolerance);
}

const NumbersDifference& FieldComparison::Of(const Field& a, const Field& b, const LoadedGroup& ofA,
                                             const LoadedGroup& ofB, const Tolerance& tolerance) {
  const Inputs ids{{ofA[1].floats, ofB[1].floats}, {a.count, b.count}, a.location == b.location};
  const bool isMatched = matched_ && matched_->IsSame(ids);
  if (!isMatched) {
    match_ = ids.isById ? TupleMatch(ofA[1].Floats(), a.count, ofB[1].Floats(), b.count)
                        : TupleMatch(a.count, b.count);
    matched_.emplace(ids);
  }
  const Inputs values{{ofA[0].floats, ofB[0].floats}, {a.components, 0}, false};
  if (!isMatched || !compared_ || !compared_->IsSame(values)) {
    difference_ = Compare(ofA[0].Floats(), ofB[0].Floats(), a.components, match_, tolerance);
    compared_.emplace(values);
  }
  return difference_;
}

}  // namespace LbtTev::Analysis
