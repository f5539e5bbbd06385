// Replaces a compressed block by its contents, and tells where zlib refuses it.

#include "Lbt/Lbf/BlockZlibUnCompressor.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iostream>
#include <utility>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Lbf/LackOfMemory.h"

namespace LbtLbf {

void RaiseRefusal(int code) {
  std::cerr << "Error " << code << " while uncompressing block " << std::endl;
  if (code == Z_MEM_ERROR) {
    throw InflateMemoryError();
  }
  throw std::exception();
}

int ReplaceByContents(Block& block) {
  Block stored = std::move(block);
  stored.SetPosition(0);
  const std::uint32_t recorded = LengthFromField(stored.Get(kLengthFieldSize).data());
  const std::span<const unsigned char> source = stored.Get(stored.GetRemaining());
  const std::uint64_t room = RoomToInflate(recorded, source.size());

  Block::RefreshDefaultSize();
  Block contents;
  unsigned int start = 0;
  contents.CheckFreeSpaceAndAllocateMemory(start, static_cast<unsigned int>(room));
  const Inflated inflated = Inflate(source, contents.Room().first(room));
  if (inflated.code == Z_OK) {
    contents.Append(static_cast<std::uint32_t>(inflated.length));
    contents.ShrinkTo(std::max<std::uint64_t>(inflated.length, Block::GetDefaultSize()));
    block = std::move(contents);
  }
  return inflated.code;
}

void BlockZlibUnCompressor::operator()(Block& block) {
  if (const int code = ReplaceByContents(block); code != Z_OK) {
    RaiseRefusal(code);
  }
}

}  // namespace LbtLbf
