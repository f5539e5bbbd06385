#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "Lbt/Tev/Analysis/Difference.h"
#include "Lbt/Tev/Analysis/FaceChecks.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/ModelDifference.h"
#include "Lbt/Tev/Analysis/Remembered.h"

/// Compares what has been loaded of two models.
namespace LbtTev::Analysis {

/// "1 component", "3 components".
[[nodiscard]] std::string ComponentsText(std::size_t width);

/// What is to be loaded of a mesh.
[[nodiscard]] WantedGroup WantedOf(const MeshVariables& mesh);

/// A mesh whose numbers are there.
struct ComparedMesh {
  const MeshVariables* variables = nullptr;
  std::size_t points = 0;  ///< that its faces can name
  const LoadedGroup* numbers = nullptr;
};

/// A field whose numbers and ids are there.
struct ComparedField {
  const Field* field = nullptr;
  const LoadedGroup* numbers = nullptr;
};

/// Arrays of both models.
struct ArrayPair {
  const LoadedArray* a = nullptr;
  const LoadedArray* b = nullptr;
};

/// By what tuples are matched.
struct MatchInputs {
  ArrayPair ids;
  std::size_t countInA = 0;
  std::size_t countInB = 0;
  bool isById = true;
};

/// Compares numbers of meshes and fields. Parts and steps that share arrays have the same
/// differences, which are worked out once; other work on shared arrays counts as bytes that were
/// copied from the heavy data. All but WasInA() throw "Out of Bounds" where that is too much.
class GroupComparison {
 public:
  GroupComparison(const Tree& a, const Tree& b, const Tolerance& tolerance);

  /// Throws "Model Error" for damaged faces of a mesh of A, or of B.
  void CheckFacesOf(const ComparedMesh& mesh, bool isInA);

  /// How two meshes differ that have been checked; "about" says which part and step it is about.
  [[nodiscard]] std::vector<ModelDifference> OfMeshes(const ComparedMesh& a, const ComparedMesh& b,
                                                      const ModelDifference& about);

  [[nodiscard]] NumbersDifference OfFields(const ComparedField& a, const ComparedField& b);

  /// Ids by which tuples are matched differ where one has no partner; others place by place.
  [[nodiscard]] NumbersDifference OfIds(const MatchInputs& inputs);

  [[nodiscard]] NumbersDifference OfNumbers(const ArrayPair& values, std::size_t width,
                                            const MatchInputs& inputs);

  [[nodiscard]] std::size_t OfFaces(const ArrayPair& faces, const ArrayPair& lengths,
                                    const MatchInputs& nodes, const MatchInputs& elements);

  /// Whether it was in A that what was thrown last was too much.
  [[nodiscard]] bool WasInA() const { return isChargingA_; }

 private:
  using PairKey = std::tuple<Identity, Identity>;
  using MatchKey = std::tuple<PairKey, std::size_t, std::size_t, bool>;

  [[nodiscard]] static PairKey KeyOf(const ArrayPair& arrays);
  [[nodiscard]] static MatchKey KeyOf(const MatchInputs& inputs);

  void Charge(std::size_t bytesOfA, std::size_t bytesOfB);
  [[nodiscard]] std::shared_ptr<const TupleMatch> Match(const MatchInputs& inputs);

  std::shared_ptr<ModelStream> heavyOfA_;
  std::shared_ptr<ModelStream> heavyOfB_;
  FaceChecks facesOfA_;
  FaceChecks facesOfB_;
  Tolerance tolerance_;
  bool isChargingA_ = true;
  Remembered<MatchKey, std::shared_ptr<const TupleMatch>> matches_;
  Remembered<MatchKey, NumbersDifference> ids_;
  Remembered<std::tuple<PairKey, std::size_t, MatchKey>, NumbersDifference> numbers_;
  Remembered<std::tuple<PairKey, PairKey, MatchKey, MatchKey>, std::size_t> faces_;
};

}  // namespace LbtTev::Analysis
