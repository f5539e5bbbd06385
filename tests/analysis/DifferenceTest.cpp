// When numbers agree, which tuples belong together, and how far lists of numbers are apart.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Lbt/Tev/Analysis/Difference.h"

namespace LbtTev::Analysis {
namespace {

using Floats = std::vector<float>;
using Uints = std::vector<unsigned int>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

NumbersDifference CompareByPlace(const Floats& a, const Floats& b, const Tolerance& tolerance = {},
                                 std::size_t width = 1) {
  return Compare({a, width}, {b, width}, TupleMatch(a.size() / width, b.size() / width), tolerance);
}

TEST(Tolerance, TimesMax_IsTakenOfTheLargestFiniteNumberWithoutItsSign) {
  const Tolerance tolerance{.relative = 0.5, .absolute = 0.25, .isAbsoluteOfMax = true};
  const Tolerance own = tolerance.For({Floats{1, -8, kInfinity, kNaN}, 1});
  EXPECT_EQ(own.absolute, 2);
  EXPECT_EQ(own.relative, 0.5);
  EXPECT_FALSE(own.isAbsoluteOfMax);
  EXPECT_EQ(tolerance.For({Floats{}, 1}).absolute, 0);
  EXPECT_EQ((Tolerance{.absolute = 0.25}.For({Floats{100}, 1}).absolute), 0.25);
}

TEST(TupleMatch, IdsThatDoNotRepeat_AreMatchedWhereverTheyStand) {
  const TupleMatch match({Floats{11, 12, 13}, 1}, 3, {Floats{13, 14, 11}, 1}, 3);
  EXPECT_TRUE(match.IsById());
  EXPECT_EQ(match.InB(0), 2U);
  EXPECT_EQ(match.InB(1), TupleMatch::kNone);
  EXPECT_EQ(match.InB(2), 0U);
  EXPECT_EQ(match.OnlyInA(), 1U);
  EXPECT_EQ(match.OnlyInB(), 1U);
}

TEST(TupleMatch, OtherIds_AreMatchedByPlace) {
  const auto isByPlace = [](const Floats& a, const Floats& b) {
    const TupleMatch match({a, 1}, 3, {b, 1}, 3);
    return !match.IsById() && match.InB(0) == 0 && match.InB(2) == 2 && match.OnlyInA() == 0;
  };
  EXPECT_TRUE(isByPlace({1, 1, 2}, {2, 1, 3}));         // repeated in one
  EXPECT_TRUE(isByPlace({1, 2, 3}, {3, 3, 2}));         // or in the other
  EXPECT_TRUE(isByPlace({1, 2}, {2, 1}));               // fewer than there are tuples
  EXPECT_TRUE(isByPlace({}, {3, 2, 1}));                // only one side has any
  EXPECT_TRUE(isByPlace({5, 5, 5}, {5, 5, 5}));         // the same everywhere
  EXPECT_TRUE(isByPlace({kNaN, 0, 1}, {1, 0, kNaN}));   // no number is 0
  EXPECT_FALSE(isByPlace({1.9F, 2, 3}, {3, 2, 1.1F}));  // whole numbers are cut off
}

TEST(TupleMatch, WithoutIds_LeavesWhatOneHasMoreOf) {
  const TupleMatch match(5, 3);
  EXPECT_EQ(match.InB(2), 2U);
  EXPECT_EQ(match.InB(3), TupleMatch::kNone);
  EXPECT_EQ(match.OnlyInA(), 2U);
  EXPECT_EQ(match.OnlyInB(), 0U);
  EXPECT_EQ(TupleMatch(3, 5).OnlyInB(), 2U);
}

TEST(Compare, NumbersBeyondTheTolerance_AreCountedAndTheFarthestIsNamed) {
  const NumbersDifference found = CompareByPlace({1, 2, 3, 4, 5, 6}, {1, 2, 3.5F, 4, 5, 4}, {}, 2);
  EXPECT_EQ(found.compared, 6U);
  EXPECT_EQ(found.beyond, 2U);
  EXPECT_EQ(found.largest, 2);
  EXPECT_EQ(found.a, 6);
  EXPECT_EQ(found.b, 4);
  EXPECT_EQ(found.component, 1U);
  EXPECT_EQ(found.index, 2U);
  EXPECT_DOUBLE_EQ(found.rms, std::sqrt((0.25 + 4) / 6));
  EXPECT_FALSE(found.IsSame());
}

TEST(Compare, NumbersWithinTheTolerance_AreNamedAndNotBeyond) {
  const NumbersDifference found = CompareByPlace({10}, {11}, {.absolute = 1});
  EXPECT_EQ(found.beyond, 0U);
  EXPECT_EQ(found.largest, 1);
  EXPECT_TRUE(found.IsSame());
  EXPECT_EQ(CompareByPlace({10}, {12}, {.absolute = 1}).beyond, 1U);
  EXPECT_EQ(CompareByPlace({-10}, {-8}, {.relative = 0.2}).beyond, 0U);  // of the larger one
  EXPECT_EQ(CompareByPlace({-10}, {-8}, {.relative = 0.19}).beyond, 1U);
}

TEST(Compare, NumbersThatAreNotFinite_AgreeWithThemselvesAlone) {
  const Tolerance wide{.relative = 1e9, .absolute = 1e9};
  EXPECT_TRUE(
      CompareByPlace({kNaN, kInfinity, -kInfinity}, {-kNaN, kInfinity, -kInfinity}).IsSame());
  EXPECT_TRUE(CompareByPlace({0.0F}, {-0.0F}).IsSame());
  for (const auto& [a, b] : {std::pair(kNaN, 1.0F),
                             {1.0F, kNaN},
                             {kInfinity, 1.0F},
                             {kInfinity, -kInfinity},
                             {kNaN, kInfinity}}) {
    const NumbersDifference found = CompareByPlace({a}, {b}, wide);
    EXPECT_EQ(found.beyond, 1U) << a << ' ' << b;
    EXPECT_TRUE(std::isinf(found.largest));
    EXPECT_TRUE(std::isinf(found.rms));
  }
}

TEST(Compare, LongLists_AreComparedToTheirEnd) {
  constexpr std::size_t kCount = 10007;
  Floats a(kCount, 1.0F);
  for (const std::size_t place :
       {std::size_t{0}, std::size_t{1023}, std::size_t{1024}, kCount - 1}) {
    Floats b = a;
    b[place] = 2;
    const NumbersDifference found = CompareByPlace(a, b);
    EXPECT_EQ(found.beyond, 1U);
    EXPECT_EQ(found.index, place);
    EXPECT_EQ(found.compared, kCount);
  }
}

TEST(Compare, TuplesById_AreComparedWithTheirPartners) {
  const TupleMatch match({Floats{1, 2, 3}, 1}, 3, {Floats{3, 1, 9}, 1}, 3);
  const NumbersDifference found =
      Compare({Floats{10, 11, 20, 21, 30, 31}, 2}, {Floats{30, 31, 10, 15, 0, 0}, 2}, match, {});
  EXPECT_EQ(found.compared, 4U);
  EXPECT_EQ(found.beyond, 1U);
  EXPECT_EQ(found.component, 1U);
  EXPECT_EQ(found.index, 0U);
  EXPECT_EQ(found.onlyInA, 1U);
  EXPECT_EQ(found.onlyInB, 1U);
}

TEST(Faces, OfOtherNodesOrWithoutPartner_AreDifferent) {
  const Uints nodesOfA{0, 1, 2, 2, 3};
  const Uints lengthsOfA{3, 2};
  const auto different = [&](const Uints& nodesOfB, const Uints& lengthsOfB,
                             const TupleMatch& nodes) {
    return CountDifferentFaces({nodesOfA, lengthsOfA}, {nodesOfB, lengthsOfB}, nodes,
                               TupleMatch(2, lengthsOfB.size()));
  };
  const TupleMatch same(4, 4);
  EXPECT_EQ(different({0, 1, 2, 2, 3}, {3, 2}, same), 0U);
  EXPECT_EQ(different({0, 1, 2, 3, 2}, {3, 2}, same), 1U);  // the order counts
  EXPECT_EQ(different({0, 1, 2, 2, 3}, {2, 3}, same), 2U);
  EXPECT_EQ(different({0, 1, 2, 2, 3, 0}, {3, 2, 1}, same), 1U);
  const TupleMatch turned({Floats{1, 2, 3, 4}, 1}, 4, {Floats{4, 3, 2, 1}, 1}, 4);
  EXPECT_EQ(different({3, 2, 1, 1, 0}, {3, 2}, turned), 0U);
}

}  // namespace
}  // namespace LbtTev::Analysis
