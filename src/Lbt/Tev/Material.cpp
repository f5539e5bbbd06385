// The looks of a surface without a material record.

#include "Lbt/Tev/Material.h"

#include <cstddef>

namespace LbtTev {

Material::Material() {
  constexpr float kAmbientShare = 0.2F;
  for (std::size_t i = 0; i < ambient.size(); ++i) {
    ambient[i] = diffuse[i] * kAmbientShare;
  }
}

}  // namespace LbtTev
