#pragma once

#include "Lbt/Util/Exception.h"
#include "Lbt/Util/FileAccess.h"

namespace Lbt::Log {

/// The one way to fail: publishes a log record of level 2000 and throws a
/// Util::Exception with the same text, place and method. "file" is a string
/// constant: the header of the class concerned, without extension; "line" is that
/// of the call.
[[noreturn]] void Raise(Util::Exception::ErrorType type, const char* description, const char* file,
                        unsigned long line = __builtin_LINE(), const char* method = "<unknown>");

/// Publishes the record of a failure that does not count as one; otherwise as above.
void LogFailure(const char* description, const char* file, unsigned long line = __builtin_LINE(),
                const char* method = "<unknown>");

/// Publishes a progress record (level 1000). "file" is a string constant: the
/// header of the class concerned, without extension. Without the memory for its text
/// the record is lost.
void Trace(const char* message, const char* file, unsigned long line = __builtin_LINE());

/// Add a logger that passes records of level 1000 and above to a file (emptied
/// first), to nowhere, or to standard error. Its parts are made at the first call
/// and used again by later ones: a second LogTraceToFile with another path goes on
/// writing to the first file.
void LogTraceToFile(const char* path);
void LogTraceToNull();
void LogTraceToConsole();

/// Whether a logger passes the trace to a file.
[[nodiscard]] bool IsTracedToFile();

/// Whether the trace goes to this file.
[[nodiscard]] bool IsLogFile(const Util::FileIdentity& file);

}  // namespace Lbt::Log

/// Sends the trace log to "TevInfo_trace.log" in the directory that the
/// environment variable QUARLO_TEMP_PATH names ("/tmp" where it is unset or
/// empty), or to nowhere where that directory cannot be written to, and says so on
/// standard error. Where the process already traces to a file, that goes on, each record once.
void SetLogFile();
