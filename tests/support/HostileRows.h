#pragma once

#include <vector>

#include "HostileModels.h"

namespace tevtest {

/// One kind of hostile file, in two sizes. Where it has a geometry with a short name, it is "g".
struct HostileRow {
  const char* name;
  HostileModel (*small)();  ///< of a few KiB inflated
  HostileModel (*full)();   ///< of the size at which it cost gigabytes, minutes or hours
};

/// Every kind.
[[nodiscard]] const std::vector<HostileRow>& HostileRows();

}  // namespace tevtest
