#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "support/ContainerWriter.h"

namespace tevfuzz {

/// A container file taken apart: its version and its blocks, inflated where that works.
struct ContainerParts {
  std::string version;
  std::vector<tevtest::BlockSpec> blocks;
  /// How many blocks the first index lists; all, or those before a second index.
  std::optional<std::size_t> continuedAfter;
  bool isContinuationCompressed = false;
};

/// Takes a file apart; none where its index cannot be read or its blocks are missing.
[[nodiscard]] std::optional<ContainerParts> TakeApart(std::span<const std::uint8_t> file);

/// Builds a file of parts.
[[nodiscard]] std::string PutTogether(const ContainerParts& parts);

/// Where the contents of a block hold the position of something in another stream.
struct PositionPlace {
  std::size_t block = 0;
  std::size_t offset = 0;
  std::size_t width = 0;   ///< 4 or 8 bytes
  bool isOfLight = false;  ///< a tree record's into the light data; else into the heavy data
};

/// Finds the positions that tree records, geometries and node sets hold, as far as these can be
/// read in the first block of the tree and of the light data.
[[nodiscard]] std::vector<PositionPlace> FindPositions(const ContainerParts& parts);

}  // namespace tevfuzz
