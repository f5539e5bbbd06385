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

/// Takes a file apart; none where its index cannot be read or its blocks are not there.
[[nodiscard]] std::optional<ContainerParts> TakeApart(std::span<const std::uint8_t> file);

/// Builds a file of parts.
[[nodiscard]] std::string PutTogether(const ContainerParts& parts);

}  // namespace tevfuzz
