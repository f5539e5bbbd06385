// Buffers text for a file descriptor and remembers a failed write.

#include "Lbt/Util/OutputStream.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Lbt::Util {

namespace {

constexpr std::size_t kRoom = std::size_t{64} * 1024;

/// Waits until a descriptor that would block takes more, or tells of its failure. Another program
/// may have set it so: standard output is shared with whoever gave it.
void WaitForRoom(int descriptor) {
  pollfd wanted{.fd = descriptor, .events = POLLOUT, .revents = 0};
  static_cast<void>(poll(&wanted, 1, -1));  // an interruption ends in another try to write
}

}  // namespace

DescriptorBuffer::DescriptorBuffer(int descriptor) : descriptor_(descriptor) {}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type character) {
  if (room_ == nullptr) {
    room_ = std::make_unique_for_overwrite<char[]>(kRoom);
    setp(room_.get(), room_.get() + kRoom);
  } else if (!Empty()) {
    return traits_type::eof();
  }
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(character);
    pbump(1);
  }
  return traits_type::not_eof(character);
}

std::streamsize DescriptorBuffer::xsputn(const char* text, std::streamsize count) {
  if (count < epptr() - pptr()) {
    std::memcpy(pptr(), text, static_cast<std::size_t>(count));
    pbump(static_cast<int>(count));
    return count;
  }
  if (static_cast<std::size_t>(count) < kRoom) {
    return std::streambuf::xsputn(text, count);
  }
  return Empty() && WriteOut(text, static_cast<std::size_t>(count)) ? count : 0;
}

int DescriptorBuffer::sync() { return Empty() ? 0 : -1; }

bool DescriptorBuffer::Empty() {
  const bool written = WriteOut(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  setp(pbase(), epptr());
  return written;
}

bool DescriptorBuffer::WriteOut(const char* text, std::size_t count) {
  while (count > 0 && !failed_) {
    const ssize_t written = write(descriptor_, text, count);
    if (written >= 0) {
      text += written;
      count -= static_cast<std::size_t>(written);
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      WaitForRoom(descriptor_);
    } else if (errno != EINTR) {
      failed_ = true;
    }
  }
  return !failed_;
}

DescriptorStream::DescriptorStream(int descriptor, Ownership ownership)
    : std::ostream(nullptr), buffer_(descriptor), descriptor_(descriptor), ownership_(ownership) {
  rdbuf(&buffer_);
}

DescriptorStream::~DescriptorStream() { static_cast<void>(Finish()); }

bool DescriptorStream::Finish() {
  flush();
  if (ownership_ == Ownership::Owned && descriptor_ >= 0) {
    if (close(descriptor_) != 0) {
      setstate(std::ios::failbit);
    }
    descriptor_ = -1;
  }
  return good();
}

}  // namespace Lbt::Util
