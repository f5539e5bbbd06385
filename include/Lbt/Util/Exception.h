#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <exception>

namespace Lbt::Util {

/// Bytes of text that a log record or an exception's description can hold. The
/// arrays have one byte more, so that a full text is terminated all the same.
inline constexpr std::size_t kMessageSize = 5120;

/// The one failure type of all layers.
///
/// An object of fixed size that takes nothing from the heap, so that it can be
/// made when memory is exhausted. Its text is formatted once, at construction.
/// Throw it through Lbt::Log::Raise, which writes the trace log as well.
class Exception : public std::exception {
 public:
  /// Failure categories. The values are fixed; 20 was never given out.
  enum class ErrorType : std::uint32_t {
    MemoryAllocationError = 0,
    OutOfBounds = 1,
    UnknownVersion = 2,
    NotInitialized = 3,
    ElementExists = 4,
    ElementNotFound = 5,
    InvalidMethod = 6,
    InvalidEnumeration = 7,
    InvalidObject = 8,
    ReadError = 9,
    WriteError = 10,
    FormatNotSupported = 11,
    BadCasting = 12,
    NotImplemented = 13,
    MismatchError = 14,
    SystemError = 15,
    MiscelleneousError = 16,
    ZeroLength = 17,
    ModelError = 18,
    StateError = 19,
    InvalidException = 21,
  };

  /// Copies at most kMessageSize bytes of "description" (as `strncpy` does);
  /// keeps the pointers "file" and "method", which must be string constants.
  /// Never throws.
  Exception(ErrorType type, const char* description, const char* file, unsigned long line,
            const char* method) noexcept;

  /// The six-line text: category, description, file, line, method and local time.
  [[nodiscard]] const char* what() const noexcept override { return message_; }

  /// The failure category.
  [[nodiscard]] virtual ErrorType GetType() const noexcept { return type_; }

  /// The bare description, without the frame of what().
  [[nodiscard]] virtual const char* GetLogMessage() const noexcept { return description_; }

  /// Where it was raised, as the constructor was told.
  [[nodiscard]] const char* GetFile() const noexcept { return file_; }
  [[nodiscard]] unsigned long GetLine() const noexcept { return line_; }
  [[nodiscard]] const char* GetMethod() const noexcept { return method_; }

  /// When it was made.
  [[nodiscard]] std::time_t GetTime() const noexcept { return time_; }

  /// The log level of every exception: 2000.
  [[nodiscard]] std::uint16_t GetLevel() const noexcept { return level_; }

  /// The display name of a category; empty for a value without one.
  [[nodiscard]] static const char* GetDescription(ErrorType type) noexcept;

 private:
  static constexpr std::size_t kFormattedSize = 5632;

  ErrorType type_;
  std::uint16_t level_ = 2000;
  char description_[kMessageSize + 1] = {};
  const char* file_;
  unsigned long line_;
  const char* method_;
  std::time_t time_;
  char message_[kFormattedSize] = {};
};

}  // namespace Lbt::Util
