#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

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

/// Works the statistics out in double precision. Of the tuples those in "used" take part; ranges
/// must lie within. "ids" are those of all tuples, as they are stored, and may be fewer.
[[nodiscard]] Statistics StatisticsOf(const FloatTuples& tuples, const UsedNodes& used,
                                      const FloatTuples& ids);

/// The id of a tuple: stored as a float, read as a whole number. NaN is 0, what 32 bits do not
/// hold is clamped.
[[nodiscard]] std::optional<std::int32_t> IdAt(std::span<const float> ids, std::size_t index);
[[nodiscard]] std::optional<std::int32_t> IdAt(const FloatTuples& ids, std::size_t index);

/// What came of one field.
struct FieldStatistics {
  std::optional<Statistics> statistics{};
  std::exception_ptr failure{};  ///< why they, or ids in them, are missing; else null
};

/// Works out the statistics of all "fields", in one pass through the file, and hands them out in
/// the order of the list. Of a field of nodes those take part that the part's own faces use, of
/// others all tuples. Blocks are inflated ahead on "threads" other threads.
///
/// Damage is told with each field that it is about; where it is in the ids alone, the statistics
/// lack them. Throws on a lack of memory, and what "take" throws.
void GatherStatistics(const Model& model, std::span<const FieldOfPart> fields,
                      const std::function<void(const FieldOfPart&, const FieldStatistics&)>& take,
                      std::size_t threads = 0);

/// How many elements of a part have how many nodes.
struct ElementCounts {
  std::map<unsigned int, std::size_t> byNodes{};
  std::size_t nodes = 0;  ///< of all elements, each as often as it is named
};

/// The counts of all parts, in their order, from the lengths of their elements, which are read in
/// one pass through the file. Parts that share lengths share the counts. Hands the counts out, or
/// else why there are none: lengths that cannot be read, or do not make up the list of nodes.
///
/// Throws on a lack of memory, and what "take" throws.
void CountElements(const Model& model,
                   const std::function<void(std::size_t part, std::shared_ptr<const ElementCounts>,
                                            std::exception_ptr failure)>& take);

}  // namespace LbtTev::Analysis
