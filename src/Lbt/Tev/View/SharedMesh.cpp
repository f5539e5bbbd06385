// Puts meshes on a page, each once.

#include "SharedMesh.h"

#include <cstdint>
#include <limits>

#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::View {

using Analysis::LoadedGroup;

namespace {

constexpr std::uint32_t kNoPoint = std::numeric_limits<std::uint32_t>::max();

std::vector<std::int32_t> Wholes(std::span<const std::size_t> numbers) {
  std::vector<std::int32_t> wholes(numbers.size());
  std::ranges::transform(numbers, wholes.begin(),
                         [](std::size_t number) { return static_cast<std::int32_t>(number); });
  return wholes;
}

}  // namespace

void SharedMesh::TakeElements(std::span<const unsigned int> allNodes,
                              std::span<const unsigned int> lengths) {
  std::size_t next = 0;
  for (std::size_t element = 0; element < lengths.size(); ++element) {
    const std::size_t length = lengths[element];
    if (length > allNodes.size() - next) {
      return;  // damage, which whoever takes the mesh tells of
    }
    if (elements.contains(element)) {
      const auto nodes = allNodes.subspan(next, length);
      nodesOf[element].assign(nodes.begin(), nodes.end());
      marked.insert(nodes.begin(), nodes.end());
    }
    next += length;
  }
}

void SharedMesh::TakeSkin(const PartSkin& part, Page& into) {
  const std::span<const float> coordinates(*part.coordinates);
  const Skin& skin = *part.skin;
  std::vector<std::uint32_t> pointOf(coordinates.size() / 3, kNoPoint);
  const auto use = [&pointOf](std::size_t node) {
    if (node < pointOf.size()) {
      pointOf[node] = 0;
    }
  };
  std::ranges::for_each(marked, use);
  for (std::size_t face = 0; face < skin.Faces(); ++face) {
    std::ranges::for_each(skin.OutlineOf(face), use);
  }
  std::vector<float> xyz;
  for (std::size_t node = 0; node < pointOf.size(); ++node) {
    if (pointOf[node] != kNoPoint) {
      pointOf[node] = static_cast<std::uint32_t>(points.size());
      points.push_back(node);
      const auto tuple = coordinates.subspan(3 * node, 3);
      xyz.insert(xyz.end(), tuple.begin(), tuple.end());
    }
  }
  page.xyz = into.AddFloats(xyz);
  TakeFaces(skin, pointOf, into);
}

void SharedMesh::TakeFaces(const Skin& skin, std::span<const std::uint32_t> pointOf, Page& into) {
  std::vector<std::int32_t> nodes;
  std::vector<std::int32_t> lengths;
  std::vector<std::int32_t> triangles;
  const auto add = [&pointOf](std::vector<std::int32_t>& list, std::span<const unsigned int> of) {
    for (const unsigned int node : of) {
      list.push_back(static_cast<std::int32_t>(pointOf[node]));
    }
  };
  for (std::size_t face = 0; face < skin.Faces(); ++face) {
    const auto outline = skin.OutlineOf(face);
    if (outline.empty()) {
      continue;
    }
    faces.push_back(skin.ElementOf(face));
    lengths.push_back(static_cast<std::int32_t>(outline.size()));
    add(nodes, outline);
    if (outline.size() > 3) {
      for (const Skin::Triangle& triangle : skin.TrianglesOf(face)) {
        add(triangles, triangle);
      }
    }
  }
  page.nodes = into.AddWholes(nodes);
  page.lengths = into.AddWholes(lengths);
  page.triangles = into.AddWholes(triangles);
}

void SharedMesh::TakeIds(const LoadedGroup& loaded, Page& into) {
  const auto add = [&into](const Analysis::LoadedArray& ids, std::span<const std::size_t> places,
                           bool& hasIds) {
    const Analysis::FloatTuples tuples =
        ids.failure == nullptr ? ids.Tuples(1) : Analysis::FloatTuples();
    std::vector<std::int32_t> numbers = Wholes(places);
    hasIds = !places.empty() && *std::ranges::max_element(places) < tuples.Count();
    for (std::size_t i = 0; hasIds && i < places.size(); ++i) {
      numbers[i] = *Analysis::IdAt(tuples, places[i]);
    }
    return into.AddWholes(numbers);
  };
  page.nodeIds = add(loaded[0], points, page.hasNodeIds);
  page.faceIds = add(loaded[1], faces, page.hasElementIds);
}

}  // namespace LbtTev::View
