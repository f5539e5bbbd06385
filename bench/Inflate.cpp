// Inflates all compressed blocks of a file but those of the heavy data with zlib alone, each into
// memory of its own, and prints "SECONDS BYTES BLOCKS". The stored bytes are read before the clock
// starts: no program that needs the blocks can be faster.

#include <zlib.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Lbf/LbFile.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::unique_ptr<unsigned char[]>;

struct StoredBlock {
  std::vector<unsigned char> stream;
  std::uint32_t inflatedSize;
};

std::vector<StoredBlock> ReadBlocks(const char* path) {
  constexpr std::size_t kLengthField = 4;
  LbtLbf::LbFile file;
  file.OpenFile(path, "rb");
  std::vector<StoredBlock> blocks;
  static_cast<void>(LbtLbf::ListContainer(file, [&](const LbtLbf::BlockFacts& facts) {
    if (!facts.isCompressed || facts.stream == "Heavy Data") {
      return;
    }
    StoredBlock block{std::vector<unsigned char>(facts.storedSize - kLengthField),
                      facts.inflatedSize.value()};
    if (file.ReadStored(facts.offset + kLengthField, block.stream) != block.stream.size()) {
      throw std::runtime_error("a block is not all there");
    }
    blocks.push_back(std::move(block));
  }));
  return blocks;
}

Bytes Inflate(const StoredBlock& block) {
  Bytes inflated(new unsigned char[block.inflatedSize]);
  uLongf size = block.inflatedSize;
  if (uncompress(inflated.get(), &size, block.stream.data(), block.stream.size()) != Z_OK ||
      size != block.inflatedSize) {
    throw std::runtime_error("a block does not inflate");
  }
  return inflated;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: bench_inflate FILE\n";
    return 1;
  }
  try {
    const std::vector<StoredBlock> blocks = ReadBlocks(argv[1]);
    std::vector<Bytes> kept;
    kept.reserve(blocks.size());
    const auto start = Clock::now();
    for (const StoredBlock& block : blocks) {
      kept.push_back(Inflate(block));
    }
    const std::chrono::duration<double> seconds = Clock::now() - start;
    std::uint64_t bytes = 0;
    for (const StoredBlock& block : blocks) {
      bytes += block.inflatedSize;
    }
    std::cout << seconds.count() << ' ' << bytes << ' ' << blocks.size() << '\n';
  } catch (const std::exception& exception) {
    std::cerr << "bench_inflate: " << exception.what() << '\n';
    return 1;
  }
}
