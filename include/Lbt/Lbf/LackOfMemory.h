#pragma once

#include <exception>

namespace LbtLbf {

/// zlib finds no memory to inflate a block with. Tells no more than what is thrown where zlib
/// refuses the data: reports show both alike.
class InflateMemoryError final : public std::exception {};

/// Whether an exception tells that memory has run out, and nothing of the file.
[[nodiscard]] bool IsLackOfMemory(const std::exception& exception);

}  // namespace LbtLbf
