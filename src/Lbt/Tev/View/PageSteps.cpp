// Which steps a page shows, and what it needs for them.

#include <algorithm>

#include "Lbt/Tev/View/PageContents.h"

namespace LbtTev::View {

std::set<Page::Block> BlocksAt(const PageContents& contents,
                               std::span<const FieldWithStatistics> fields,
                               const std::set<std::size_t>& steps) {
  std::set<Page::Block> blocks;
  const auto isWanted = [&steps](std::optional<std::size_t> step) {
    return !step || steps.contains(*step);
  };
  for (const auto& meshes : contents.meshes) {
    for (const PageMesh& mesh : meshes) {
      if (isWanted(mesh.step)) {
        blocks.insert(
            {mesh.xyz, mesh.nodes, mesh.lengths, mesh.triangles, mesh.nodeIds, mesh.faceIds});
      }
    }
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (contents.fields[i] && isWanted(fields[i].field.field->step)) {
      for (const PageComponent& component : contents.fields[i]->components) {
        blocks.insert(component.data);
        if (component.holes) {
          blocks.insert(*component.holes);
        }
      }
    }
  }
  return blocks;
}

std::set<std::size_t> EvenSteps(std::size_t steps, std::size_t count) {
  std::set<std::size_t> chosen;
  if (steps == 0 || count == 0) {
    return chosen;
  }
  chosen.insert(steps - 1);
  for (std::size_t i = 0; i + 1 < std::min(count, steps); ++i) {
    chosen.insert(i * (steps - 1) / (std::min(count, steps) - 1));
  }
  return chosen;
}

}  // namespace LbtTev::View
