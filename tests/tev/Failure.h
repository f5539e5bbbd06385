#pragma once

#include <string>

#include "Lbt/Util/Exception.h"
#include "support/Mask.h"

namespace tevtest {

/// The text of the exception that "action" throws, masked, or "no failure".
template <class Action>
std::string FailureOf(Action action, LineNumber line = LineNumber::Masked) {
  try {
    action();
  } catch (const Lbt::Util::Exception& exception) {
    return MaskException(exception.what(), line);
  }
  return "no failure";
}

/// The texts of what the container's layers throw at damaged models.
inline const std::string kNotEnoughBytes =
    ExpectedException("Out of Bounds", "Not enough bytes in the block", "include/Lbt/Lbf/Block");
inline const std::string kInvalidPosition =
    ExpectedException("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block");
inline const std::string kMissingEntry =
    ExpectedException("Element Not Found", "Element Not Found", "include/Lbt/Adt/AdtTree");

}  // namespace tevtest
