#include "Lbt/Lbf/BlockZlibUnCompressor.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iostream>
#include <utility>

#include "Lbt/Lbf/LackOfMemory.h"
#include "Lbt/Util/LittleEndian.h"

namespace LbtLbf {

namespace {

/// The most that `deflate` can have made "compressed" bytes from, with some to
/// spare, so that zlib finds room left in whatever it refuses.
std::uint64_t MostUncompressed(std::uint64_t compressed) {
  constexpr std::uint64_t kMostExpansion = 1032;
  constexpr std::uint64_t kSpare = 64;
  return compressed * kMostExpansion + kSpare;
}

[[noreturn]] void Refuse(int code) {
  std::cerr << "Error " << code << " while uncompressing block " << std::endl;
  if (code == Z_MEM_ERROR) {
    throw InflateMemoryError();
  }
  throw std::exception();
}

}  // namespace

void BlockZlibUnCompressor::operator()(Block& block) {
  Block stored = std::move(block);
  stored.SetPosition(0);
  const auto recorded = Lbt::Util::FromLittleEndian<std::uint32_t>(stored.Get(4).data());
  const std::span<const unsigned char> source = stored.Get(stored.GetRemaining());

  Block::RefreshDefaultSize();
  Block contents;
  unsigned int start = 0;
  const auto room =
      static_cast<unsigned int>(std::min<std::uint64_t>(recorded, MostUncompressed(source.size())));
  contents.CheckFreeSpaceAndAllocateMemory(start, room);

  uLongf length = room;
  const int code =
      uncompress(contents.Room().data(), &length, source.data(), static_cast<uLong>(source.size()));
  if (code != Z_OK) {
    Refuse(code);
  }
  contents.Append(static_cast<std::uint32_t>(length));
  contents.ShrinkTo(std::max<std::uint64_t>(length, Block::GetDefaultSize()));
  block = std::move(contents);
}

}  // namespace LbtLbf
