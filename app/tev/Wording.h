#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// "1 node", "2 nodes".
[[nodiscard]] std::string Counted(std::uint64_t count, const std::string& what);

/// A number with as few digits as it can be read back from.
[[nodiscard]] std::string NumberText(double number);

/// A number, or "-" where there is none.
[[nodiscard]] std::string NumberOrDash(const std::optional<double>& number);

/// How many nodes an element has, on average: "4", "4.25".
[[nodiscard]] std::string MeanText(double mean);
