#pragma once

#include <functional>
#include <vector>

#include "Lbt/Tev/Analysis/ModelDifference.h"

namespace LbtTev::Analysis {

/// The numbers of a mesh.
struct MeshNumbers {
  std::vector<float> coordinates{};
  std::vector<unsigned int> faces{};
  std::vector<unsigned int> lengths{};
  std::vector<float> nodeIds{};
  std::vector<float> elementIds{};
  std::size_t points = 0;
  std::size_t width = 0;
};

/// Loads a mesh. Throws what loading throws, and "Model Error" for damaged faces.
[[nodiscard]] MeshNumbers LoadMesh(const MeshVariables& variables);

/// Compares two meshes and tells how they differ; "difference" says of which part and step.
void CompareMeshes(const MeshNumbers& a, const MeshNumbers& b, const Tolerance& tolerance,
                   const ModelDifference& difference,
                   const std::function<void(const ModelDifference&)>& differs);

}  // namespace LbtTev::Analysis
