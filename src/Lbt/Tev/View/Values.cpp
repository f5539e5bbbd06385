// Which numbers of results are shown, and their ranges.

#include "Lbt/Tev/View/Values.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace LbtTev::View {

using Analysis::Figures;
using Analysis::FloatTuples;
using Analysis::Statistics;

namespace {

constexpr std::size_t kVectorWidth = 3;

float MagnitudeOf(std::span<const float> vector) {
  double sum = 0;
  for (const float number : vector) {
    sum += static_cast<double>(number) * static_cast<double>(number);
  }
  constexpr double kMost = std::numeric_limits<float>::max();
  return std::isfinite(sum) ? static_cast<float>(std::min(std::sqrt(sum), kMost))
                            : std::numeric_limits<float>::quiet_NaN();
}

void Widen(std::optional<Range>& range, const Figures& figures,
           const Analysis::FieldOfPart& field) {
  const bool isFirst = !range;
  range = range.value_or(Range());
  if (isFirst || figures.min.value < range->min.extreme.value) {
    range->min = {figures.min, field};
  }
  if (isFirst || figures.max.value > range->max.extreme.value) {
    range->max = {figures.max, field};
  }
}

}  // namespace

Component UsualComponent(std::size_t width) {
  return width == kVectorWidth ? Component() : Component(0);
}

bool HasComponent(std::size_t width, Component component) {
  return component ? *component < width : width == kVectorWidth;
}

std::string NameOf(Component component) {
  return component ? std::to_string(*component + 1) : "magnitude";
}

std::vector<float> ValuesOf(const FloatTuples& tuples, Component component) {
  std::vector<float> values(tuples.Count());
  if (component) {
    tuples.ReadComponent(*component, 0, values);
    return values;
  }
  constexpr std::size_t kPiece = 1024;
  std::vector<float> room;
  for (std::size_t first = 0; first < values.size(); first += kPiece) {
    const std::size_t count = std::min(kPiece, values.size() - first);
    const std::span<const float> numbers = tuples.Read(first, count, room);
    for (std::size_t i = 0; i < count; ++i) {
      values[first + i] = MagnitudeOf(numbers.subspan(i * kVectorWidth, kVectorWidth));
    }
  }
  return values;
}

const Figures* FiguresOf(const Statistics& statistics, Component component) {
  const Figures* figures = nullptr;
  if (!component) {
    figures = statistics.magnitude ? &*statistics.magnitude : nullptr;
  } else if (*component < statistics.components.size()) {
    figures = &statistics.components[*component];
  }
  return figures != nullptr && figures->finite != 0 ? figures : nullptr;
}

void RangeOfFields::Add(const Analysis::FieldOfPart& field, const Statistics& statistics) {
  if (const Figures* figures = FiguresOf(statistics, component_); figures != nullptr) {
    Widen(range_, *figures, field);
  }
}

}  // namespace LbtTev::View
