#include "Lbt/Log/Publisher.h"

#include "Lbt/Util/FileAccess.h"

namespace Lbt::Log {

StreamPublisher& StreamPublisher::operator<<(const char* text) {
  *stream_ << text;
  return *this;
}

void StreamPublisher::flush() { stream_->flush(); }

namespace Detail {

LogFile::LogFile(const std::string& path)
    : file(Util::OpenLog(path).value_or(-1), Util::DescriptorStream::Ownership::Owned) {}

}  // namespace Detail

}  // namespace Lbt::Log
