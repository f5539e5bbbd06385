// Puts the numbers of fields on a page.

#include "PageValues.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace LbtTev::View {

void PageValues::Take(std::size_t field, const Source& source,
                      const Analysis::FloatTuples& tuples) {
  const auto [kept, isNew] = kept_.try_emplace(source);
  keptOf_[field] = &kept->second;
  if (!isNew) {
    return;
  }
  const auto& places = source.areOfFaces ? source.mesh->faces : source.mesh->points;
  std::vector<float> all(tuples.Count());
  for (std::size_t component = 0; component < source.components; ++component) {
    tuples.ReadComponent(component, 0, all);
    Kept& values = kept->second.emplace_back();
    values.numbers.reserve(places.size());
    std::ranges::transform(places, std::back_inserter(values.numbers), [&all](std::size_t at) {
      return at < all.size() ? all[at] : std::numeric_limits<float>::quiet_NaN();
    });
    values.range.Take(values.numbers);
  }
}

void PageValues::AddComponent(std::span<const std::size_t> fields, std::size_t component,
                              PageContents& contents) {
  StepRange range;
  for (const std::size_t field : fields) {
    range.Take(KeptOf(field, component).range);
  }
  const Kept* before = nullptr;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Kept& values = KeptOf(fields[i], component);
    const auto [made, isNew] = made_.try_emplace({&values, before, range.Min(), range.Max()});
    if (isNew) {
      made->second = Made(values, before, range);
    }
    PageField& field = *contents.fields[fields[i]];
    field.components.push_back(made->second);
    if (style_.isInTurn && !style_.isExact) {
      field.before = i == 0 ? std::nullopt : std::optional(fields[i - 1]);
      before = &values;
    }
  }
}

PageComponent PageValues::Made(const Kept& values, const Kept* before, const StepRange& range) {
  if (style_.isExact) {
    return {.data = page_->AddFloats(values.numbers)};
  }
  const std::vector<std::uint16_t> stepsBefore =
      before == nullptr ? std::vector<std::uint16_t>() : range.StepsOf(before->numbers);
  return {.data = page_->AddSteps(range.StepsOf(values.numbers), stepsBefore),
          .holes = HolesOf(values.numbers),
          .min = range.Min(),
          .max = range.Max()};
}

std::optional<Page::Block> PageValues::HolesOf(std::span<const float> values) {
  std::vector<std::int32_t> holes;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!std::isfinite(values[i])) {
      holes.push_back(static_cast<std::int32_t>(i));
    }
  }
  return holes.empty() ? std::nullopt : std::optional(page_->AddWholes(holes));
}

}  // namespace LbtTev::View
