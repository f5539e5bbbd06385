// Writes values as they are stored.

#include "ByteWriter.h"

#include <bit>
#include <limits>
#include <stdexcept>

namespace tevtest {
namespace {

template <typename Unsigned>
std::string LittleEndian(Unsigned value) {
  std::string bytes;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
    bytes.push_back(static_cast<char>(static_cast<unsigned char>((value >> (8 * i)) & 0xFFU)));
  }
  return bytes;
}

}  // namespace

ByteWriter& ByteWriter::U8(std::uint8_t value) {
  bytes_.push_back(static_cast<char>(value));
  return *this;
}

ByteWriter& ByteWriter::U32(std::uint32_t value) { return Raw(LittleEndian(value)); }

ByteWriter& ByteWriter::I32(std::int32_t value) { return U32(static_cast<std::uint32_t>(value)); }

ByteWriter& ByteWriter::U64(std::uint64_t value) { return Raw(LittleEndian(value)); }

ByteWriter& ByteWriter::F32(float value) { return U32(std::bit_cast<std::uint32_t>(value)); }

ByteWriter& ByteWriter::F64(double value) { return U64(std::bit_cast<std::uint64_t>(value)); }

ByteWriter& ByteWriter::Raw(std::string_view bytes) {
  bytes_.append(bytes);
  return *this;
}

ByteWriter& ByteWriter::Count(std::size_t count) { return U32(Narrow(count)); }

ByteWriter& ByteWriter::Text(std::string_view text) { return Count(text.size()).Raw(text); }

ByteWriter& ByteWriter::U8s(std::span<const std::uint8_t> values) {
  Count(values.size());
  for (const std::uint8_t value : values)
    U8(value);
  return *this;
}

ByteWriter& ByteWriter::U32s(std::span<const std::uint32_t> values) {
  Count(values.size());
  for (const std::uint32_t value : values)
    U32(value);
  return *this;
}

ByteWriter& ByteWriter::F32s(std::span<const float> values) {
  Count(values.size());
  for (const float value : values)
    F32(value);
  return *this;
}

ByteWriter& ByteWriter::F64s(std::span<const double> values) {
  Count(values.size());
  for (const double value : values)
    F64(value);
  return *this;
}

ByteWriter& ByteWriter::Texts(std::span<const std::string> values) {
  Count(values.size());
  for (const std::string& value : values)
    Text(value);
  return *this;
}

ByteWriter& ByteWriter::PatchU32(std::size_t offset, std::uint32_t value) {
  tevtest::PatchU32(bytes_, offset, value);
  return *this;
}

void PatchU32(std::string& bytes, std::size_t offset, std::uint32_t value) {
  if (offset > bytes.size() || bytes.size() - offset < sizeof value) {
    throw std::out_of_range("PatchU32 past the end");
  }
  bytes.replace(offset, sizeof value, LittleEndian(value));
}

std::uint32_t Narrow(std::size_t value) {
  if (value > std::numeric_limits<std::uint32_t>::max()) {
    throw std::out_of_range("more than 32 bits");
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace tevtest
