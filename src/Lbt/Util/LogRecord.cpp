#include "Lbt/Util/LogRecord.h"

#include <cstring>

namespace Lbt::Util {

void LogRecord::AppendToMessage(const char* text) noexcept {
  const std::size_t used = std::strlen(message);
  const std::size_t added = strnlen(text, kMessageSize - used);
  std::memcpy(message + used, text, added);
  message[used + added] = '\0';
}

}  // namespace Lbt::Util
