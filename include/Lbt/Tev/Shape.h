#pragma once

#include <string>

#include "Lbt/Tev/Material.h"
#include "Lbt/Tev/Node.h"

namespace LbtTev {

/// A part: its material, and as first child in the tree its geometry.
class Shape final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return "Shape"; }
  [[nodiscard]] std::string GetVersion() const override { return "0.2"; }

  Material material;
};

}  // namespace LbtTev
