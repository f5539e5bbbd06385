#pragma once

#include <cstddef>
#include <cstdint>

/// How many columns of a terminal a printable character takes: two for the wide ones of
/// East Asian scripts and pictographs, none for marks that stand on the character before
/// them and for invisible ones, one for every other.
[[nodiscard]] std::size_t ColumnsOf(std::uint32_t point);
