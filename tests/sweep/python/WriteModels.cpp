// Writes the models that the tests of the Python package read, to standard output:
//
//   python_models small NAME      one model
//   python_models mutants STRIDE  every STRIDE-th way to damage a dozen small models: for each file
//                                its length (32 bits, little-endian) and its bytes

#include <cstdint>
#include <iostream>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "support/SmallModel.h"
#include "support/VariedModels.h"
#include "sweep/Mutants.h"

namespace {

using tevtest::ModelWriter;
using tevtest::Variable;

ModelWriter TwoPartsOfOneName() {
  ModelWriter model = tevtest::SmallModel();
  for (const auto shape : {tevtest::kSmallShape1, tevtest::kSmallShape2}) {
    model.At(shape).name = "Twin";
  }
  return model;
}

/// The first part's points have two coordinates, as none are drawn.
ModelWriter TwoCoordinates() {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 1) =
      Variable::Floats("Coordinates", tevtest::kCoordinates, 2, {0, 0, 1, 0, 0, 1, 0, 0, 1, 1});
  return model;
}

/// The first part has a result without a step, and one more that it also has at "Time = 0.5".
ModelWriter FieldsWithoutAStep() {
  ModelWriter model = tevtest::SmallModel();
  for (const char* name : {"Thickness", "Temperature"}) {
    model.AddVariable(tevtest::kSmallMesh1,
                      Variable::Floats(name, tevtest::kScalarResult, 1, {1, 2, 3, 4, 5}));
  }
  return model;
}

ModelWriter LostGeometry() {
  ModelWriter model;
  model.AddShape("Panel", model.AddGroup("model", 0));
  return model;
}

/// The mesh of the small model's first part.
ModelWriter NoResults() {
  ModelWriter model = tevtest::SmallModel();
  model.At(tevtest::kSmallMesh1).Geometry().variables.resize(5);
  model.At(tevtest::kSmallMesh2).Geometry().variables.resize(5);
  return model;
}

/// The first part has other numbers of ids than of nodes and elements.
ModelWriter WithIds(const std::vector<float>& nodes, const std::vector<float>& elements) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 0) = Variable::Floats("Node Ids", tevtest::kIds, 1, nodes);
  model.VariableAt(tevtest::kSmallMesh1, 4) =
      Variable::Floats("Element Ids", tevtest::kIds, 1, elements);
  return model;
}

ModelWriter MoreIds() { return WithIds({1, 2, 3, 4, 5, 6, 7}, {101, 102, 103}); }
ModelWriter FewerIds() { return WithIds({1, 2, 3, 4}, {101}); }

constexpr std::size_t kFields = 40;
constexpr std::size_t kBlocks = 4;
constexpr std::size_t kNumbers = 1000;

/// One part with 40 fields of 1000 numbers, ten in each compressed block: number i of field f is
/// 1000 f + i.
ModelWriter FortyFields() {
  ModelWriter model;
  const auto root = model.AddGroup("model", 0);
  const auto mesh = model.AddGeometry("mesh", model.AddShape("Plate", root));
  std::vector<float> values(kNumbers);
  for (std::size_t field = 0; field < kFields; ++field) {
    std::iota(values.begin(), values.end(), static_cast<float>(field * kNumbers));
    model.AddVariable(mesh, Variable::Floats("Result " + std::to_string(field),
                                             tevtest::kScalarResult, 1, values));
  }
  std::vector<std::size_t> cuts;
  for (std::size_t block = 1; block < kBlocks; ++block) {
    cuts.push_back(block * kFields / kBlocks * kNumbers * sizeof(float));
  }
  model.SetLayout("Heavy Data", {.split = tevtest::StreamLayout::Split::AtCuts,
                                 .packing = tevtest::StreamLayout::Packing::Compressed,
                                 .cuts = cuts});
  return model;
}

/// One part with a field of 12 million numbers, the number's place modulo 4, in one block.
ModelWriter LargeField() {
  constexpr std::size_t kMany = 12000000;
  ModelWriter model;
  const auto root = model.AddGroup("model", 0);
  const auto mesh = model.AddGeometry("mesh", model.AddShape("Plate", root));
  std::vector<float> values(kMany);
  for (std::size_t i = 0; i < kMany; ++i) {
    values[i] = static_cast<float>(i % 4);
  }
  model.AddVariable(mesh, Variable::Floats("Result", tevtest::kScalarResult, 1, values));
  model.SetLayout("Heavy Data", {.packing = tevtest::StreamLayout::Packing::Compressed});
  return model;
}

void WriteMutants(std::size_t stride) {
  for (const tevtest::VariedModel& model : tevtest::VariedModels()) {
    ForEachMutant(model.bytes, stride, [](const std::string& mutant) {
      const auto size = static_cast<std::uint32_t>(mutant.size());
      for (unsigned int byte = 0; byte < sizeof size; ++byte) {
        std::cout.put(static_cast<char>(size >> (8 * byte)));
      }
      std::cout << mutant;
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, ModelWriter (*)()> small{{"two parts of one name", TwoPartsOfOneName},
                                                       {"two coordinates", TwoCoordinates},
                                                       {"without a step", FieldsWithoutAStep},
                                                       {"lost geometry", LostGeometry},
                                                       {"no results", NoResults},
                                                       {"more ids", MoreIds},
                                                       {"fewer ids", FewerIds},
                                                       {"forty fields", FortyFields},
                                                       {"large field", LargeField}};
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() != 2) {
    return 1;
  }
  if (arguments[0] == "mutants") {
    WriteMutants(std::stoul(arguments[1]));
  } else {
    std::cout << small.at(arguments[1])().Build();
  }
  return std::cout.flush() ? 0 : 2;
}
