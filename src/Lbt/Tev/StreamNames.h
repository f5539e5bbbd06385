#pragma once

#include <string>

namespace LbtTev {

/// The streams of the model layer.
struct StreamNames {
  std::string tree = "Tev Tree";
  std::string light = "Light Data";
  std::string heavy = "Heavy Data";
  std::string attributes = "Attributes";
  std::string resources = "Resources";
  std::string global = "Global Information";
};

}  // namespace LbtTev
