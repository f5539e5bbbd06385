// Changes a container in ways that keep most of it readable.

#include "ContainerMutator.h"

#include <algorithm>
#include <random>

#include "ContainerParts.h"

namespace tevfuzz {

namespace {

using tevtest::BlockSpec;
using Random = std::minstd_rand;

constexpr std::size_t kRoomToGrow = 256;

/// Runs the engine's mutator on a text with room to grow.
void MutateText(std::string& text, std::size_t room, ByteMutator mutateBytes) {
  const std::size_t size = text.size();
  text.resize(size + room);
  text.resize(mutateBytes(reinterpret_cast<std::uint8_t*>(text.data()), size, text.size()));
}

std::string& ContentsOf(BlockSpec& block) {
  return block.storedBytes ? *block.storedBytes : block.payload;
}

/// Sets one 32-bit word of a text to a value that readers trip over.
void SetWord(std::string& text, Random& random) {
  static constexpr std::uint32_t kValues[] = {0, 1, 2, 16, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  if (text.size() < sizeof(std::uint32_t)) {
    return;
  }
  const std::size_t offset = random() % (text.size() - sizeof(std::uint32_t) + 1);
  const std::uint32_t value = kValues[random() % std::size(kValues)];
  for (std::size_t i = 0; i < sizeof value; ++i) {
    text[offset + i] = static_cast<char>(value >> (8 * i));
  }
}

/// Makes one record refer to what another one refers to, as no sound model does.
void ShareAPosition(ContainerParts& parts, Random& random) {
  std::vector<PositionPlace> places = FindPositions(parts);
  const bool isOfLight = random() % 2 == 0;
  std::erase_if(places, [isOfLight](const auto& place) { return place.isOfLight != isOfLight; });
  if (places.empty()) {
    return;
  }
  const PositionPlace& from = places[random() % places.size()];
  const PositionPlace& to = places[random() % places.size()];
  const std::size_t width = std::min(from.width, to.width);
  const std::string position = parts.blocks[from.block].payload.substr(from.offset, width);
  parts.blocks[to.block].payload.replace(to.offset, width, position);
}

/// Changes which blocks there are and how they are stored.
void MutateStructure(ContainerParts& parts, Random& random) {
  auto& blocks = parts.blocks;
  const std::size_t at = random() % blocks.size();
  switch (random() % 6) {
    case 0:
      blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(at),
                    blocks[random() % blocks.size()]);
      break;
    case 1:
      blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(at));
      break;
    case 2:
      blocks[at].compressed = !blocks[at].compressed;
      break;
    case 3:
      blocks[at].recordedLength = static_cast<std::uint32_t>(random());
      break;
    case 4: {  // cut in two
      BlockSpec rest = blocks[at];
      const std::size_t cut = blocks[at].payload.empty() ? 0 : random() % blocks[at].payload.size();
      rest.payload = blocks[at].payload.substr(cut);
      blocks[at].payload.resize(cut);
      blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(at) + 1, rest);
      break;
    }
    default:
      std::swap(blocks[at], blocks[random() % blocks.size()]);
  }
}

std::string MutateParts(ContainerParts parts, Random& random, ByteMutator mutateBytes) {
  const auto choice = random() % 16;
  if (choice < 2) {
    MutateStructure(parts, random);
  } else if (choice == 2) {
    MutateText(parts.version, 0, mutateBytes);
  } else if (choice < 5) {
    ShareAPosition(parts, random);
  } else if (choice < 8) {
    SetWord(ContentsOf(parts.blocks[random() % parts.blocks.size()]), random);
  } else {
    MutateText(ContentsOf(parts.blocks[random() % parts.blocks.size()]), kRoomToGrow, mutateBytes);
  }
  return PutTogether(parts);
}

/// Any change after the signature.
std::string MutateRaw(std::span<const std::uint8_t> file, std::size_t maxSize,
                      ByteMutator mutateBytes) {
  std::string bytes(tevtest::kSignature);
  if (file.size() > bytes.size()) {
    bytes.append(reinterpret_cast<const char*>(file.data()) + bytes.size(),
                 file.size() - bytes.size());
  }
  std::string rest = bytes.substr(tevtest::kSignature.size());
  MutateText(rest, std::min(kRoomToGrow, maxSize - std::min(maxSize, bytes.size())), mutateBytes);
  return bytes.substr(0, tevtest::kSignature.size()) + rest;
}

}  // namespace

std::string Mutate(std::span<const std::uint8_t> file, std::size_t maxSize, unsigned int seed,
                   ByteMutator mutateBytes) {
  Random random(seed);
  const auto parts = TakeApart(file);
  const bool isRaw = !parts || parts->blocks.empty() || random() % 8 == 0;
  std::string mutated =
      isRaw ? MutateRaw(file, maxSize, mutateBytes) : MutateParts(*parts, random, mutateBytes);
  if (mutated.size() > maxSize) {
    mutated.resize(maxSize);
  }
  return mutated;
}

}  // namespace tevfuzz
