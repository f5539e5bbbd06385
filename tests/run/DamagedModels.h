#pragma once

#include <string>
#include <vector>

namespace tevtest {

/// A model file with one fault that ends a run on it, and what the run then writes on standard
/// error after the notice of the log.
struct DamagedModel {
  std::string name;  ///< letters and digits only
  std::string bytes;
  std::string failure;
};

/// Models with every kind of fault, absurd counts and lengths above all.
[[nodiscard]] std::vector<DamagedModel> DamagedModels();

}  // namespace tevtest
