#pragma once

#include <string>

namespace LbtTev {

/// A program that wrote or modified the file.
struct ModifierInfo {
  bool operator==(const ModifierInfo&) const = default;

  std::string unstored;  ///< not in the file
  std::string applicationName;
  std::string applicationVersion;
  std::string tevVersion;
  std::string date;
  std::string unreported;  ///< in the file, without a meaning here
  std::string userName;
  std::string comment;
};

}  // namespace LbtTev
