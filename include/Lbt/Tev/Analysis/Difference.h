#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/FloatTuples.h"

namespace LbtTev::Analysis {

/// When two numbers agree that are not the same: |a - b| <= max(relative * max(|a|, |b|),
/// absolute).
struct Tolerance {
  double relative = 0;
  double absolute = 0;
  bool isAbsoluteOfMax = false;  ///< "absolute" is meant times the largest finite |number| of A

  /// The tolerance for the numbers of one array of A.
  [[nodiscard]] Tolerance For(const FloatTuples& tuples) const;
};

/// Which tuples of two lists belong together.
class TupleMatch {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// By place.
  TupleMatch(std::size_t countInA, std::size_t countInB);

  /// By id, where each list has one for each tuple and none repeats; else by place.
  TupleMatch(const FloatTuples& idsInA, std::size_t countInA, const FloatTuples& idsInB,
             std::size_t countInB);

  [[nodiscard]] std::size_t CountInA() const { return countInA_; }
  [[nodiscard]] std::size_t OnlyInA() const { return countInA_ - matched_; }
  [[nodiscard]] std::size_t OnlyInB() const { return countInB_ - matched_; }
  [[nodiscard]] bool IsById() const { return isById_; }

  /// The tuple of B for one of A, or kNone.
  [[nodiscard]] std::size_t InB(std::size_t inA) const {
    return inB_.empty() ? (inA < matched_ ? inA : kNone) : inB_[inA];
  }

 private:
  std::size_t countInA_;
  std::size_t countInB_;
  std::size_t matched_ = 0;
  bool isById_ = false;
  std::vector<std::size_t> inB_;  // empty where places are the same
};

/// How far two fields are from each other.
struct NumbersDifference {
  std::size_t compared = 0;  ///< pairs of numbers
  std::size_t beyond = 0;    ///< pairs that do not agree
  std::size_t onlyInA = 0;   ///< tuples without one to compare with
  std::size_t onlyInB = 0;
  double rms = 0;  ///< of the differences; infinite where one is

  // The pair that is farthest apart, the first of several; a pair of which one number alone is
  // finite, or NaN, is infinitely far apart.
  double largest = 0;
  double a = 0;
  double b = 0;
  std::size_t component = 0;
  std::size_t index = 0;  ///< of the tuple in A

  [[nodiscard]] bool IsSame() const { return beyond == 0 && onlyInA == 0 && onlyInB == 0; }
};

/// Compares tuples of one width.
[[nodiscard]] NumbersDifference Compare(const FloatTuples& a, const FloatTuples& b,
                                        const TupleMatch& match, const Tolerance& tolerance);

/// A mesh's faces, with its nodes' and its faces' places.
struct Faces {
  std::span<const unsigned int> nodes;
  std::span<const unsigned int> lengths;
};

/// How many faces of A have other nodes in B, or none at all, and how many are only in B.
/// "nodes" and "elements" say what belongs together; both meshes have been checked.
[[nodiscard]] std::size_t CountDifferentFaces(const Faces& a, const Faces& b,
                                              const TupleMatch& nodes, const TupleMatch& elements);

}  // namespace LbtTev::Analysis
