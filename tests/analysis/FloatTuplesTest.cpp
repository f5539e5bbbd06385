// Tuples of floats read from memory and from the bytes of a block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/Difference.h"
#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "support/Variable.h"

namespace LbtTev::Analysis {
namespace {

using Floats = std::vector<float>;

/// Numbers as a block stores them.
class Stored {
 public:
  Stored(const Floats& numbers, std::uint8_t width)
      : bytes_(tevtest::Shuffle(tevtest::ElementBytes(numbers), width)), width_(width) {}

  [[nodiscard]] FloatTuples Tuples() const {
    const void* start = bytes_.data();
    return {StoredFloats{nullptr, {static_cast<const unsigned char*>(start), bytes_.size()}},
            width_};
  }

 private:
  std::string bytes_;
  std::size_t width_;
};

Floats Numbers(std::size_t count) {
  Floats numbers;
  for (std::size_t i = 0; i < count; ++i) {
    numbers.push_back(static_cast<float>(i % 97) * 0.25F - static_cast<float>(i % 5));
  }
  return numbers;
}

TEST(FloatTuples, AsStored_AreThoseInOrder) {
  for (std::uint8_t width = 1; width < 7; ++width) {
    const Floats numbers = Numbers(std::size_t{1500} * width + width / 2U);  // some are left over
    const Stored stored(numbers, width);
    const FloatTuples ordered(numbers, width);
    ASSERT_EQ(stored.Tuples().Count(), 1500U);
    ASSERT_EQ(ordered.Count(), 1500U);
    Floats room;
    const auto read = stored.Tuples().Read(700, 600, room);
    const Floats expected(numbers.begin() + 700L * width, numbers.begin() + 1300L * width);
    EXPECT_EQ(Floats(read.begin(), read.end()), expected);
    for (std::size_t component = 0; component < width; ++component) {
      Floats ofStored(900);
      Floats ofOrdered(900);
      stored.Tuples().ReadComponent(component, 600, ofStored);
      ordered.ReadComponent(component, 600, ofOrdered);
      EXPECT_EQ(ofStored, ofOrdered);
      EXPECT_EQ(ofStored.back(), numbers[1499 * width + component]);
    }
  }
}

TEST(FloatTuples, OneByteOfOneComponent_MakesOtherBytes) {
  Floats numbers = Numbers(3000);
  const Stored a(numbers, 3);
  const Stored same(numbers, 3);
  EXPECT_TRUE(a.Tuples().HasSameBytes(0, same.Tuples(), 0, 1000));
  EXPECT_FALSE(a.Tuples().HasSameBytes(0, same.Tuples(), 1, 999));
  EXPECT_FALSE(a.Tuples().HasSameBytes(0, FloatTuples(numbers, 3), 0, 1000));  // not known
  EXPECT_TRUE(a.Tuples().HasSameBytes(7, FloatTuples(numbers, 3), 9, 0));
  numbers[1500 * 2 - 1] += 0.25F;  // of tuple 999 the last
  const Stored other(numbers, 3);
  EXPECT_TRUE(a.Tuples().HasSameBytes(0, other.Tuples(), 0, 999));
  EXPECT_FALSE(a.Tuples().HasSameBytes(0, other.Tuples(), 0, 1000));
  EXPECT_FALSE(a.Tuples().HasSameBytes(999, other.Tuples(), 999, 1));
}

TEST(FloatTuples, StatisticsAndDifferencesOfStoredOnes_AreThoseOfOnesInOrder) {
  const Floats a = Numbers(6000);
  Floats b = a;
  b[4321] += 2;
  b[5000] -= 1;
  const Stored storedA(a, 3);
  const Stored storedB(b, 3);
  const Statistics expected = StatisticsOf({a, 3}, UsedNodes(2000), {});
  const Statistics found = StatisticsOf(storedA.Tuples(), UsedNodes(2000), {});
  EXPECT_EQ(found.magnitude->rms, expected.magnitude->rms);
  EXPECT_EQ(found.components[2].max.index, expected.components[2].max.index);
  EXPECT_EQ(found.components[1].mean, expected.components[1].mean);
  const Tolerance tolerance{.absolute = 1e-3, .isAbsoluteOfMax = true};
  for (const FloatTuples& tuples : {storedB.Tuples(), FloatTuples(b, 3)}) {
    const NumbersDifference difference =
        Compare(storedA.Tuples(), tuples, TupleMatch(2000, 2000), tolerance);
    EXPECT_EQ(difference.compared, 6000U);
    EXPECT_EQ(difference.beyond, 2U);
    EXPECT_EQ(difference.largest, 2);
    EXPECT_EQ(difference.index, 1440U);
    EXPECT_EQ(difference.component, 1U);
    EXPECT_EQ(difference.a, static_cast<double>(a[4321]));
  }
}

}  // namespace
}  // namespace LbtTev::Analysis
