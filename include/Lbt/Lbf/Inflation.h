#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <span>

#include "Lbt/Lbf/Block.h"

namespace LbtLbf {

// How a compressed block is stored: the length of its contents (32 bits, little-endian), then a
// zlib stream (RFC 1950).

/// Bytes of the length field.
inline constexpr std::uint32_t kLengthFieldSize = 4;

/// The length in a length field of so many bytes.
[[nodiscard]] std::uint32_t LengthFromField(const unsigned char* field);

/// Room in bytes that inflating "compressed" bytes of a recorded length takes: no more than
/// deflate can make of them, whatever is recorded, with some to spare, so that zlib finds room
/// left in whatever it refuses.
[[nodiscard]] std::uint64_t RoomToInflate(std::uint32_t recorded, std::uint64_t compressed);

/// A compressed block, taken apart.
struct CompressedBlock {
  std::uint32_t recordedLength = 0;
  std::span<const unsigned char> stream;

  /// The room that inflating it takes.
  [[nodiscard]] std::uint64_t Room() const { return RoomToInflate(recordedLength, stream.size()); }
};

/// Takes the stored bytes of a block apart, from the cursor on; they stay where they are. Throws
/// "Out of Bounds" for less than a whole length field.
[[nodiscard]] CompressedBlock TakeApart(Block& stored);

/// The code for contents that are longer than the room that they may take, and for input that ends
/// too early.
inline constexpr int kZlibBufferError = -5;

/// What comes out of a zlib stream.
struct Inflated {
  int code = 0;              ///< what `uncompress` returns for it: 0 is good
  std::uint64_t length = 0;  ///< bytes of contents, as far as they come out
  bool isCut = false;        ///< the input ends before the stream does
};

/// Hands out the next bytes of a zlib stream; none at its end.
using CompressedSource = std::function<std::span<const unsigned char>()>;

/// Inflates a zlib stream whose contents may have "room" bytes, through "window": where that is
/// smaller than the room, it is filled from its start again and again. Touches nothing else, so
/// several threads may inflate at a time.
[[nodiscard]] Inflated Inflate(const CompressedSource& next, std::uint64_t room,
                               std::span<unsigned char> window);

/// The check sum of a zlib stream's contents: that of "bytes", which follow those of "sum"; 1 is
/// that of nothing. Several times as fast as zlib's own.
[[nodiscard]] std::uint32_t Adler32(std::uint32_t sum, std::span<const unsigned char> bytes);

/// Inflates a zlib stream in a third less time than zlib takes, which sums it up more slowly. The
/// length of the contents; none for a stream that is damaged, cut, unusual, or too long for them,
/// and on a lack of memory: what is wrong is for Inflate to tell.
[[nodiscard]] std::optional<std::uint64_t> InflateSound(std::span<const unsigned char> compressed,
                                                        std::span<unsigned char> contents);

/// As from a source, with the whole stream and all contents in memory.
[[nodiscard]] Inflated Inflate(std::span<const unsigned char> compressed,
                               std::span<unsigned char> contents);

/// zlib finds no memory to inflate a block with. Tells no more than what is thrown where zlib
/// refuses the data: reports show both alike.
class InflateMemoryError final : public std::exception {};

/// Whether an exception tells that memory has run out, and nothing of the file.
[[nodiscard]] bool IsLackOfMemory(const std::exception& exception);

/// Whether an exception is what RaiseRefusal throws.
[[nodiscard]] bool IsRefusal(const std::exception& exception);

/// Rewrites a block in place.
class BlockTransformation {
 public:
  BlockTransformation() = default;
  virtual ~BlockTransformation() = default;
  BlockTransformation(const BlockTransformation&) = delete;
  BlockTransformation& operator=(const BlockTransformation&) = delete;

  virtual void operator()(Block& block) = 0;
};

/// Replaces a compressed block by its contents and returns zlib's code. Where that is not 0, the
/// block is empty and nothing has been told to anybody. Throws as the transformation does else.
[[nodiscard]] int ReplaceByContents(Block& block);

/// Whether a refused block is told on standard error before it is thrown. The line names neither
/// the file nor the block; who tells of these leaves it out.
enum class RefusalLine : std::uint8_t { Written, LeftOut };

/// Throws what stands for zlib's code, after the line on standard error.
[[noreturn]] void RaiseRefusal(int code, RefusalLine line = RefusalLine::Written);

/// Replaces a compressed block by its contents.
///
/// Leaves the cursor at the end of the contents; a recorded length above what comes
/// out is no error. Throws "Out of Bounds" for a block without a whole length field,
/// "Memory Allocation Error", and, where zlib refuses the data, a plain
/// std::exception after a line on standard error, or, where zlib finds no memory, an
/// InflateMemoryError after the same. The block is empty after a failure.
class BlockZlibUnCompressor final : public BlockTransformation {
 public:
  void operator()(Block& block) override;
};

}  // namespace LbtLbf
