// Figures of fields and which tuples take part.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Floats = std::vector<float>;
using Uints = std::vector<unsigned int>;
using Ranges = std::vector<UsedNodes::Range>;

template <class Action>
std::string FailureOf(const Action& action) {
  try {
    action();
  } catch (const Lbt::Util::Exception& exception) {
    EXPECT_EQ(exception.GetType(), Lbt::Util::Exception::ErrorType::ModelError);
    return exception.GetLogMessage();
  }
  return "no failure";
}

TEST(UsedNodes, WithoutFaces_AreAll) {
  EXPECT_EQ(UsedNodes(5).Ranges(), (Ranges{{0, 5}}));
  EXPECT_EQ(UsedNodes(5).Count(), 5U);
  EXPECT_TRUE(UsedNodes(0).Ranges().empty());
}

TEST(UsedNodes, OfFaces_AreThoseThatTheyName) {
  const UsedNodes used(Uints{7, 2, 3, 3, 4, 0}, Uints{3, 0, 3}, 8);
  EXPECT_EQ(used.Ranges(), (Ranges{{0, 1}, {2, 5}, {7, 8}}));
  EXPECT_EQ(used.Count(), 5U);
  EXPECT_TRUE(UsedNodes(Uints{}, Uints{}, 8).Ranges().empty());
}

TEST(UsedNodes, FarApart_AreFoundWithoutAFlagForEachNode) {
  const UsedNodes used(Uints{4000000000U, 1, 4000000000U}, Uints{3}, 4000000001U);
  EXPECT_EQ(used.Ranges(), (Ranges{{1, 2}, {4000000000U, 4000000001U}}));
}

TEST(UsedNodes, OfDamagedFaces_Fail) {
  const auto use = [](const Uints& faces, const Uints& lengths, std::size_t points) {
    return FailureOf([&] { static_cast<void>(UsedNodes(faces, lengths, points)); });
  };
  const char* lengths = "The lengths of the faces do not make up the list of their nodes";
  EXPECT_EQ(use({0, 1, 2}, {2}, 3), lengths);
  EXPECT_EQ(use({0, 1, 2}, {4}, 3), lengths);
  EXPECT_EQ(use({0, 1, 2}, {}, 3), lengths);
  EXPECT_EQ(use({0, 1, 2}, {0xFFFFFFFF, 4}, 3), lengths);
  EXPECT_EQ(use({0, 1, 3}, {3}, 3), "A face names a node that the mesh has not");
  EXPECT_EQ(use({0, 1, 3}, {3}, 0), "A face names a node, and the mesh has no coordinates");
  EXPECT_EQ(use({0, 1, 2}, {3}, 3), "no failure");
}

TEST(Statistics, OfAScalar_AreThoseOfItsNumbers) {
  const Statistics statistics = StatisticsOf({Floats{3, -1, 5, -1, 5, 0}, 1}, UsedNodes(6),
                                             {Floats{11, 12, 13, 14, 15, 16}, 1});
  EXPECT_EQ(statistics.counted, 6U);
  EXPECT_EQ(statistics.notFinite, 0U);
  EXPECT_FALSE(statistics.magnitude.has_value());
  ASSERT_EQ(statistics.components.size(), 1U);
  const Figures& figures = statistics.components[0];
  EXPECT_EQ(figures.min.value, -1);
  EXPECT_EQ(figures.min.index, 1U);
  EXPECT_EQ(figures.min.id, 12);
  EXPECT_EQ(figures.max.value, 5);
  EXPECT_EQ(figures.max.index, 2U);
  EXPECT_EQ(figures.max.id, 13);
  EXPECT_DOUBLE_EQ(figures.mean, 11.0 / 6.0);
  EXPECT_DOUBLE_EQ(figures.rms, std::sqrt(61.0 / 6.0));
}

TEST(Statistics, OfAVector_HaveItsMagnitude) {
  const Statistics statistics =
      StatisticsOf({Floats{3, 4, 0, 0, 0, 2, 1, 2, 2}, 3}, UsedNodes(3), {});
  ASSERT_TRUE(statistics.magnitude.has_value());
  EXPECT_EQ(statistics.magnitude->min.value, 2);
  EXPECT_EQ(statistics.magnitude->min.index, 1U);
  EXPECT_FALSE(statistics.magnitude->min.id.has_value());
  EXPECT_EQ(statistics.magnitude->max.value, 5);
  EXPECT_DOUBLE_EQ(statistics.magnitude->mean, 10.0 / 3.0);
  EXPECT_EQ(statistics.components[1].max.value, 4);
  EXPECT_EQ(statistics.components[2].max.index, 1U);
}

TEST(Statistics, OnlyUsedNodes_TakePart) {
  const UsedNodes used(Uints{1, 3}, Uints{2}, 4);
  const Statistics statistics = StatisticsOf({Floats{-9, 1, kNaN, 2}, 1}, used, {});
  EXPECT_EQ(statistics.counted, 2U);
  EXPECT_EQ(statistics.notFinite, 0U);
  EXPECT_EQ(statistics.components[0].min.value, 1);
  EXPECT_EQ(statistics.components[0].max.index, 3U);
}

TEST(Statistics, NumbersThatAreNotFinite_AreCountedAndLeftOut) {
  const Floats values{kNaN, 1, 2, 4, kInfinity, 6, 7, 8, 9};
  const Statistics statistics = StatisticsOf({values, 3}, UsedNodes(3), {});
  EXPECT_EQ(statistics.notFinite, 2U);
  EXPECT_EQ(statistics.components[0].finite, 2U);
  EXPECT_EQ(statistics.components[0].min.value, 4);
  EXPECT_EQ(statistics.components[0].min.index, 1U);
  EXPECT_EQ(statistics.components[1].max.value, 8);
  EXPECT_EQ(statistics.magnitude->finite, 1U);
  EXPECT_EQ(statistics.magnitude->min.index, 2U);
  EXPECT_DOUBLE_EQ(statistics.magnitude->mean, std::sqrt(49.0 + 64.0 + 81.0));
}

TEST(Statistics, WithoutAFiniteNumber_HaveNoFigures) {
  const Statistics statistics = StatisticsOf({Floats{kNaN, -kInfinity}, 1}, UsedNodes(2), {});
  EXPECT_EQ(statistics.counted, 2U);
  EXPECT_EQ(statistics.notFinite, 2U);
  EXPECT_EQ(statistics.components[0].finite, 0U);
  EXPECT_EQ(StatisticsOf({Floats{}, 1}, UsedNodes(0), {}).components[0].finite, 0U);
  EXPECT_TRUE(StatisticsOf({Floats{}, 0}, UsedNodes(0), {}).components.empty());
}

TEST(Statistics, OfSeveralEqualExtremes_TheFirstCounts) {
  Floats values(3000, 0.0F);
  values[5] = -0.0F;
  values[700] = 1;
  values[2900] = 1;
  const Statistics statistics = StatisticsOf({values, 1}, UsedNodes(values.size()), {});
  EXPECT_EQ(statistics.components[0].min.index, 0U);
  EXPECT_EQ(statistics.components[0].max.index, 700U);
}

TEST(Statistics, OfBothZeros_TheFirstIsTheExtreme) {
  Floats values(16, 3.0F);
  values[2] = -0.0F;
  values[9] = 0.0F;
  const Statistics statistics = StatisticsOf({values, 1}, UsedNodes(values.size()), {});
  EXPECT_EQ(statistics.components[0].min.index, 2U);
  EXPECT_TRUE(std::signbit(statistics.components[0].min.value));
}

TEST(Statistics, OfLongFields_AgreeWithLongDoubles) {
  std::mt19937 random(7);
  Floats values(100003);
  for (float& value : values) {
    value = static_cast<float>(random()) * 1e-3F - 2e6F;
  }
  values[99999] = 1e30F;
  values[3] = -1e30F;
  values[50000] = kNaN;
  long double sum = 0;
  long double squares = 0;
  for (const float value : values) {
    if (!std::isnan(value)) {
      sum += static_cast<long double>(value);
      squares += static_cast<long double>(value) * static_cast<long double>(value);
    }
  }
  const Figures figures = StatisticsOf({values, 1}, UsedNodes(values.size()), {}).components.at(0);
  EXPECT_EQ(figures.finite, 100002U);
  EXPECT_EQ(figures.max.index, 99999U);
  EXPECT_EQ(figures.min.index, 3U);
  const double meanOfSizes = 2e30 / 100002.0;
  EXPECT_NEAR(figures.mean, static_cast<double>(sum / 100002.0L), 1e-12 * meanOfSizes);
  const auto rms = static_cast<double>(std::sqrt(squares / 100002.0L));
  EXPECT_NEAR(figures.rms, rms, 1e-12 * rms);
}

TEST(Ids, StoredAsFloats_AreWholeNumbers) {
  const Floats ids{7.9F, -3.0F, kNaN, 1e20F, -kInfinity};
  EXPECT_EQ(IdAt(ids, 0), 7);
  EXPECT_EQ(IdAt(ids, 1), -3);
  EXPECT_EQ(IdAt(ids, 2), 0);
  EXPECT_EQ(IdAt(ids, 3), 2147483647);
  EXPECT_EQ(IdAt(ids, 4), -2147483647 - 1);
  EXPECT_FALSE(IdAt(ids, 5).has_value());
}

}  // namespace
}  // namespace LbtTev::Analysis
