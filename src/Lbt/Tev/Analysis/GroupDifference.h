#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Difference.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/ModelDifference.h"

/// Compares what has been loaded of two models.
namespace LbtTev::Analysis {

/// What is to be loaded of a mesh.
[[nodiscard]] WantedGroup WantedOf(const MeshVariables& mesh);

/// Throws "Model Error" for damaged faces.
void CheckFacesOf(const MeshVariables& mesh, const LoadedGroup& loaded);

/// A mesh whose numbers are there and have been checked.
struct LoadedMesh {
  const MeshVariables* variables = nullptr;
  const LoadedGroup* numbers = nullptr;
};

/// How two meshes differ; "about" says which part and step it is about.
[[nodiscard]] std::vector<ModelDifference> CompareMeshes(const LoadedMesh& a, const LoadedMesh& b,
                                                         const ModelDifference& about,
                                                         const Tolerance& tolerance);

/// Compares numbers of fields. Parts that share numbers and ids have the same difference, and
/// fields of one mesh are matched alike; such come one after another.
class FieldComparison {
 public:
  /// "ofA" and "ofB" are numbers and ids. The result stands until the next call.
  const NumbersDifference& Of(const Field& a, const Field& b, const LoadedGroup& ofA,
                              const LoadedGroup& ofB, const Tolerance& tolerance);

 private:
  using Numbers = std::shared_ptr<const std::vector<float>>;

  struct Inputs {
    std::pair<Numbers, Numbers> arrays;
    std::pair<std::size_t, std::size_t> counts;
    bool isById;
  };

  /// Knows inputs again, and keeps no numbers.
  class Known {
   public:
    explicit Known(const Inputs& inputs)
        : a_(inputs.arrays.first),
          b_(inputs.arrays.second),
          hasA_(inputs.arrays.first != nullptr),
          hasB_(inputs.arrays.second != nullptr),
          counts_(inputs.counts),
          isById_(inputs.isById) {}

    [[nodiscard]] bool IsSame(const Inputs& inputs) const {
      const auto& [a, b] = inputs.arrays;
      return counts_ == inputs.counts && isById_ == inputs.isById && hasA_ == (a != nullptr) &&
             hasB_ == (b != nullptr) && a == a_.lock() && b == b_.lock();
    }

   private:
    std::weak_ptr<const std::vector<float>> a_;
    std::weak_ptr<const std::vector<float>> b_;
    bool hasA_;
    bool hasB_;
    std::pair<std::size_t, std::size_t> counts_;
    bool isById_;
  };

  std::optional<Known> matched_;
  TupleMatch match_{0, 0};
  std::optional<Known> compared_;
  NumbersDifference difference_;
};

}  // namespace LbtTev::Analysis
