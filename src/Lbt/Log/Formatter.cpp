#include "Lbt/Log/Formatter.h"

#include <string_view>

namespace Lbt::Log {

std::string DefaultFormatter::operator()(const Util::LogRecord& record) {
  const std::string_view file = record.file;
  const std::string_view fromSeparator = file.substr(file.find_last_of("/\\"));
  std::string line(fromSeparator.substr(1));
  line += " : ";
  line += std::to_string(record.line);
  line += " @ ";
  line += record.Message();
  line += '\n';
  return line;
}

}  // namespace Lbt::Log
