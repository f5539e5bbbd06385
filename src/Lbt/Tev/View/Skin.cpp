// Finds what of a mesh is seen from outside.

#include "Lbt/Tev/View/Skin.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "Lbt/Tev/Analysis/Remembered.h"
#include "OuterSides.h"
#include "Polygon.h"
#include "SolidFaces.h"

namespace LbtTev::View {

using namespace Analysis;

namespace {

using Vector = std::array<double, 3>;

Vector PointAt(std::span<const float> coordinates, unsigned int node) {
  const std::span<const float> point = coordinates.subspan(std::size_t{node} * 3, 3);
  return {static_cast<double>(point[0]), static_cast<double>(point[1]),
          static_cast<double>(point[2])};
}

Vector CenterOf(std::span<const unsigned int> nodes, std::span<const float> coordinates) {
  Vector center{};
  for (const unsigned int node : nodes) {
    const Vector point = PointAt(coordinates, node);
    for (std::size_t i = 0; i < center.size(); ++i) {
      center.at(i) += point.at(i) / static_cast<double>(nodes.size());
    }
  }
  return center;
}

/// Adds the faces of one element at a time.
class SkinBuilder {
 public:
  explicit SkinBuilder(std::span<const float> coordinates) : coordinates_(coordinates) {}

  void AddSolid(std::size_t element, CellShape shape, std::span<const unsigned int> nodes,
                unsigned int outer) {
    const std::span<const SolidFace> faces = FacesOf(shape);
    for (std::size_t side = 0; side < faces.size(); ++side) {
      if ((outer >> side & 1U) != 0) {
        Walk(shape, faces[side].Corners(), nodes);
        TurnOutward(nodes.first(CornersOf(shape)));
        skin_.Add(element, around_, HasMiddles(shape), coordinates_);
      }
    }
  }

  void AddOther(std::size_t element, CellShape shape, std::span<const unsigned int> nodes) {
    static constexpr std::array<std::uint8_t, 4> kInOrder{0, 1, 2, 3};
    if (shape == CellShape::Line3) {
      skin_.Add(element, std::array{nodes[0], nodes[2]}, false, coordinates_);
      skin_.Add(element, std::array{nodes[2], nodes[1]}, false, coordinates_);
    } else if (HasMiddles(shape)) {
      Walk(shape, std::span(kInOrder).first(CornersOf(shape)), nodes);
      skin_.Add(element, around_, true, coordinates_);
    } else {
      skin_.Add(element, nodes, false, coordinates_);
    }
  }

  /// A node that stands for an element.
  void AddPoint(std::size_t node) {
    skin_.Add(node, std::array{static_cast<unsigned int>(node)}, false, coordinates_);
  }

  [[nodiscard]] Skin Take() { return std::move(skin_); }

 private:
  /// Goes around some corners, and through what is in the middle between them.
  void Walk(CellShape shape, std::span<const std::uint8_t> corners,
            std::span<const unsigned int> nodes) {
    around_.clear();
    for (std::size_t i = 0; i < corners.size(); ++i) {
      around_.push_back(nodes[corners[i]]);
      if (HasMiddles(shape)) {
        around_.push_back(nodes[MiddleOf(shape, corners[i], corners[(i + 1) % corners.size()])]);
      }
    }
  }

  void TurnOutward(std::span<const unsigned int> corners) {
    const Vector inside = CenterOf(corners, coordinates_);
    const Vector outside = CenterOf(around_, coordinates_);
    const Vector normal = NormalOf(around_, coordinates_);
    double outward = 0;
    for (std::size_t i = 0; i < normal.size(); ++i) {
      outward += normal.at(i) * (outside.at(i) - inside.at(i));
    }
    if (outward < 0) {  // the first corner stays, and what is in the middle of edges
      std::reverse(around_.begin() + 1, around_.end());
    }
  }

  std::span<const float> coordinates_;
  std::vector<unsigned int> around_;
  Skin skin_;
};

/// What each element becomes.
std::vector<CellShape> ShapesInOrder(const LoadedMesh& mesh, const CellRules& rules) {
  std::vector<CellShape> shapes;
  shapes.reserve(mesh.Cells());
  ForCells(mesh, rules, [&](CellShape shape, std::span<const unsigned int> /*nodes*/) {
    shapes.push_back(shape);
  });
  return shapes;
}

/// Points that stand for elements are no guess.
TakenShapes CountShapes(const LoadedMesh& mesh, std::span<const CellShape> shapes) {
  TakenShapes taken;
  for (std::size_t first = 0; mesh.hasFaces && first < shapes.size();) {
    std::size_t next = first;
    while (next < shapes.size() && shapes[next] == shapes[first] &&
           mesh.lengths[next] == mesh.lengths[first]) {
      ++next;
    }
    taken[{mesh.lengths[first], shapes[first]}] += next - first;
    first = next;
  }
  return taken;
}

Skin BuildSkin(const LoadedMesh& mesh, std::span<const CellShape> shapes, std::size_t threads) {
  SkinBuilder builder(mesh.coordinates);
  if (!mesh.hasFaces) {
    for (std::size_t node = 0; node < mesh.Points(); ++node) {
      builder.AddPoint(node);
    }
    return builder.Take();
  }
  const OuterSides outer = OuterSidesOf(mesh, shapes, threads);
  std::size_t next = 0;
  auto sides = outer.begin();
  for (std::size_t element = 0; element < shapes.size(); ++element) {
    const auto nodes = mesh.faces.subspan(next, mesh.lengths[element]);
    next += nodes.size();
    if (!FacesOf(shapes[element]).empty()) {
      builder.AddSolid(element, shapes[element], nodes, *sides++);
    } else if (!nodes.empty()) {
      builder.AddOther(element, shapes[element], nodes);
    }
  }
  return builder.Take();
}

}  // namespace

void Skin::Add(std::size_t element, std::span<const unsigned int> outline, bool hasMiddles,
               std::span<const float> coordinates) {
  elements_.push_back(element);
  outlines_.insert(outlines_.end(), outline.begin(), outline.end());
  outlineEnds_.push_back(outlines_.size());
  AddTriangles(outline, hasMiddles, coordinates, triangles_);
  triangleEnds_.push_back(triangles_.size());
}

std::size_t Skin::Bytes() const {
  return (elements_.size() + outlineEnds_.size() + triangleEnds_.size()) * sizeof(std::size_t) +
         outlines_.size() * sizeof(unsigned int) + triangles_.size() * sizeof(Triangle);
}

Skin SkinOf(const LoadedMesh& mesh, const CellRules& rules, std::size_t threads) {
  return BuildSkin(mesh, ShapesInOrder(mesh, rules), threads);
}

void GatherSkins(const Model& model, std::span<const MeshOfPart> meshes, const CellRules& rules,
                 const TakeSkin& take, std::size_t threads) {
  std::vector<WantedGroup> wanted;
  for (const MeshOfPart& each : meshes) {
    wanted.push_back(WantedMesh(each.mesh));
  }
  Remembered<std::tuple<Identity, Identity, Identity>, PartSkin> known;
  const auto make = [&](const LoadedMesh& mesh, const LoadedGroup& loaded) {
    model.GetTree().GetStreams().heavy->Charge(mesh.coordinates.size_bytes() +
                                               mesh.faces.size_bytes());
    const std::vector<CellShape> shapes = ShapesInOrder(mesh, rules);
    return PartSkin{.coordinates = loaded[0].floats,
                    .skin = std::make_shared<const Skin>(BuildSkin(mesh, shapes, threads)),
                    .faces = loaded[1].wholes,
                    .lengths = loaded[2].wholes,
                    .taken = CountShapes(mesh, shapes)};
  };
  LoadInFileOrder({&model.GetTree(), wanted, {.threads = threads}}, [&](std::size_t place,
                                                                        const LoadedGroup& loaded) {
    PartSkin skin;
    const std::exception_ptr failure = FailureOfLoad(model.GetTree(), [&] {
      if (meshes[place].mesh.coordinates != nullptr) {
        const LoadedMesh mesh(meshes[place].mesh, loaded);
        skin = known.Of({Identity(loaded[0]), Identity(loaded[1]), Identity(loaded[2])},
                        mesh.coordinates.size_bytes() + mesh.faces.size_bytes(),
                        [&] { return make(mesh, loaded); });
      }
    });
    take(place, skin, failure);
  });
}

}  // namespace LbtTev::View
