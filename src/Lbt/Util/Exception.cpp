// Formats the text of a failure, once and in place.

#include "Lbt/Util/Exception.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace Lbt::Util {

Exception::Exception(ErrorType type, const char* description, const char* file, unsigned long line,
                     const char* method) noexcept
    : type_(type), file_(file), line_(line), method_(method), time_(std::time(nullptr)) {
  std::strncpy(description_, description, kMessageSize);
  description_[kMessageSize] = '\0';

  // ctime's text ends in its own line feed, hence the blank line end of what().
  // A time that has no calendar form (year beyond four digits) has no text.
  std::array<char, 64> timeText{};
  if (ctime_r(&time_, timeText.data()) == nullptr) {
    timeText[0] = '\0';
  }
  // A text that does not fit is cut, by design.
  static_cast<void>(
      std::snprintf(message_, kFormattedSize,
                    "Exception \"%s\" raised. \n%11s : %s \n%11s : %s \n%11s : %lu \n%11s : %s \n"
                    "%11s : %s \n",
                    GetDescription(type), "Description", description_, "File", file_, "Line", line_,
                    "Method", method_, "Time", timeText.data()));
}

const char* Exception::GetDescription(ErrorType type) noexcept {
  static constexpr std::array<const char*, 22> description{"Memory Allocation Error",
                                                           "Out of Bounds",
                                                           "Unknown Version",
                                                           "Not Initialized",
                                                           "Element Exists",
                                                           "Element Not Found",
                                                           "Invalid Method",
                                                           "Invalid Enumeration",
                                                           "Invalid Object",
                                                           "Read Error",
                                                           "Write Error",
                                                           "Format Not Supported",
                                                           "Bad Casting",
                                                           "Not Implemented",
                                                           "Mis-match Error",
                                                           "System Error",
                                                           "Miscelleneous Error",
                                                           "Zero Length",
                                                           "Model Error",
                                                           "State Error",
                                                           "",
                                                           "Invalid Exception"};
  const auto index = static_cast<std::size_t>(type);
  return index < description.size() ? description[index] : "";
}

}  // namespace Lbt::Util
