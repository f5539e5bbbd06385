// Checks the mesh of a part and goes through its elements.

#include "Lbt/Tev/Analysis/LoadedMesh.h"

#include <exception>
#include <string>

#include "Lbt/Log/Raise.h"

namespace LbtTev::Analysis {

WantedGroup WantedMesh(const MeshVariables& mesh) {
  return {{mesh.coordinates}, {mesh.faces, true}, {mesh.lengths, true}};
}

Location LocationOn(const MeshVariables& mesh, const Field& field) {
  const bool fitsNodes =
      mesh.coordinates != nullptr && field.count == TuplesOf(mesh.coordinates->array);
  const bool fitsElements = mesh.faces != nullptr && field.count == mesh.ElementCount();
  if (field.components == 0 || (!fitsNodes && !fitsElements)) {
    return Location::Unknown;
  }
  if (fitsNodes && fitsElements) {
    return field.location == Location::Element ? Location::Element : Location::Node;
  }
  return fitsNodes ? Location::Node : Location::Element;
}

void RequireThreeCoordinates(const MeshVariables& mesh) {
  if (mesh.coordinates->array.GetWidth() != 3) {
    const std::string text = "A point has " + std::to_string(mesh.coordinates->array.GetWidth()) +
                             " coordinates in place of 3";
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ModelError, text.c_str(),
                    "include/Lbt/Tev/Analysis/LoadedMesh");
  }
}

LoadedMesh::LoadedMesh(const MeshVariables& mesh, const LoadedGroup& loaded)
    : coordinates(loaded[0].Floats()),
      hasFaces(mesh.faces != nullptr),
      faces(loaded[1].Wholes()),
      lengths(loaded[2].Wholes()) {
  if (const std::exception_ptr failure = FailureOf(loaded); failure != nullptr) {
    std::rethrow_exception(failure);
  }
  RequireThreeCoordinates(mesh);
  coordinates = coordinates.first(Points() * 3);
  if (hasFaces) {
    CheckFaces(ExtentOf(faces, lengths), Points());
  }
}

UsedNodes LoadedMesh::Used() const {
  return hasFaces ? UsedNodes(faces, lengths, Points()) : UsedNodes(Points());
}

TakenShapes ShapesOf(const LoadedMesh& mesh, const CellRules& rules) {
  TakenShapes taken;
  ForCells(mesh, rules, [&](CellShape shape, std::span<const unsigned int> nodes) {
    ++taken[{nodes.size(), shape}];
  });
  return taken;
}

}  // namespace LbtTev::Analysis
