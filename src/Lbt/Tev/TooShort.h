#pragma once

#include "Lbt/Log/Raise.h"

namespace LbtTev {

/// Fails where a stored list has fewer elements than others claim of it: with the text
/// of a block that ends too early, and the place of the caller.
[[noreturn]] inline void RaiseTooShort(const char* file, unsigned long line = __builtin_LINE()) {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                  file, line);
}

}  // namespace LbtTev
