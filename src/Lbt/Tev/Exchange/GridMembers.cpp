// Gives each part its place in a grid of all.

#include "GridMembers.h"

#include <algorithm>
#include <exception>

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"

namespace LbtTev::Exchange {

namespace {

void Measure(Member& member, const LoadedMesh& mesh) {
  member.used = mesh.Used();
  member.cells = mesh.Cells();
  member.connectivity = mesh.hasFaces ? mesh.faces.size() : mesh.Points();
  member.isThere = true;
}

void GiveItsPlace(Member& member, GridMembers& grid) {
  member.firstPoint = grid.points;
  member.firstCell = grid.cells;
  member.firstConnectivity = grid.connectivity;
  grid.points += member.used.Count();
  grid.cells += member.cells;
  grid.connectivity += member.connectivity;
}

}  // namespace

GridMembers FindMembers(const Contents& contents, PlaceInTime step, const CellRules& rules,
                        const Listener& listener) {
  const Analysis::Model& model = contents.GetModel();
  const std::shared_ptr<ModelStream> heavy = model.GetTree().GetStreams().heavy;
  GridMembers grid;
  std::vector<Analysis::WantedGroup> wanted;
  for (const std::size_t part : contents.Parts()) {
    grid.all.push_back({.part = part, .mesh = model.MeshAt(model.Parts()[part], step)});
    wanted.push_back(WantedMesh(grid.all.back().mesh));
  }
  bool hasFailed = false;
  Analysis::LoadInFileOrder({&model.GetTree(), wanted}, [&](std::size_t i, const auto& loaded) {
    RequireNoSignal();
    Member& member = grid.all[i];
    if (member.mesh.coordinates == nullptr) {
      return;
    }
    const std::exception_ptr failure = Analysis::FailureOfLoad(model.GetTree(), [&] {
      const LoadedMesh mesh(member.mesh, loaded);
      // Any number of shapes may have one geometry.
      heavy->Charge(mesh.coordinates.size_bytes() + 4 * mesh.faces.size_bytes());
      Measure(member, mesh);
      if (rules.AreGuessing()) {
        listener.taken(member.part, step, ShapesOf(mesh, rules));
      }
    });
    if (failure != nullptr) {
      hasFailed = true;
      listener.meshFailed(member.part, step, failure);
    }
  });
  if (hasFailed && std::ranges::none_of(grid.all, &Member::isThere)) {
    RaiseNoMesh();
  }
  for (Member& member : grid.all) {
    if (member.isThere) {
      GiveItsPlace(member, grid);
    }
  }
  return grid;
}

std::vector<float> UsedTuples(const Analysis::UsedNodes& used, std::span<const float> values,
                              std::size_t width) {
  std::vector<float> tuples;
  tuples.reserve(used.Count() * width);
  for (const auto& [first, end] : used.Ranges()) {
    const auto piece = values.subspan(first * width, (end - first) * width);
    tuples.insert(tuples.end(), piece.begin(), piece.end());
  }
  return tuples;
}

std::vector<std::uint64_t> NewPlaces(const Member& member, std::size_t nodes) {
  std::vector<std::uint64_t> places(nodes);
  std::uint64_t next = member.firstPoint;
  for (const auto& [first, end] : member.used.Ranges()) {
    for (std::size_t node = first; node < end; ++node) {
      places[node] = next++;
    }
  }
  return places;
}

}  // namespace LbtTev::Exchange
