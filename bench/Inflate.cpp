// Inflates compressed blocks of files with zlib alone, each into memory of its own, and prints
// "SECONDS BYTES BLOCKS". The stored bytes are read before the clock starts: no program that needs
// the blocks can be faster in one thread.
//
//   bench_inflate FILE...                  all blocks but those of the heavy data
//   bench_inflate --heavy PLACES FILE...   those of the heavy data at these places in their stream,
//                                          as in 0,2,3, whose shuffled numbers are put in order,
//                                          too

#include <zlib.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/StoredNumbers.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::unique_ptr<unsigned char[]>;

struct StoredBlock {
  std::vector<unsigned char> stream;
  std::uint32_t inflatedSize;
};

/// Places of heavy blocks; none: all others.
using Places = std::optional<std::set<std::size_t>>;

Places PlacesIn(const std::string& text) {
  std::istringstream list(text);
  std::set<std::size_t> places;
  for (std::string place; std::getline(list, place, ',');) {
    places.insert(std::stoul(place));
  }
  return places;
}

void ReadBlocks(const char* path, const Places& places, std::vector<StoredBlock>& blocks) {
  constexpr std::size_t kLengthField = 4;
  LbtLbf::LbFile file;
  file.OpenFile(path, "rb");
  std::size_t heavy = 0;
  static_cast<void>(LbtLbf::ListContainer(file, [&](const LbtLbf::BlockFacts& facts) {
    const bool isHeavy = facts.stream == "Heavy Data";
    const bool isWanted = isHeavy ? places && places->contains(heavy++) : !places;
    if (!facts.isCompressed || !isWanted) {
      return;
    }
    StoredBlock block{std::vector<unsigned char>(facts.storedSize - kLengthField),
                      facts.inflatedSize.value()};
    if (file.ReadStored(facts.offset + kLengthField, block.stream) != block.stream.size()) {
      throw std::runtime_error("a block is not all there");
    }
    blocks.push_back(std::move(block));
  }));
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
  const bool isHeavy = argc > 3 && std::string(argv[1]) == "--heavy";
  if (argc < 2) {
    std::cerr << "usage: bench_inflate [--heavy PLACES] FILE...\n";
    return 1;
  }
  try {
    const Places places = isHeavy ? PlacesIn(argv[2]) : std::nullopt;
    std::vector<StoredBlock> blocks;
    for (int file = isHeavy ? 3 : 1; file < argc; ++file) {
      ReadBlocks(argv[file], places, blocks);
    }
    std::vector<Bytes> kept;
    std::vector<std::vector<float>> numbers;
    const auto start = Clock::now();
    for (const StoredBlock& block : blocks) {
      kept.push_back(Inflate(block));
      if (isHeavy) {
        std::vector<float>& ordered = numbers.emplace_back(block.inflatedSize / sizeof(float));
        LbtUtil::UnShufflePlane(std::span(kept.back().get(), block.inflatedSize),
                                std::as_writable_bytes(std::span(ordered)).data(), 1);
      }
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
