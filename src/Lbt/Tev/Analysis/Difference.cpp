// Compares numbers and faces of two models.
#include "Lbt/Tev/Analysis/Difference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Analysis {

namespace {

using IdAndPlace = std::pair<std::int32_t, std::size_t>;

/// Ids with their places, in order of the ids; none where one repeats.
std::vector<IdAndPlace> SortedIds(std::span<const float> ids) {
  std::vector<IdAndPlace> sorted;
  sorted.reserve(ids.size());
  for (const float id : ids) {
    sorted.emplace_back(Lbt::Util::Clamped<std::int32_t>(id), sorted.size());
  }
  if (!std::ranges::is_sorted(sorted)) {
    std::ranges::sort(sorted);
  }
  const auto repeated = std::ranges::adjacent_find(sorted, {}, &IdAndPlace::first);
  if (repeated != sorted.end()) {
    sorted.clear();
  }
  return sorted;
}

/// Infinite for a pair that is no pair of finite numbers and not the same.
double Distance(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) {
    return 0;
  }
  return std::isfinite(a) && std::isfinite(b) ? std::abs(a - b)
                                              : std::numeric_limits<double>::infinity();
}

bool IsBeyond(double distance, double a, double b, const Tolerance& tolerance) {
  if (distance == 0 || std::isinf(distance)) {
    return distance != 0;
  }
  return distance >
         std::max(tolerance.relative * std::max(std::abs(a), std::abs(b)), tolerance.absolute);
}

std::vector<std::size_t> OffsetsOf(const Faces& faces) {
  std::vector<std::size_t> offsets{0};
  offsets.reserve(faces.lengths.size() + 1);
  for (const unsigned int length : faces.lengths) {
    offsets.push_back(offsets.back() + length);
  }
  return offsets;
}

}  // namespace

Tolerance Tolerance::For(std::span<const float> numbers) const {
  if (!isAbsoluteOfMax) {
    return *this;
  }
  double largest = 0;
  for (const float number : numbers) {
    largest = std::isfinite(number) ? std::max<double>(largest, std::abs(number)) : largest;
  }
  return {relative, absolute * largest, false};
}

TupleMatch::TupleMatch(std::size_t countInA, std::size_t countInB)
    : countInA_(countInA), countInB_(countInB), matched_(std::min(countInA, countInB)) {}

TupleMatch::TupleMatch(std::span<const float> idsInA, std::size_t countInA,
                       std::span<const float> idsInB, std::size_t countInB)
    : TupleMatch(countInA, countInB) {
  if (idsInA.size() != countInA || idsInB.size() != countInB ||
      std::ranges::equal(idsInA, idsInB)) {
    return;  // the same ids in the same places, repeated or not
  }
  const std::vector<IdAndPlace> sortedA = SortedIds(idsInA);
  const std::vector<IdAndPlace> sortedB = SortedIds(idsInB);
  if (sortedA.size() != countInA || sortedB.size() != countInB) {
    return;
  }
  isById_ = true;
  matched_ = 0;
  inB_.assign(countInA, kNone);
  auto b = sortedB.begin();
  for (const auto& [id, place] : sortedA) {
    b = std::find_if(b, sortedB.end(), [id = id](const auto& each) { return each.first >= id; });
    if (b != sortedB.end() && b->first == id) {
      inB_[place] = b->second;
      ++matched_;
    }
  }
}

NumbersDifference Compare(std::span<const float> a, std::span<const float> b, std::size_t width,
                          const TupleMatch& match, const Tolerance& tolerance) {
  NumbersDifference difference{.compared = (match.CountInA() - match.OnlyInA()) * width,
                               .onlyInA = match.OnlyInA(),
                               .onlyInB = match.OnlyInB()};
  const Tolerance own = tolerance.For(a.first(match.CountInA() * width));
  double squares = 0;
  for (std::size_t tuple = 0; tuple < match.CountInA(); ++tuple) {
    const std::size_t other = match.InB(tuple);
    if (other == TupleMatch::kNone ||
        std::memcmp(&a[tuple * width], &b[other * width], width * sizeof(float)) == 0) {
      continue;
    }
    for (std::size_t component = 0; component < width; ++component) {
      const auto left = static_cast<double>(a[tuple * width + component]);
      const auto right = static_cast<double>(b[other * width + component]);
      const double distance = Distance(left, right);
      squares += distance * distance;
      difference.beyond += IsBeyond(distance, left, right, own) ? std::size_t{1} : 0;
      if (distance > difference.largest) {
        difference.largest = distance;
        difference.a = left;
        difference.b = right;
        difference.component = component;
        difference.index = tuple;
      }
    }
  }
  difference.rms =
      difference.compared == 0 ? 0 : std::sqrt(squares / static_cast<double>(difference.compared));
  return difference;
}

std::size_t CountDifferentFaces(const Faces& a, const Faces& b, const TupleMatch& nodes,
                                const TupleMatch& elements) {
  const std::vector<std::size_t> offsetsA = OffsetsOf(a);
  const std::vector<std::size_t> offsetsB = OffsetsOf(b);
  std::size_t different = elements.OnlyInA() + elements.OnlyInB();
  for (std::size_t face = 0; face < a.lengths.size(); ++face) {
    const std::size_t other = elements.InB(face);
    if (other == TupleMatch::kNone) {
      continue;
    }
    const auto nodesOfA = a.nodes.subspan(offsetsA[face], a.lengths[face]);
    const auto nodesOfB = b.nodes.subspan(offsetsB[other], b.lengths[other]);
    const bool isSame = std::ranges::equal(
        nodesOfA, nodesOfB, [&](std::size_t x, std::size_t y) { return nodes.InB(x) == y; });
    different += isSame ? std::size_t{0} : 1;
  }
  return different;
}

}  // namespace LbtTev::Analysis
