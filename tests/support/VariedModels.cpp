// Small models that differ in every layout that the format has.

#include "VariedModels.h"

#include <initializer_list>
#include <utility>

#include "ModelWriter.h"

namespace tevtest {

namespace {

constexpr const char* kStep = "\x1eTime = 0.5";

/// A part with a mesh of one tetrahedron and a result.
NodeRef AddPart(ModelWriter& model, const std::string& name, NodeRef group,
                const std::string& version = "0.7") {
  const NodeRef geometry = model.AddGeometry(name, model.AddShape(name, group), version);
  model.AddVariable(geometry, Variable::Floats("Node Ids", kIds, 1, {1, 2, 3, 4}));
  model.AddVariable(geometry, Variable::Floats("Coordinates", kCoordinates, 3,
                                               {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1.5F}));
  model.AddVariable(geometry, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3}));
  model.AddVariable(geometry, Variable::Uints("Polylength", kPolylength, 1, {4}));
  model.AddVariable(geometry,
                    Variable::Floats(std::string("Stress") + kStep, kScalarResult, 1,
                                     {1.5F, -2, 3e10F, 0.25F}, {Attribute::Float("Time", 0.5F)}));
  return geometry;
}

ModelWriter OnePart(const std::string& geometryVersion = "0.7") {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0, {Attribute::Text("Model File", "a.inp")});
  AddPart(model, "Frame", model.AddGroup("Geometry", root), geometryVersion);
  return model;
}

std::string CompressedPart() {
  ModelWriter model = OnePart();
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  return model.Build();
}

std::string GroupVersions() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0, {Attribute::Uint("n", 1)});
  for (const char* version : {"0.0a", "0.1", "0.2", "0.3", "0.4", "0.9"}) {
    model.AddGroup(version, root, {Attribute::Text("Unit", "mm")}, version);
  }
  return model.Build();
}

/// Shapes without a material record and with records of every version, with fields that
/// readers of today do not know.
std::string MaterialVersions() {
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  for (const char* version : {"0.0a", "0.1"}) {
    model.AddGeometry("g", model.AddShape("plain", group, version));
  }
  for (const char* version : {"0.1", "0.2", "0.3", "0.7"}) {
    const NodeRef shape = model.AddShape(version, group, "0.2");
    model.AddGeometry("g", shape);
    model.At(shape).Shape().material->version = version;
    model.At(shape).Shape().material->envelope.trailing = "more";
  }
  return model.Build();
}

std::string OldGeometries(std::initializer_list<const char*> versions,
                          const std::string& fileVersion) {
  ModelWriter model;
  model.SetFileVersion(fileVersion);
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  for (const char* version : versions) {
    const NodeRef geometry = model.AddGeometry(version, model.AddShape(version, group), version);
    model.AddVariable(geometry, Variable::Floats("Coordinates", kCoordinates, 3, {0, 1, 2},
                                                 {Attribute::Text("Category", "Vibration")}));
    model.AddVariable(geometry, Variable::Uints("Connectivity", kConnectivity, 1, {0}));
    model.AddVariable(geometry, Variable::Uints("Polylength", kPolylength, 1, {1}));
  }
  return model.Build();
}

std::string NodeSetsOfAllKinds() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  model.SetPrefix(kHeavyData, std::string("\1\0\0\0\0\0\0\0", 8));
  model.AddNodeSets("Sets", root, {{"Fixed", {{1, 1}, {2, 1}}}, {"None", {}}, {"Top", {{3, 1}}}});
  model.AddFuture("Probe", "probe", root, "unknown data");
  model.AddEmpty("nothing", root);
  AddPart(model, "Frame", model.AddGroup("Geometry", root));
  return model.Build();
}

std::string AttributeKinds() {
  ModelWriter model = OnePart();
  const AttributeSet set{Attribute::Uint("Mode", 3), Attribute::Float("Frequency", 12.5F),
                         Attribute::Double("LoadCase", 1e-30), Attribute::Text("Title", "A title"),
                         Attribute::Text("Instance Name", "first\x1esecond")};
  model.AddVariable(4, Variable::Floats("Strain", kVectorResult, 3, {1, 2, 3}, set));
  return model.Build();
}

/// Three programs, and a second part that shares numbers with the first.
std::string LinksAndModifiers() {
  ModelWriter model = OnePart();
  const NodeRef second = model.AddGeometry("Panel", model.AddShape("Panel", 2));
  model.AddVariable(second, Variable::Link("Coordinates", kCoordinates, 4, 1));
  model.AddVariable(second, Variable::Link("Missing", kScalarResult, 99, 7));
  for (const char* version : {"0.1", "0.2", "0.7"}) {
    model.AddModifier({.version = version,
                       .applicationName = "translator",
                       .applicationVersion = "1",
                       .date = "today",
                       .comment = "none"});
  }
  return model.Build();
}

std::string SecondIndex(bool isCompressed) {
  ContainerWriter container = OnePart().ToContainer();
  container.ContinueAfter(
      {.after = 2, .block = {.name = "\vIndex Block 1", .compressed = isCompressed}});
  return container.Build().bytes;
}

/// A stream of several blocks, raw and compressed in turn, with one of no bytes.
std::string CutStreams() {
  ModelWriter model = OnePart();
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Alternating});
  ContainerWriter container = model.ToContainer();
  container.Blocks().insert(container.Blocks().begin(), {.name = std::string(kHeavyData)});
  return container.Build().bytes;
}

/// Results below every group that the report counts, one level down and two.
std::string Listings() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  for (const char* name : {"Cut-Sections", "Iso-Surfaces", "Iso-Volumes", "Flow Lines"}) {
    model.AddGeometry("g", model.AddShape(name, model.AddGroup(name, root)));
  }
  const NodeRef deep = model.AddGroup("Assembly", model.AddGroup("Geometry", root));
  AddPart(model, "Frame", deep);
  return model.Build();
}

}  // namespace

std::vector<VariedModel> VariedModels() {
  return {
      {"raw", OnePart().Build()},
      {"compressed", CompressedPart()},
      {"groups", GroupVersions()},
      {"materials", MaterialVersions()},
      {"first-geometries", OldGeometries({"0.0a", "0.1", "0.2"}, "0.2")},
      {"old-geometries", OldGeometries({"0.3", "0.4", ""}, "0.4")},
      {"narrow-geometries", OldGeometries({"0.5", "0.6"}, "0.6")},
      {"node-sets", NodeSetsOfAllKinds()},
      {"attributes", AttributeKinds()},
      {"links-modifiers", LinksAndModifiers()},
      {"raw-second-index", SecondIndex(false)},
      {"compressed-second-index", SecondIndex(true)},
      {"cut-streams", CutStreams()},
      {"listings", Listings()},
  };
}

}  // namespace tevtest
