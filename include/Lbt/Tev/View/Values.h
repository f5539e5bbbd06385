#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::View {

/// Which number of a result is shown: one of its components, from 0, or, with none, the magnitude
/// of vectors.
using Component = std::optional<std::size_t>;

/// What is shown where nobody asks for something else: the magnitude of what has one, else the
/// first component.
[[nodiscard]] Component UsualComponent(std::size_t width);

/// Whether tuples of a width have it.
[[nodiscard]] bool HasComponent(std::size_t width, Component component);

/// "magnitude", or the number of the component from 1 on, as in tables.
[[nodiscard]] std::string NameOf(Component component);

/// One number of each tuple, which must have it. A magnitude is NaN where one of its numbers is not
/// finite.
[[nodiscard]] std::vector<float> ValuesOf(const Analysis::FloatTuples& tuples, Component component);

/// The figures of one component; null where there are none.
[[nodiscard]] const Analysis::Figures* FiguresOf(const Analysis::Statistics& statistics,
                                                 Component component);

/// A field with its statistics; none where it cannot be read.
struct FieldWithStatistics {
  Analysis::FieldOfPart field{};
  std::optional<Analysis::Statistics> statistics{};
};

/// The least and the greatest number of a result, in all parts.
struct Range {
  struct End {
    Analysis::Figures::Extreme extreme{};
    Analysis::FieldOfPart field{};  ///< whose number it is
  };
  End min{};
  End max{};
};

/// Makes the range of a component from the statistics of fields. Of equal numbers the first that
/// was added stays.
class RangeOfFields {
 public:
  explicit RangeOfFields(Component component) : component_(component) {}

  void Add(const Analysis::FieldOfPart& field, const Analysis::Statistics& statistics);

  /// None where no number is finite.
  [[nodiscard]] const std::optional<Range>& Get() const { return range_; }

 private:
  Component component_;
  std::optional<Range> range_;
};

}  // namespace LbtTev::View
