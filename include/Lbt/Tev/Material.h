#pragma once

#include <array>
#include <string>

#include "Lbt/Tev/Node.h"

namespace LbtTev {

/// How a surface looks. Colours are red, green, blue and alpha from 0 to 1. A new
/// one has the values of a shape without a material record.
class Material final : public Node {
 public:
  Material();

  [[nodiscard]] std::string GetType() const override { return "Material"; }
  [[nodiscard]] std::string GetVersion() const override { return "0.3"; }
  /// The same as GetVersion().
  [[nodiscard]] virtual std::string getVersion() const { return "0.3"; }

  std::array<float, 4> diffuse{0.8F, 0.8F, 0.8F, 1.0F};
  std::array<float, 4> specular{0, 0, 0, 1.0F};
  std::array<float, 4> emissive{};  ///< records hold the first three
  std::array<float, 4> ambient{};   ///< a fifth of diffuse; records hold the first three
  float shininess = 0;
  float materialFactor = 0.2F;  ///< in records from version "0.2" on
  bool materialFlag = true;     ///< in records from version "0.3" on
};

}  // namespace LbtTev
