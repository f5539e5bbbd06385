// Works out minimum, maximum, mean and root mean square of fields.

#include "Lbt/Tev/Analysis/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Analysis {

namespace {

/// Numbers are looked at in pieces that stay in the cache, and in each piece in lanes that do not
/// wait for one another.
constexpr std::size_t kPiece = 512;
constexpr std::size_t kLanes = 8;

using Piece = std::array<double, kPiece>;

/// A sum that keeps what is lost of it by rounding.
class ExactSum {
 public:
  void Add(double value) {
    const double sum = sum_ + value;
    lost_ += std::abs(sum_) >= std::abs(value) ? (sum_ - sum) + value : (value - sum) + sum_;
    sum_ = sum;
  }
  [[nodiscard]] double Value() const { return sum_ + lost_; }

 private:
  double sum_ = 0;
  double lost_ = 0;
};

/// What a piece comes to where all its numbers are finite.
struct PieceFigures {
  double sum = 0;
  double squares = 0;
  double min = 0;
  double max = 0;
  bool isFinite = false;
};

using Lanes = std::array<double, kLanes>;

double SumOf(const Lanes& lanes) {
  return ((lanes[0] + lanes[1]) + (lanes[2] + lanes[3])) +
         ((lanes[4] + lanes[5]) + (lanes[6] + lanes[7]));
}

/// Calls "add" with each number and its lane.
template <class Add>
void ForLanes(std::span<const double> numbers, const Add& add) {
  const std::size_t whole = numbers.size() / kLanes * kLanes;
  for (std::size_t i = 0; i < whole; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      add(lane, numbers[i + lane]);
    }
  }
  for (std::size_t i = whole; i < numbers.size(); ++i) {
    add(i - whole, numbers[i]);
  }
}

/// "numbers" are not empty. Sums and extremes are two passes, for each of which the processor has
/// registers enough.
PieceFigures FiguresOf(std::span<const double> numbers) {
  Lanes sum{};
  Lanes squares{};
  ForLanes(numbers, [&](std::size_t lane, double number) {
    sum[lane] += number;
    squares[lane] += number * number;
  });
  Lanes min{};
  Lanes max{};
  min.fill(numbers.front());
  max.fill(numbers.front());
  ForLanes(numbers, [&](std::size_t lane, double number) {
    min[lane] = number < min[lane] ? number : min[lane];
    max[lane] = number > max[lane] ? number : max[lane];
  });
  // Squares of floats are far from the largest double: their sum tells of any that is not finite.
  const double sumOfSquares = SumOf(squares);
  return {SumOf(sum), sumOfSquares, *std::ranges::min_element(min), *std::ranges::max_element(max),
          std::isfinite(sumOfSquares)};
}

/// Gathers the figures of one component, piece by piece.
class ComponentFigures {
 public:
  /// "first" is the index of the first number's tuple.
  void Add(std::span<const double> numbers, std::size_t first) {
    const PieceFigures piece = FiguresOf(numbers);
    if (!piece.isFinite) {
      AddOneByOne(numbers, first);
      return;
    }
    AddSums(piece.sum, piece.squares);
    const auto firstOf = [&](double number) {  // which of both zeros it is counts, too
      const auto found = std::ranges::find(numbers, number);
      return Figures::Extreme{*found, first + static_cast<std::size_t>(found - numbers.begin())};
    };
    if (IsBelow(piece.min)) {
      min_ = firstOf(piece.min);
    }
    if (IsAbove(piece.max)) {
      max_ = firstOf(piece.max);
    }
    finite_ += numbers.size();
  }

  [[nodiscard]] Figures Result(const FloatTuples& ids) const {
    if (finite_ == 0) {
      return {};
    }
    const auto count = static_cast<double>(finite_);
    Figures figures{finite_, min_, max_, sum_.Value() / count, std::sqrt(squares_.Value() / count)};
    figures.min.id = IdAt(ids, min_.index);
    figures.max.id = IdAt(ids, max_.index);
    return figures;
  }

 private:
  void AddOneByOne(std::span<const double> numbers, std::size_t first) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const double number = numbers[i];
      if (!std::isfinite(number)) {
        continue;
      }
      AddSums(number, number * number);
      min_ = IsBelow(number) ? Figures::Extreme{number, first + i} : min_;
      max_ = IsAbove(number) ? Figures::Extreme{number, first + i} : max_;
      ++finite_;
    }
  }

  void AddSums(double sum, double squares) {
    sum_.Add(sum);
    squares_.Add(squares);
  }

  [[nodiscard]] bool IsBelow(double number) const { return finite_ == 0 || number < min_.value; }
  [[nodiscard]] bool IsAbove(double number) const { return finite_ == 0 || number > max_.value; }

  std::size_t finite_ = 0;
  Figures::Extreme min_;
  Figures::Extreme max_;
  ExactSum sum_;
  ExactSum squares_;
};

constexpr std::size_t kVectorWidth = 3;

/// One component of "count" tuples from "first" on, as doubles.
void Read(const FloatTuples& tuples, std::size_t component, std::size_t first, std::size_t count,
          Piece& piece) {
  std::array<float, kPiece> floats{};
  tuples.ReadComponent(component, first, std::span(floats).first(count));
  for (std::size_t i = 0; i < kPiece; ++i) {  // a number that is known is quicker than the count
    piece[i] = static_cast<double>(floats[i]);
  }
}

/// Leaves magnitudes in the first of three components. A magnitude is finite where its three
/// numbers are.
std::span<const double> Magnitudes(std::array<Piece, kVectorWidth>& vectors, std::size_t count) {
  auto& [x, y, z] = vectors;
  for (std::size_t i = 0; i < kPiece; ++i) {
    x[i] = std::sqrt(x[i] * x[i] + y[i] * y[i] + z[i] * z[i]);
  }
  return std::span(x).first(count);
}

/// Calls "take" with the first tuple and the length of pieces of those that take part.
template <class Take>
void ForPieces(const UsedNodes& used, const Take& take) {
  for (const auto& [begin, end] : used.Ranges()) {
    for (std::size_t first = begin; first < end; first += kPiece) {
      take(first, std::min(kPiece, end - first));
    }
  }
}

}  // namespace

std::optional<std::int32_t> IdAt(std::span<const float> ids, std::size_t index) {
  return index < ids.size() ? std::optional(Lbt::Util::Clamped<std::int32_t>(ids[index]))
                            : std::nullopt;
}

std::optional<std::int32_t> IdAt(const FloatTuples& ids, std::size_t index) {
  if (index >= ids.Count()) {
    return std::nullopt;
  }
  std::array<float, 1> id{};
  ids.ReadComponent(0, index, id);
  return IdAt(id, 0);
}

Statistics StatisticsOf(const FloatTuples& tuples, const UsedNodes& used, const FloatTuples& ids) {
  const std::size_t width = tuples.Width();
  std::vector<ComponentFigures> components(width);
  ComponentFigures magnitude;
  std::array<Piece, kVectorWidth> pieces{};  // of the last components
  ForPieces(used, [&](std::size_t first, std::size_t count) {
    for (std::size_t component = 0; component < width; ++component) {
      Piece& piece = pieces[component % kVectorWidth];
      Read(tuples, component, first, count, piece);
      components[component].Add(std::span(piece).first(count), first);
    }
    if (width == kVectorWidth) {
      magnitude.Add(Magnitudes(pieces, count), first);
    }
  });
  Statistics statistics{.counted = used.Count()};
  for (const ComponentFigures& component : components) {
    const Figures& figures = statistics.components.emplace_back(component.Result(ids));
    statistics.notFinite += used.Count() - figures.finite;
  }
  if (width == kVectorWidth) {
    statistics.magnitude = magnitude.Result(ids);
  }
  return statistics;
}

}  // namespace LbtTev::Analysis
