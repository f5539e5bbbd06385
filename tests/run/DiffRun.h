#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {

inline const std::string kSame = "The models are the same\n";
inline const std::string kIncomplete = "No difference in what could be compared\n";

class TevDiff : public TevRun {
 protected:
  /// Compares two models; the answer of a run that could do so.
  [[nodiscard]] std::string Diff(const ModelWriter& a, const ModelWriter& b,
                                 std::vector<std::string> options = {}) const {
    Write("a.tev", a);
    Write("b.tev", b);
    options.insert(options.begin(), {"diff", "a.tev", "b.tev"});
    const RunResult run = Run(options);
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.status, run.output == kSame ? 0 : 1) << run.output;
    return run.output;
  }
};

/// The geometry of the part below, and the group that it lies under.
inline constexpr NodeRef kSmallGroup = 2;
inline constexpr NodeRef kSmallGeometry = 4;

/// A part of three nodes and two faces with one field.
struct Small {
  std::vector<float> nodeIds{11, 12, 13};
  std::vector<float> coordinates{0, 0, 0, 1, 0, 0, 2, 0, 0};
  std::vector<std::uint32_t> faces{0, 1, 1, 2};
  std::vector<float> elementIds{101, 102};
  std::vector<float> values{1, 2, 4};
  std::uint8_t width = 1;
  std::string part = "P";
  std::string result = "R";
  std::string step = "Time = 1";

  [[nodiscard]] ModelWriter Model() const {
    ModelWriter model;
    const NodeRef group = model.AddGroup("Geometry", model.AddGroup("r", 0));
    const NodeRef mesh = model.AddGeometry("g", model.AddShape(part, group));
    model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, nodeIds));
    model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, coordinates));
    model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, faces));
    model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {2, 2}));
    model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, elementIds));
    model.AddVariable(mesh, Variable::Floats(result + '\x1e' + step, 13, width, values));
    return model;
  }
};

}  // namespace tevtest
