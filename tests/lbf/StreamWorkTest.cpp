// How much work hostile indexes and seeks can cause: counts of loads, of jumps in the file and of
// bytes that are read from it.

#include <gtest/gtest.h>
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
#include "support/ContainerWriter.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::SizeVariables;

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

std::string Entry(std::string_view name, std::uint32_t size, bool isCompressed) {
  return ByteWriter().U8(0).Text(name).U32(size).U8(isCompressed ? 1 : 0).U8(0).Bytes();
}

std::string Repeated(const std::string& piece, std::size_t count) {
  std::string all;
  all.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    all += piece;
  return all;
}

/// An index block of so many entries of one kind.
std::string IndexOf(const std::string& entry, std::size_t count) {
  return ByteWriter().U32(tevtest::Narrow(count)).Bytes() + Repeated(entry, count);
}

/// An index that was read from the start of a stream, with its blocks behind it. Blocks take no
/// more memory than they need.
class CountedIndex {
 public:
  CountedIndex(const std::string& index, const std::string& blocks)
      : stream_(index + blocks), indexSize_(index.size()) {
    SizeVariables::Set(SizeVariables::kDefaultSize, "0");
    index_.ReadIndexBufferFromFileStream(stream_.Get(), index.size());
  }

  void Seek(unsigned long offset) { index_.SetBlockPosition("A", offset, stream_.Get()); }

  std::string Read(std::size_t length) {
    std::string bytes(length, '?');
    index_.Get("A", bytes.data(), length, stream_.Get());
    return bytes;
  }

  [[nodiscard]] std::size_t Entries() const { return index_.GetItems().size(); }
  [[nodiscard]] std::uint64_t Loads() const { return index_.GetCache().LoadCount(); }
  [[nodiscard]] std::uint64_t Jumps() const { return stream_.Jumps(); }
  /// The bytes that were read behind the index.
  [[nodiscard]] std::uint64_t BlockBytes() const { return stream_.BytesRead() - indexSize_; }

 private:
  const SizeVariables variables_;
  CountedStream stream_;
  std::size_t indexSize_;
  Index index_;
};

constexpr std::size_t kMillion = 1000000;
constexpr std::size_t kMany = 100000;
constexpr std::size_t kSeeks = 1000;
constexpr std::size_t kLengthField = 4;

TEST(StreamWork, AMillionEmptyBlocksOfOneName_AreNeverLoaded) {
  CountedIndex file(IndexOf(Entry("A", 0, false), kMillion), "");
  ASSERT_EQ(file.Entries(), kMillion);
  for (std::size_t i = 0; i < kSeeks; ++i)
    file.Seek(0);
  EXPECT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::InvalidPosition());
  for (std::size_t i = 0; i < kSeeks; ++i)
    EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(1)); }), tevtest::NotEnoughBytes());
  // The last block alone is a target, empty as it is.
  EXPECT_LE(file.Loads(), 2 * kSeeks + 2);
  EXPECT_EQ(file.BlockBytes(), 0U);
}

TEST(StreamWork, ManyEmptyCompressedBlocks_AreEachLoadedOnce) {
  const std::string block = tevtest::Compressed("");
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), kMany), Repeated(block, kMany));
  for (std::size_t i = 0; i < kSeeks; ++i) {
    file.Seek(0);
    EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(1)); }), tevtest::NotEnoughBytes());
  }
  EXPECT_LE(file.Loads(), kMany + 2 * kSeeks);
  EXPECT_LE(file.Jumps(), kMany + file.Loads());
  EXPECT_LE(file.BlockBytes(), kMany * kLengthField + file.Loads() * size);
}

TEST(StreamWork, OneByteBlocksSoughtBackwards_AreEachLoadedOnce) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t offset = kMany; offset-- > 0;) {
    file.Seek(offset);
    ASSERT_EQ(file.Read(1), "x");
  }
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), file.Loads());
  EXPECT_LE(file.BlockBytes(), file.Loads());
}

TEST(StreamWork, CompressedOneByteBlocksSoughtBackwards_HaveTheirLengthReadOnce) {
  const std::string block = tevtest::Compressed("x");
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), kMany), Repeated(block, kMany));
  for (std::size_t offset = kMany; offset-- > 0;) {
    file.Seek(offset);
    ASSERT_EQ(file.Read(1), "x");
  }
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), kMany + file.Loads());
  EXPECT_LE(file.BlockBytes(), kMany * kLengthField + file.Loads() * size);
}

TEST(StreamWork, SeeksToAndFro_LoadAtMostABlockEach) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t i = 0; i < kMany; ++i)
    file.Seek(i % 2 == 0 ? 0 : kMany - 1);
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), file.Loads());
  EXPECT_LE(file.BlockBytes(), file.Loads());
}

TEST(StreamWork, SeeksPastTheEnd_LoadTheLastBlockOnly) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t i = 0; i < kSeeks; ++i)
    EXPECT_EQ(FailureOf([&] { file.Seek(kMany + 1); }), tevtest::InvalidPosition());
  EXPECT_LE(file.Loads(), kSeeks);
  EXPECT_LE(file.Jumps(), kSeeks);
  EXPECT_LE(file.BlockBytes(), kSeeks);
}

TEST(StreamWork, ContinuationOfAMillionEntries_IsReadAtOnce) {
  const std::string second = IndexOf(Entry("A", 0, false), kMillion);
  const auto size = tevtest::Narrow(second.size());
  CountedIndex file(IndexOf(Entry("\vIndex Block 1", size, false), 1), second);
  EXPECT_EQ(file.Entries(), kMillion + 1);
  file.Seek(0);
  EXPECT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::InvalidPosition());
  EXPECT_EQ(file.BlockBytes(), second.size());
  EXPECT_LE(file.Loads(), 2U);
}

TEST(StreamWork, CompressedContinuationOfAMillionEntries_IsReadAtOnce) {
  const std::string second = tevtest::Compressed(IndexOf(Entry("A", 0, false), kMillion));
  const auto size = tevtest::Narrow(second.size());
  CountedIndex file(IndexOf(Entry("\vIndex Block 1", size, true), 1), second);
  EXPECT_EQ(file.Entries(), kMillion + 1);
  EXPECT_EQ(file.BlockBytes(), second.size());
}

// A stream of three blocks that claim 4 GiB less a byte each, and of one with two bytes.
class LengthsNear4GiB : public ::testing::Test {
 protected:
  static constexpr std::uint64_t kMost = 0xFFFFFFFF;

  static std::string IndexBytes() {
    return ByteWriter().U32(4).Bytes() + Repeated(Entry("A", 4, true), 3) + Entry("A", 2, false);
  }

  CountedIndex file{IndexBytes(), Repeated(ByteWriter().U32(0xFFFFFFFF).Bytes(), 3) + "ij"};
};

TEST_F(LengthsNear4GiB, AreAddedUpWithoutWrapping) {
  file.Seek(3 * kMost);
  EXPECT_EQ(file.Read(2), "ij");
  file.Seek(3 * kMost + 1);
  EXPECT_EQ(file.Read(1), "j");
  EXPECT_EQ(FailureOf([&] { file.Seek(3 * kMost + 3); }), tevtest::InvalidPosition());
  EXPECT_EQ(FailureOf([&] { file.Seek(~0UL); }), tevtest::InvalidPosition());
}

// The length field alone is no zlib stream.
TEST_F(LengthsNear4GiB, SoughtInto_AreInflatedAndRefused) {
  constexpr std::uint64_t kPage = 4096;
  for (const std::uint64_t offset : {kMost - kPage, kMost - 1, kMost, kMost + 1, 2 * kMost - 1}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(FailureOf([&] { file.Seek(offset); }), tevtest::kPlainException) << offset;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error -3 while uncompressing block \n");
  }
}

TEST(StreamWork, StoredSizesNear4GiB_MoveTheBlocksBehindThemOutOfTheFile) {
  CountedIndex file(ByteWriter().U32(3).Bytes() + Repeated(Entry("B", 0xFFFFFFFF, false), 2) +
                        Entry("A", 2, false),
                    "xxij");
  // 2 * (2^32 - 1) + 2 is 2^33: cut to 32 bits, the block would lie at the start.
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(2)); }), tevtest::UnableToRead());
}

TEST(StreamWork, StoredSizesNear4GiB_AddUpAsTheLengthOfTheirStream) {
  CountedIndex file(ByteWriter().U32(3).Bytes() + Repeated(Entry("A", 0xFFFFFFFF, false), 2) +
                        Entry("A", 2, false),
                    "xxij");
  EXPECT_EQ(FailureOf([&] { file.Seek(0x1FFFFFFFEUL); }), tevtest::UnableToRead());
  EXPECT_EQ(file.Loads(), 1U);  // the target; what was passed is not there either
}

}  // namespace
}  // namespace LbtLbf
