#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "support/ModelWriter.h"
#include "support/TempDir.h"

namespace tevtest {

inline const std::string kHeadings = "*HEADER,TITLE=\"Test\"\n*ANALYSIS,NAME=\"Test\"\n";
inline constexpr std::uint64_t kOutsideTheFile = 1U << 20U;

/// A model on disk, loaded.
struct LoadedModel {
  explicit LoadedModel(const ModelWriter& writer)
      : path(directory.Write("model.tev", writer.Build())) {
    LbtTev::OpenModel(tree, path);
  }

  [[nodiscard]] std::string Text(const std::string& geometryName) const {
    std::ostringstream stream;
    LbtTev::Report::WriteCdf(tree, geometryName, stream);
    return stream.str();
  }

  TempDir directory;
  const std::string path;
  LbtTev::Tree tree;
};

/// A model of one geometry "mesh".
inline ModelWriter ModelOf(const std::vector<Variable>& variables) {
  ModelWriter model;
  const NodeRef group = model.AddGroup("model", 0);
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("mesh", group));
  for (const Variable& variable : variables) {
    model.AddVariable(mesh, variable);
  }
  return model;
}

/// The export of one geometry after its headings.
inline std::string Blocks(const std::vector<Variable>& variables) {
  const std::string text = LoadedModel(ModelOf(variables)).Text("mesh");
  EXPECT_TRUE(text.starts_with(kHeadings)) << text;
  return text.substr(kHeadings.size());
}

inline Variable Scalar(std::string_view name, std::initializer_list<float> values) {
  return Variable::Floats(name, kScalarResult, 1, values);
}

inline Variable Faces(std::initializer_list<std::uint32_t> vertices,
                      std::string_view name = "Faces", std::uint32_t type = kConnectivity) {
  return Variable::Uints(name, type, 1, vertices);
}

inline Variable Lengths(std::initializer_list<std::uint32_t> lengths,
                        std::string_view name = "Lengths") {
  return Variable::Uints(name, kPolylength, 1, lengths);
}

/// The variable with its data where the file has none.
inline Variable Lost(Variable variable) {
  variable.heavyPosition = kOutsideTheFile;
  return variable;
}

inline Variable OfWidth(Variable variable, std::uint8_t width) {
  variable.width = width;
  variable.shuffled = false;
  variable.heavyBytes = variable.elements;
  return variable;
}

}  // namespace tevtest
