#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tevtest {

/// Appends values to a growing byte string: little-endian, unaligned, back to back.
///
/// Every appending call returns the writer, so that a record reads as one chain. Floating-point
/// values keep their bits, signalling NaN included.
class ByteWriter {
 public:
  ByteWriter& U8(std::uint8_t value);
  ByteWriter& U32(std::uint32_t value);
  ByteWriter& I32(std::int32_t value);
  ByteWriter& U64(std::uint64_t value);
  ByteWriter& F32(float value);
  ByteWriter& F64(double value);

  /// The bytes alone, without a length.
  ByteWriter& Raw(std::string_view bytes);

  /// A u32 length and the bytes.
  ByteWriter& Text(std::string_view text);

  /// A u32 element count and the elements.
  ByteWriter& U8s(std::span<const std::uint8_t> values);
  ByteWriter& U32s(std::span<const std::uint32_t> values);
  ByteWriter& F32s(std::span<const float> values);
  ByteWriter& F64s(std::span<const double> values);
  ByteWriter& Texts(std::span<const std::string> values);

  /// Overwrites the four bytes at "offset". Throws std::out_of_range past the end.
  ByteWriter& PatchU32(std::size_t offset, std::uint32_t value);

  [[nodiscard]] std::size_t Size() const { return bytes_.size(); }
  [[nodiscard]] const std::string& Bytes() const { return bytes_; }

 private:
  ByteWriter& Count(std::size_t count);

  std::string bytes_;
};

/// Overwrites the four bytes at "offset" of "bytes" with a little-endian number.
/// Throws std::out_of_range past the end.
void PatchU32(std::string& bytes, std::size_t offset, std::uint32_t value);

/// "value" as an unsigned 32-bit number; throws std::out_of_range when it does not fit.
[[nodiscard]] std::uint32_t Narrow(std::size_t value);

}  // namespace tevtest
