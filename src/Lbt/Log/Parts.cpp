// Formats log records and publishes their text.

#include "Lbt/Log/Parts.h"

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

StreamPublisher& StreamPublisher::operator<<(const char* text) {
  *stream_ << text;
  return *this;
}

void StreamPublisher::flush() { stream_->flush(); }

namespace Detail {

LogFile::LogFile(int descriptor)
    : identity(Util::IdentityOf(descriptor)),
      file(descriptor, Util::DescriptorStream::Ownership::Owned) {}

}  // namespace Detail

}  // namespace Lbt::Log
