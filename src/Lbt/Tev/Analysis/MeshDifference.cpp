// Compares meshes.
#include "MeshDifference.h"

#include <string>
#include <utility>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::Analysis {

namespace {

template <class T>
std::vector<T> LoadOf(const Geometry::VarStruct* variable) {
  return variable == nullptr ? std::vector<T>() : LoadArray<T>(variable->array);
}

/// Ids by which tuples are matched differ where one has no partner; others place by place.
NumbersDifference CompareIds(std::span<const float> a, std::span<const float> b,
                             const TupleMatch& match) {
  return match.IsById() ? NumbersDifference{.onlyInA = match.OnlyInA(), .onlyInB = match.OnlyInB()}
                        : Compare(a, b, 1, TupleMatch(a.size(), b.size()), {});
}

void CompareCoordinates(const MeshNumbers& a, const MeshNumbers& b, const TupleMatch& nodes,
                        const Tolerance& tolerance, ModelDifference difference,
                        const std::function<void(const ModelDifference&)>& differs) {
  difference.result = "Coordinates";
  if (a.width != b.width) {
    difference.a = std::to_string(a.width) + " components";
    difference.b = std::to_string(b.width) + " components";
    differs(difference);
    return;
  }
  const auto numbers = Compare(a.coordinates, b.coordinates, a.width, nodes, tolerance);
  if (!numbers.IsSame()) {
    difference.numbers = numbers;
    difference.id = numbers.beyond == 0 ? std::nullopt : IdAt(a.nodeIds, numbers.index);
    differs(difference);
  }
}

}  // namespace

MeshNumbers LoadMesh(const MeshVariables& variables) {
  MeshNumbers mesh;
  mesh.nodeIds = LoadOf<float>(variables.nodeIds);
  mesh.coordinates = LoadOf<float>(variables.coordinates);
  mesh.faces = LoadOf<unsigned int>(variables.faces);
  mesh.lengths = LoadOf<unsigned int>(variables.lengths);
  mesh.elementIds = LoadOf<float>(variables.elementIds);
  if (variables.coordinates != nullptr) {
    mesh.points = TuplesOf(variables.coordinates->array);
    mesh.width = variables.coordinates->array.GetWidth();
  }
  if (variables.faces != nullptr) {
    CheckFaces(mesh.faces, mesh.lengths, mesh.points);
  } else {
    mesh.lengths.clear();
  }
  return mesh;
}

void CompareMeshes(const MeshNumbers& a, const MeshNumbers& b, const Tolerance& tolerance,
                   const ModelDifference& difference,
                   const std::function<void(const ModelDifference&)>& differs) {
  const TupleMatch nodes(a.nodeIds, a.points, b.nodeIds, b.points);
  const TupleMatch elements(a.elementIds, a.lengths.size(), b.elementIds, b.lengths.size());
  const auto tellIds = [&](const char* name, const NumbersDifference& numbers) {
    if (!numbers.IsSame()) {
      ModelDifference ids = difference;
      ids.result = name;
      ids.numbers = numbers;
      differs(ids);
    }
  };
  tellIds("Node Ids", CompareIds(a.nodeIds, b.nodeIds, nodes));
  tellIds("Element Ids", CompareIds(a.elementIds, b.elementIds, elements));
  CompareCoordinates(a, b, nodes, tolerance, difference, differs);
  const std::size_t faces =
      CountDifferentFaces({a.faces, a.lengths}, {b.faces, b.lengths}, nodes, elements);
  if (faces != 0) {
    ModelDifference ofFaces = difference;
    ofFaces.result = "Faces";
    ofFaces.differentFaces = faces;
    differs(ofFaces);
  }
}

}  // namespace LbtTev::Analysis
