#pragma once

#include "ModelWriter.h"

namespace tevtest {

/// A small but complete model, a base for tests that change one thing. Ids are as below.
///
///   1 Group "model"               attributes: Model File, Model File Size, Results File,
///   |                             Results File Size (texts), Number of Nodes in the Model 10,
///   |                             Number of Elements in the Model 3, Tolerance 0.25 (float),
///   |                             Unit Scale 0.001 (double)
///   +- 2 Group "Geometry"
///   |  +- 3 Shape "Frame"         material with shininess 32
///   |  |  +- 4 Geometry "mesh 1"  5 nodes, 2 tetrahedra
///   |  +- 5 Shape "Panel"         default material
///   |     +- 6 Geometry "mesh 2"  5 nodes, 1 pyramid
///   +- 7 NodeSets "Sets"          "Fixed" (1, 4) (2, 4); "Loaded" (5, 4)
///
/// Variables of both geometries, by index: 0 Node Ids, 1 Coordinates, 2 Connectivity, 3 Polylength,
/// 4 Element Ids, 5 Displacement, 6 Temperature; the last two with the instance "Time = 0.5". The
/// Temperature of mesh 2 is linked to that of mesh 1. Two programs have written the file.
[[nodiscard]] ModelWriter SmallModel();

inline constexpr NodeRef kSmallRoot = 1;
inline constexpr NodeRef kSmallGeometryGroup = 2;
inline constexpr NodeRef kSmallShape1 = 3;
inline constexpr NodeRef kSmallMesh1 = 4;
inline constexpr NodeRef kSmallShape2 = 5;
inline constexpr NodeRef kSmallMesh2 = 6;
inline constexpr NodeRef kSmallNodeSets = 7;

}  // namespace tevtest
