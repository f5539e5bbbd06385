#pragma once

#include <string>

namespace LbtTev {

/// The names of the streams that a model consists of.
struct StreamNames {
  std::string tree = "Tev Tree";
  std::string light = "Light Data";
  std::string heavy = "Heavy Data";
  std::string attributes = "Attributes";
  std::string resources = "Resources";
  std::string global = "Global Information";
};

}  // namespace LbtTev
