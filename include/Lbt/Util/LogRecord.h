#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>

#include "Lbt/Util/Exception.h"

namespace Lbt::Util {

/// One entry of the trace log: a plain value of fixed size, filled without
/// touching the heap.
struct LogRecord {
  /// Level of progress records.
  static constexpr std::uint16_t kProgress = 1000;
  /// Level of error records, each followed by an exception of the same text.
  static constexpr std::uint16_t kError = 2000;

  /// An empty record of a level, made at a place, with the current time.
  /// The names are kept, not copied: pass string constants.
  LogRecord(std::uint16_t recordLevel, const char* sourceFile, unsigned long sourceLine,
            const char* methodName = "<unknown>") noexcept
      : level(recordLevel),
        file(sourceFile),
        line(sourceLine),
        method(methodName),
        time(std::time(nullptr)) {}

  /// Appends "text", as `strncat` does with the room left in kMessageSize.
  void AppendToMessage(const char* text) noexcept {
    const std::size_t used = std::strlen(message);
    const std::size_t added = strnlen(text, kMessageSize - used);
    std::memcpy(message + used, text, added);
    message[used + added] = '\0';
  }

  /// The message so far.
  [[nodiscard]] std::string_view Message() const noexcept { return message; }

  std::uint16_t level;
  char message[kMessageSize + 1] = {};
  const char* file;
  unsigned long line;
  const char* method;
  std::time_t time;
};

}  // namespace Lbt::Util
