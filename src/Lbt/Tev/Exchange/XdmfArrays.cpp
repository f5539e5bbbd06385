// Writes the arrays of all grids of an export into a file of HDF5, each once.

#include "XdmfArrays.h"

#include <algorithm>
#include <exception>
#include <functional>

#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Exchange {

namespace {

using Analysis::Field;
using Analysis::FieldOfPart;
using Analysis::LoadedArray;
using Analysis::LoadedGroup;
using Analysis::Location;
using Analysis::MeshVariables;

/// Types whose cells tell their number of nodes in a list of mixed ones.
bool TellsItsNodes(CellShape shape) { return FactsOf(shape).xdmfCode <= 3; }

/// Each element by the code of its type and its nodes.
std::vector<unsigned int> MixedList(const LoadedMesh& mesh, const CellRules& rules) {
  std::vector<unsigned int> list;
  list.reserve(mesh.faces.size() + 2 * mesh.lengths.size());
  ForCells(mesh, rules, [&](CellShape shape, std::span<const unsigned int> nodes) {
    list.push_back(FactsOf(shape).xdmfCode);
    if (TellsItsNodes(shape)) {
      list.push_back(static_cast<unsigned int>(nodes.size()));
    }
    list.insert(list.end(), nodes.begin(), nodes.end());
  });
  return list;
}

}  // namespace

XdmfArrays::XdmfArrays(const Contents& contents, const CellRules& rules, const Listener& listener)
    : contents_(&contents),
      rules_(&rules),
      listener_(&listener),
      sets_(SortedSetsOf(contents.GetModel().GetTree())) {
  for (const PlaceInTime& step : contents.Steps()) {
    for (const std::size_t part : contents.Parts()) {
      AddGrid(part, step);
    }
  }
}

XdmfArrays::MeshKey XdmfArrays::KeyOf(const MeshVariables& mesh) {
  const auto key = [](const Geometry::VarStruct* variable) {
    return variable == nullptr ? Key() : Key(variable->array);
  };
  return {key(mesh.coordinates), key(mesh.faces), key(mesh.lengths)};
}

void XdmfArrays::AddGrid(std::size_t part, PlaceInTime step) {
  const Analysis::Model& model = contents_->GetModel();
  const MeshVariables mesh = model.MeshAt(model.Parts()[part], step);
  if (mesh.coordinates != nullptr) {
    MeshUse& use = meshes_[KeyOf(mesh)];
    use.mesh = mesh;
    use.users.emplace(part, step);
    AddIds(mesh, Location::Node, part, step);
    AddIds(mesh, Location::Element, part, step);
  }
  for (const Field* field : contents_->FieldsAt(part, step)) {
    if (!seen_.emplace(part, field).second) {
      continue;
    }
    if (LocationOn(mesh, *field) == Location::Unknown) {
      listener_->leftOut({part, field});
    } else {
      fields_[Key(field->variable->array)].users.push_back({part, field});
    }
  }
}

XdmfArrays::IdsKey XdmfArrays::KeyOfIds(const MeshVariables& mesh, Location of) {
  return {Key(mesh.IdsOf(of)->array), IdsTaken(mesh, of)};
}

void XdmfArrays::AddIds(const MeshVariables& mesh, Location of, std::size_t part,
                        PlaceInTime step) {
  if (HasFewIds(mesh, of)) {
    listener_->fewIds(part, of);
  } else if (IdsTaken(mesh, of) != 0) {
    IdsUse& use = ids_[KeyOfIds(mesh, of)];
    use.variable = mesh.IdsOf(of);
    use.areOfNodes = use.areOfNodes || of == Location::Node;
    use.users.emplace(part, step);
  }
}

void XdmfArrays::WriteTo(Hdf5File& file) {
  std::vector<Analysis::WantedGroup> wanted;
  std::vector<std::function<void(const LoadedGroup&)>> takers;
  for (auto& [key, use] : meshes_) {
    wanted.push_back(WantedMesh(use.mesh));
    takers.emplace_back(
        [this, &file, &use = use](const LoadedGroup& loaded) { WriteMesh(file, use, loaded); });
  }
  for (auto& [key, use] : ids_) {
    wanted.push_back({{use.variable}});
    takers.emplace_back([this, &file, count = key.second, &use = use](const LoadedGroup& loaded) {
      WriteIds(file, count, use, loaded[0]);
    });
  }
  for (auto& [key, use] : fields_) {
    wanted.push_back({{use.users.front().field->variable}});
    takers.emplace_back(
        [this, &file, &use = use](const LoadedGroup& loaded) { WriteField(file, use, loaded[0]); });
  }
  for (const char* group : {"/points", "/cells", "/ids", "/sets", "/fields"}) {
    file.MakeGroup(group);
  }
  Analysis::LoadInFileOrder(
      {&contents_->GetModel().GetTree(), wanted},
      [&](std::size_t place, const LoadedGroup& loaded) { takers[place](loaded); });
  if (!meshes_.empty() && std::ranges::all_of(meshes_, [](const auto& each) {
        return each.second.written.points.path.empty();
      })) {
    RaiseNoMesh();
  }
}

void XdmfArrays::WriteMesh(Hdf5File& file, MeshUse& use, const LoadedGroup& loaded) {
  const Tree& tree = contents_->GetModel().GetTree();
  XdmfMesh written;
  const std::exception_ptr failure = Analysis::FailureOfLoad(tree, [&] {
    const LoadedMesh mesh(use.mesh, loaded);
    // Faces that many coordinates are given for are looked at once for each.
    tree.GetStreams().heavy->Charge(mesh.faces.size_bytes());
    if (rules_->AreGuessing()) {
      const TakenShapes shapes = ShapesOf(mesh, *rules_);
      for (const auto& [part, step] : use.users) {
        listener_->taken(part, step, shapes);
      }
    }
  });
  if (failure != nullptr) {
    for (const auto& [part, step] : use.users) {
      listener_->meshFailed(part, step, failure);
    }
    return;
  }
  const LoadedMesh mesh(use.mesh, loaded);
  XdmfArray& points = points_[Key(use.mesh.coordinates->array)];
  if (points.path.empty()) {
    points = WriteArray(file, "/points", {.tuples = mesh.Points(), .width = 3},
                        std::as_bytes(mesh.coordinates));
  }
  written.points = points;
  WriteCells(file, written, mesh);
  use.written = written;
}

void XdmfArrays::WriteCells(Hdf5File& file, XdmfMesh& written, const LoadedMesh& mesh) {
  const TakenShapes shapes = ShapesOf(mesh, *rules_);
  written.count = mesh.Cells();
  written.isMixed = shapes.size() > 1;
  std::vector<unsigned int> made;
  std::span<const unsigned int> list = mesh.faces;
  if (written.isMixed) {
    list = made = MixedList(mesh, *rules_);
  } else if (!shapes.empty()) {
    written.nodes = shapes.begin()->first.first;
    written.shape = shapes.begin()->first.second;
  }
  if (!mesh.hasFaces) {
    for (unsigned int node = 0; node < mesh.Points(); ++node) {
      made.push_back(node);
    }
    list = made;
  }
  const std::size_t width = written.isMixed ? 0 : written.nodes;
  written.cells = WriteArray(file, "/cells",
                             {.type = NumberType::UInt32,
                              .tuples = width == 0 ? list.size() : list.size() / width,
                              .width = width},
                             std::as_bytes(list));
}

void XdmfArrays::WriteIds(Hdf5File& file, std::size_t count, IdsUse& use,
                          const LoadedArray& loaded) {
  if (loaded.failure != nullptr) {
    for (const auto& [part, step] : use.users) {
      listener_->meshFailed(part, step, loaded.failure);
    }
    return;
  }
  std::vector<std::int32_t> ids(count);
  std::ranges::transform(loaded.Floats().first(count), ids.begin(),
                         Lbt::Util::Clamped<std::int32_t>);
  use.written =
      WriteArray(file, "/ids", {.type = NumberType::Int32, .tuples = ids.size()}, AllBytes(ids));
  if (use.areOfNodes) {
    WriteSets(file, use, ids);
  }
}

void XdmfArrays::WriteSets(Hdf5File& file, IdsUse& use, std::span<const std::int32_t> ids) {
  const Tree& tree = contents_->GetModel().GetTree();
  for (const SortedSet& set : sets_) {
    tree.GetStreams().heavy->Charge(ids.size());
    std::vector<std::int32_t> indices;
    for (std::size_t node = 0; node < ids.size(); ++node) {
      if (set.Has(ids[node])) {
        indices.push_back(static_cast<std::int32_t>(node));
      }
    }
    if (!indices.empty()) {
      use.sets.emplace_back(
          set.name, WriteArray(file, "/sets", {.type = NumberType::Int32, .tuples = indices.size()},
                               AllBytes(indices)));
    }
  }
}

void XdmfArrays::WriteField(Hdf5File& file, FieldUse& use, const LoadedArray& loaded) {
  if (loaded.failure != nullptr) {
    for (const FieldOfPart& user : use.users) {
      listener_->fieldFailed(user, loaded.failure);
    }
    return;
  }
  const Field& field = *use.users.front().field;
  const auto values = loaded.Floats().first(field.count * field.components);
  use.written =
      WriteArray(file, "/fields",
                 {.tuples = field.count, .width = field.components == 1 ? 0 : field.components},
                 std::as_bytes(values));
  file.SetTexts(use.written.path, "result", {Analysis::ShownName(field.result)});
  file.SetTexts(use.written.path, "step", {contents_->TextOf(field.step)});
  file.SetTexts(use.written.path, "part",
                {contents_->GetModel().Parts()[use.users.front().part].name});
}

XdmfArray XdmfArrays::WriteArray(Hdf5File& file, const char* group, XdmfArray array,
                                 std::span<const std::byte> bytes) {
  array.path = std::string(group) + '/' + std::to_string(++numbers_[group]);
  file.MakeDataset(array.path, array.type, array.tuples, array.width);
  if (!bytes.empty()) {
    file.Write(array.path, 0, bytes);
  }
  return array;
}

const XdmfMesh* XdmfArrays::MeshOf(const MeshVariables& mesh) const {
  const auto found = meshes_.find(KeyOf(mesh));
  return found == meshes_.end() || found->second.written.points.path.empty()
             ? nullptr
             : &found->second.written;
}

const XdmfArray* XdmfArrays::IdsOf(const MeshVariables& mesh, Location of) const {
  const auto found = IdsTaken(mesh, of) == 0 ? ids_.end() : ids_.find(KeyOfIds(mesh, of));
  return found == ids_.end() || found->second.written.path.empty() ? nullptr
                                                                   : &found->second.written;
}

const XdmfArray* XdmfArrays::ValuesOf(const Field& field) const {
  const auto found = fields_.find(Key(field.variable->array));
  return found == fields_.end() || found->second.written.path.empty() ? nullptr
                                                                      : &found->second.written;
}

const std::vector<std::pair<std::string, XdmfArray>>& XdmfArrays::SetsOf(
    const MeshVariables& mesh) const {
  return ids_.at(KeyOfIds(mesh, Location::Node)).sets;
}

}  // namespace LbtTev::Exchange
