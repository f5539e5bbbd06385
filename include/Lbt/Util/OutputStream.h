#pragma once

#include <memory>
#include <ostream>
#include <streambuf>

namespace Lbt::Util {

/// Buffers text for a file descriptor and writes it in large pieces. Waits where the descriptor
/// would block. Remembers a failed write: nothing is written after it.
class DescriptorBuffer : public std::streambuf {
 public:
  /// Does not own "descriptor".
  explicit DescriptorBuffer(int descriptor);

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* text, std::streamsize count) override;
  int sync() override;

 private:
  [[nodiscard]] bool WriteOut(const char* text, std::size_t count);
  [[nodiscard]] bool Empty();

  std::unique_ptr<char[]> room_;  // made at the first character
  int descriptor_;
  bool failed_ = false;
};

/// An output stream on a file descriptor.
class DescriptorStream : public std::ostream {
 public:
  /// Whether the stream closes its descriptor.
  enum class Ownership { Borrowed, Owned };

  DescriptorStream(int descriptor, Ownership ownership);
  ~DescriptorStream() override;
  DescriptorStream(const DescriptorStream&) = delete;
  DescriptorStream& operator=(const DescriptorStream&) = delete;

  /// Writes what is buffered, closes an owned descriptor, and tells whether all
  /// that the stream was given has been written.
  [[nodiscard]] bool Finish();

 private:
  DescriptorBuffer buffer_;
  int descriptor_;
  Ownership ownership_;
};

}  // namespace Lbt::Util
