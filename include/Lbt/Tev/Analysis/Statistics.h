#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"

namespace LbtTev::Analysis {

/// What the numbers of one component come to.
struct Figures {
  /// An extreme number. Of several equal ones it is the first.
  struct Extreme {
    double value = 0;
    std::size_t index = 0;             ///< of its tuple, from 0
    std::optional<std::int32_t> id{};  ///< of its node or element, where the part has ids
  };

  std::size_t finite = 0;  ///< numbers that are no NaN and not infinite; without any, all else is 0
  Extreme min;
  Extreme max;
  double mean = 0;
  double rms = 0;  ///< root mean square
};

/// Statistics of a field over the tuples that take part.
struct Statistics {
  std::size_t counted = 0;             ///< tuples that take part
  std::size_t notFinite = 0;           ///< numbers among them that are NaN or infinite
  std::optional<Figures> magnitude{};  ///< of tuples of three finite numbers; none but of width 3
  std::vector<Figures> components{};
};

/// Works the statistics out in double precision. "values" are tuples of "width" numbers, of which
/// those in "used" take part; ranges must lie within. "ids" are those of all tuples, as they are
/// stored, and may be fewer.
[[nodiscard]] Statistics StatisticsOf(std::span<const float> values, std::size_t width,
                                      const UsedNodes& used, std::span<const float> ids);

/// The id of a tuple: stored as a float, read as a whole number. NaN is 0, what 32 bits do not
/// hold is clamped.
[[nodiscard]] std::optional<std::int32_t> IdAt(std::span<const float> ids, std::size_t index);

}  // namespace LbtTev::Analysis
