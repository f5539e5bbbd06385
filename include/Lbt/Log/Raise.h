#pragma once

#include "Lbt/Util/Exception.h"

namespace Lbt::Log {

/// The one way to fail: publishes a log record of level 2000 and throws a
/// Util::Exception with the same text, place and method. "file" is a string
/// constant: the header of the class concerned, without extension; "line" is that
/// of the call.
[[noreturn]] void Raise(Util::Exception::ErrorType type, const char* description, const char* file,
                        unsigned long line = __builtin_LINE(), const char* method = "<unknown>");

}  // namespace Lbt::Log
