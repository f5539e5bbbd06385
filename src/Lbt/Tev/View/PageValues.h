#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/View/Page.h"
#include "Lbt/Tev/View/PageContents.h"
#include "SharedMesh.h"
#include "StepRange.h"

namespace LbtTev::View {

/// The numbers of fields on their way to a page. Fields that share an array share what is kept of
/// it: a model may name one at any number of steps and parts.
class PageValues {
 public:
  PageValues(const PageStyle& style, Page& page) : style_(style), page_(&page) {}

  /// What the numbers are of: the points of a mesh or its faces, and the array, by its components.
  struct Source {
    const SharedMesh* mesh = nullptr;
    bool areOfFaces = false;
    Analysis::ArrayKey array{};
    std::size_t components = 0;

    // NOLINTNEXTLINE(readability-implicit-bool-conversion, modernize-use-nullptr): as for ArrayKey
    friend auto operator<=>(const Source&, const Source&) = default;
  };

  /// Keeps the numbers of a field, by its place among all. What an array lacks is NaN.
  void Take(std::size_t field, const Source& source, const Analysis::FloatTuples& tuples);

  /// Puts one component of all fields of a result, in the order of their steps, on the page and
  /// tells "contents" of it. They have one range.
  void AddComponent(std::span<const std::size_t> fields, std::size_t component,
                    PageContents& contents);

 private:
  struct Kept {
    std::vector<float> numbers{};
    StepRange range{};
  };

  [[nodiscard]] const Kept& KeptOf(std::size_t field, std::size_t component) const {
    return (*keptOf_.at(field))[component];
  }
  [[nodiscard]] PageComponent Made(const Kept& values, const Kept* before, const StepRange& range);
  [[nodiscard]] std::optional<Page::Block> HolesOf(std::span<const float> values);

  PageStyle style_;
  Page* page_;
  std::map<Source, std::vector<Kept>> kept_;                // by component
  std::map<std::size_t, const std::vector<Kept>*> keptOf_;  // by field
  std::map<std::tuple<const Kept*, const Kept*, double, double>, PageComponent>
      made_;  // by the values, those before them, and the range
};

}  // namespace LbtTev::View
