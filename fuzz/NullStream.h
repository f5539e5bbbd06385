#pragma once

#include <ostream>
#include <streambuf>

namespace tevfuzz {

/// Takes any text and keeps none.
class NullStream : public std::ostream {
 public:
  NullStream() : std::ostream(&buffer_) {}

 private:
  class Buffer : public std::streambuf {
    int_type overflow(int_type character) override { return traits_type::not_eof(character); }
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }
  };

  Buffer buffer_;
};

}  // namespace tevfuzz
