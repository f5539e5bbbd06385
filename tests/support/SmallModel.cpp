// A model of a few nodes that has something of everything.

#include "SmallModel.h"

namespace tevtest {
namespace {

AttributeSet RootAttributes() {
  return {Attribute::Text("Model File", "/data/frame.inp"),
          Attribute::Text("Model File Size", "1.5 KB"),
          Attribute::Text("Results File", "/data/frame.odb"),
          Attribute::Text("Results File Size", "2.25 MB"),
          Attribute::Uint("Number of Nodes in the Model", 10),
          Attribute::Uint("Number of Elements in the Model", 3),
          Attribute::Float("Tolerance", 0.25F),
          Attribute::Double("Unit Scale", 0.001)};
}

AttributeSet ResultAttributes(std::string_view contents) {
  return {Attribute::Text("Title", "Frame, transient heating"), Attribute::Float("Time", 0.5F),
          Attribute::Text("Label", contents.substr(0, 1)), Attribute::Text("Contents", contents),
          Attribute::Text("Structure", "Node")};
}

Variable Displacement(std::initializer_list<float> values) {
  return Variable::Floats("Displacement\x1eTime = 0.5", kVectorResult, 3, values,
                          ResultAttributes("Displacement"));
}

void AddMesh1(ModelWriter& model, NodeRef mesh) {
  model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, {1, 2, 3, 4, 5}));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3,
                                           {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1.5F}));
  model.AddVariable(mesh,
                    Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3, 1, 2, 3, 4}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {4, 4}));
  model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, {101, 102}));
  model.AddVariable(
      mesh, Displacement({0, 0, 0, 0.125F, 0, 0, 0, -0.25F, 0, 0, 0, 0.5F, 1.5F, -2.5F, 1e-6F}));
  model.AddVariable(mesh, Variable::Floats("Temperature\x1eTime = 0.5", kScalarResult, 1,
                                           {293.25F, 294, 295.5F, 296, 1234567},
                                           ResultAttributes("Temperature")));
}

void AddMesh2(ModelWriter& model, NodeRef mesh, NodeRef mesh1) {
  model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, {6, 7, 8, 9, 10}));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3,
                                           {2, 0, 0, 3, 0, 0, 3, 1, 0, 2, 1, 0, 2.5F, 0.5F, 1}));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3, 4}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {5}));
  model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, {103}));
  model.AddVariable(mesh, Displacement({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
  model.AddVariable(mesh, Variable::Link("Temperature\x1eTime = 0.5", kScalarResult, mesh1, 6,
                                         ResultAttributes("Temperature")));
}

void AddModifiers(ModelWriter& model) {
  model.AddModifier({.applicationName = "translate",
                     .applicationVersion = "2.1",
                     .tevVersion = "1.3",
                     .date = "Mon Mar  4 09:12:44 2024",
                     .unreported = "batch",
                     .userName = "analyst",
                     .comment = "First translation"});
  model.AddModifier({.applicationName = "tidy",
                     .applicationVersion = "0.9",
                     .tevVersion = "1.3",
                     .date = "Tue Mar  5 17:30:02 2024",
                     .userName = "release"});
}

}  // namespace

ModelWriter SmallModel() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0, RootAttributes());
  const NodeRef group = model.AddGroup("Geometry", root);
  const NodeRef shape1 = model.AddShape("Frame", group);
  model.At(shape1).Shape().material->shininess = 32.0F;
  const NodeRef mesh1 = model.AddGeometry("mesh 1", shape1);
  AddMesh1(model, mesh1);
  const NodeRef shape2 = model.AddShape("Panel", group);
  const NodeRef mesh2 = model.AddGeometry("mesh 2", shape2);
  AddMesh2(model, mesh2, mesh1);
  model.AddNodeSets("Sets", root, {{"Fixed", {{1, 4}, {2, 4}}}, {"Loaded", {{5, 4}}}});
  AddModifiers(model);
  return model;
}

}  // namespace tevtest
