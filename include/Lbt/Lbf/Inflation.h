#pragma once

#include <cstdint>
#include <functional>
#include <span>

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

/// The same with the whole stream and all contents in memory.
[[nodiscard]] Inflated Inflate(std::span<const unsigned char> compressed,
                               std::span<unsigned char> contents);

}  // namespace LbtLbf
