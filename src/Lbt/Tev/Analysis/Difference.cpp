// Compares numbers and faces of two models.

#include "Lbt/Tev/Analysis/Difference.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Analysis {

namespace {

using IdAndPlace = std::pair<std::int32_t, std::size_t>;

/// Tuples that are looked at together, so that they stay in the cache.
constexpr std::size_t kTuplesAtOnce = 512;

/// Calls "take" with the first tuple and the length of pieces of "count" tuples.
template <class Take>
void ForPieces(std::size_t count, const Take& take) {
  for (std::size_t first = 0; first < count; first += kTuplesAtOnce) {
    take(first, std::min(kTuplesAtOnce, count - first));
  }
}

/// Ids with their places, in order of the ids; none where one repeats.
std::vector<IdAndPlace> SortedIds(const FloatTuples& ids) {
  std::vector<IdAndPlace> sorted;
  sorted.reserve(ids.Count());
  std::vector<float> room;
  ForPieces(ids.Count(), [&](std::size_t first, std::size_t count) {
    for (const float id : ids.Read(first, count, room)) {
      sorted.emplace_back(Lbt::Util::Clamped<std::int32_t>(id), sorted.size());
    }
  });
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

/// Compares tuples of two lists of numbers.
class NumbersComparison {
 public:
  NumbersComparison(const FloatTuples& a, const FloatTuples& b, const Tolerance& tolerance)
      : a_(&a), b_(&b), tolerance_(tolerance) {}

  /// Compares "count" tuples from "inA" on with those from "inB" on. Pieces of the same bytes are
  /// passed over: numbers agree with themselves, whatever they are.
  void AddTuples(std::size_t inA, std::size_t inB, std::size_t count) {
    ForPieces(count, [&](std::size_t first, std::size_t tuples) {
      if (!a_->HasSameBytes(inA + first, *b_, inB + first, tuples)) {
        const std::span<const float> a = a_->Read(inA + first, tuples, roomOfA_);
        const std::span<const float> b = b_->Read(inB + first, tuples, roomOfB_);
        const std::size_t place = (inA + first) * a_->Width();
        for (std::size_t i = 0; i < a.size(); ++i) {
          Add(static_cast<double>(a[i]), static_cast<double>(b[i]), place + i);
        }
      }
    });
    difference_.compared += count * a_->Width();
  }

  [[nodiscard]] NumbersDifference Result() const {
    NumbersDifference result = difference_;
    result.rms =
        result.compared == 0 ? 0 : std::sqrt(squares_ / static_cast<double>(result.compared));
    return result;
  }

 private:
  /// "place" is that of the number in A.
  void Add(double a, double b, std::size_t place) {
    const double distance = Distance(a, b);
    squares_ += distance * distance;
    difference_.beyond += IsBeyond(distance, a, b, tolerance_) ? std::size_t{1} : 0;
    if (distance > difference_.largest) {
      difference_.largest = distance;
      difference_.a = a;
      difference_.b = b;
      difference_.component = place % a_->Width();
      difference_.index = place / a_->Width();
    }
  }

  const FloatTuples* a_;
  const FloatTuples* b_;
  Tolerance tolerance_;
  std::vector<float> roomOfA_;
  std::vector<float> roomOfB_;
  NumbersDifference difference_;
  double squares_ = 0;
};

std::vector<std::size_t> OffsetsOf(const Faces& faces) {
  std::vector<std::size_t> offsets{0};
  offsets.reserve(faces.lengths.size() + 1);
  for (const unsigned int length : faces.lengths) {
    offsets.push_back(offsets.back() + length);
  }
  return offsets;
}

}  // namespace

Tolerance Tolerance::For(const FloatTuples& tuples) const {
  if (!isAbsoluteOfMax) {
    return *this;
  }
  double largest = 0;
  std::vector<float> room;
  ForPieces(tuples.Count(), [&](std::size_t first, std::size_t count) {
    for (const float number : tuples.Read(first, count, room)) {
      largest = std::isfinite(number) ? std::max<double>(largest, std::abs(number)) : largest;
    }
  });
  return {relative, absolute * largest, false};
}

TupleMatch::TupleMatch(std::size_t countInA, std::size_t countInB)
    : countInA_(countInA), countInB_(countInB), matched_(std::min(countInA, countInB)) {}

TupleMatch::TupleMatch(const FloatTuples& idsInA, std::size_t countInA, const FloatTuples& idsInB,
                       std::size_t countInB)
    : TupleMatch(countInA, countInB) {
  if (idsInA.Count() != countInA || idsInB.Count() != countInB) {
    return;
  }
  if (countInA == countInB && idsInA.HasSameBytes(0, idsInB, 0, countInA)) {
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

NumbersDifference Compare(const FloatTuples& a, const FloatTuples& b, const TupleMatch& match,
                          const Tolerance& tolerance) {
  NumbersComparison comparison(a, b, tolerance.For(a));
  if (match.IsById()) {
    for (std::size_t tuple = 0; tuple < match.CountInA(); ++tuple) {
      if (const std::size_t other = match.InB(tuple); other != TupleMatch::kNone) {
        comparison.AddTuples(tuple, other, 1);
      }
    }
  } else {
    comparison.AddTuples(0, 0, match.CountInA() - match.OnlyInA());
  }
  NumbersDifference difference = comparison.Result();
  difference.onlyInA = match.OnlyInA();
  difference.onlyInB = match.OnlyInB();
  return difference;
}

std::size_t CountDifferentFaces(const Faces& a, const Faces& b, const TupleMatch& nodes,
                                const TupleMatch& elements) {
  // Where faces are matched by place, those of B come in turn, too.
  const std::vector<std::size_t> offsetsB =
      elements.IsById() ? OffsetsOf(b) : std::vector<std::size_t>();
  std::size_t different = elements.OnlyInA() + elements.OnlyInB();
  std::size_t nextInA = 0;
  std::size_t nextInB = 0;
  for (std::size_t face = 0; face < a.lengths.size(); ++face) {
    const auto nodesOfA = a.nodes.subspan(nextInA, a.lengths[face]);
    nextInA += a.lengths[face];
    const std::size_t other = elements.InB(face);
    if (other == TupleMatch::kNone) {
      continue;
    }
    const std::size_t start = elements.IsById() ? offsetsB[other] : nextInB;
    const auto nodesOfB = b.nodes.subspan(start, b.lengths[other]);
    nextInB += b.lengths[other];
    const bool isSame = std::ranges::equal(
        nodesOfA, nodesOfB, [&](std::size_t x, std::size_t y) { return nodes.InB(x) == y; });
    different += isSame ? std::size_t{0} : 1;
  }
  return different;
}

}  // namespace LbtTev::Analysis
