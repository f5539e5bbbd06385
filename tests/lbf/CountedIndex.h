#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "LbfSupport.h"
#include "Lbt/Lbf/Index.h"
#include "support/ByteWriter.h"
#include "support/Hex.h"

namespace tevtest {

/// Bytes as an unbuffered stream that counts how many are read and how often it jumps.
class CountedStream {
 public:
  explicit CountedStream(std::string bytes) : bytes_(std::move(bytes)) {
    const cookie_io_functions_t functions{Read, nullptr, Seek, nullptr};
    stream_.reset(::fopencookie(this, "rb", functions));
    std::setvbuf(stream_.get(), nullptr, _IONBF, 0);
  }
  CountedStream(const CountedStream&) = delete;
  CountedStream& operator=(const CountedStream&) = delete;

  [[nodiscard]] std::FILE* Get() const { return stream_.get(); }
  [[nodiscard]] std::uint64_t BytesRead() const { return bytesRead_; }
  [[nodiscard]] std::uint64_t Jumps() const { return jumps_; }

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  static ssize_t Read(void* cookie, char* destination, std::size_t wanted) {
    auto& self = *static_cast<CountedStream*>(cookie);
    const std::size_t start = std::min(self.offset_, self.bytes_.size());
    const std::size_t count = std::min(wanted, self.bytes_.size() - start);
    std::memcpy(destination, self.bytes_.data() + start, count);
    self.offset_ = start + count;
    self.bytesRead_ += count;
    return static_cast<ssize_t>(count);
  }

  /// Only from the start, or to ask where it stands.
  static int Seek(void* cookie, off64_t* offset, int whence) {
    auto& self = *static_cast<CountedStream*>(cookie);
    if (whence == SEEK_CUR)
      *offset += static_cast<off64_t>(self.offset_);
    else if (whence == SEEK_SET)
      ++self.jumps_;
    else
      return -1;
    self.offset_ = static_cast<std::size_t>(*offset);
    return 0;
  }

  std::string bytes_;
  std::size_t offset_ = 0;
  std::uint64_t bytesRead_ = 0;
  std::uint64_t jumps_ = 0;
  std::unique_ptr<std::FILE, Close> stream_;
};

inline std::string Entry(std::string_view name, std::uint32_t size, bool isCompressed) {
  return ByteWriter().U8(0).Text(name).U32(size).U8(isCompressed ? 1 : 0).U8(0).Bytes();
}

inline std::string Repeated(const std::string& piece, std::size_t count) {
  std::string all;
  all.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    all += piece;
  return all;
}

/// An index block of so many entries of one kind.
inline std::string IndexOf(const std::string& entry, std::size_t count) {
  return ByteWriter().U32(Narrow(count)).Bytes() + Repeated(entry, count);
}

/// An index that was read from the start of a stream, with its blocks after it. Blocks take no
/// more memory than they need.
class CountedIndex {
 public:
  CountedIndex(const std::string& index, const std::string& blocks)
      : stream_(index + blocks), indexSize_(index.size()) {
    SizeVariables::Set(SizeVariables::kDefaultSize, "0");
    index_.ReadIndexBufferFromFileStream(stream_.Get(), index.size());
  }

  void KeepAll(std::uint64_t bytes) { index_.KeepAllContents(bytes); }
  void Seek(unsigned long offset) { index_.SetBlockPosition("A", offset, stream_.Get()); }

  std::string Read(std::size_t length) {
    std::string bytes(length, '?');
    index_.Get("A", bytes.data(), length, stream_.Get());
    return bytes;
  }

  [[nodiscard]] std::size_t Entries() const { return index_.GetItems().size(); }
  [[nodiscard]] std::uint64_t Loads() const { return index_.GetCache().LoadCount(); }
  [[nodiscard]] std::uint64_t Jumps() const { return stream_.Jumps(); }
  [[nodiscard]] const LbtLbf::StreamWork& Work() { return index_.FindStream("A")->Work(); }
  [[nodiscard]] std::uint64_t Position() { return index_.GetPosition(*index_.FindStream("A")); }
  /// The bytes that were read after the index.
  [[nodiscard]] std::uint64_t BlockBytes() const { return stream_.BytesRead() - indexSize_; }

 private:
  const SizeVariables variables_;
  CountedStream stream_;
  std::size_t indexSize_;
  LbtLbf::Index index_;
};

}  // namespace tevtest
