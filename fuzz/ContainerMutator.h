#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tevfuzz {

/// The engine's own way to change bytes in place; returns their new size.
using ByteMutator = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Changes a container file so that what a random change hits first stays whole: mostly
/// the contents of one block change and the file is built anew around them, with its
/// signature, fitting index sizes and valid compression; sometimes records come to refer to
/// the same data; sometimes blocks come, go or change their compression; sometimes any byte after
/// the signature changes. The result
/// has at most "maxSize" bytes.
[[nodiscard]] std::string Mutate(std::span<const std::uint8_t> file, std::size_t maxSize,
                                 unsigned int seed, ByteMutator mutateBytes);

}  // namespace tevfuzz
