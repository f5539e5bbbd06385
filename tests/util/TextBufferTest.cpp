// Text that is gathered and handed on in pieces.

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "Lbt/Util/TextBuffer.h"

namespace Lbt::Util {
namespace {

/// More than any buffer is expected to hold back.
constexpr std::size_t kLong = 600 * 1024;

/// Takes text and counts the pieces in which it comes.
class CountingBuffer : public std::stringbuf {
 public:
  std::size_t pieces = 0;

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    pieces += count > 0 ? 1 : 0;
    return std::stringbuf::xsputn(text, count);
  }
};

/// Takes nothing.
class FullBuffer : public std::streambuf {};

std::string Letters(std::size_t size) {
  std::string text(size, ' ');
  for (std::size_t i = 0; i < size; ++i) {
    text[i] = static_cast<char>('a' + i % 26);
  }
  return text;
}

/// What a stream writes; a float as the double of the same value.
template <class Number>
std::string ByStream(Number value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}
std::string ByStream(float value) { return ByStream(static_cast<double>(value)); }

template <class Number>
std::string ColumnByStream(Number value, int width) {
  std::ostringstream stream;
  stream << "    " << std::setw(width) << ByStream(value);
  return stream.str();
}

template <class Number>
std::string Column(Number value, std::size_t width) {
  std::ostringstream stream;
  TextBuffer(stream).AddColumn(value, width);
  return stream.str();
}

template <class Number>
std::string Plain(Number value) {
  std::ostringstream stream;
  TextBuffer(stream).AddNumber(value);
  return stream.str();
}

TEST(TextBuffer, Add_KeepsTheOrderOfTextsAndNumbers) {
  std::ostringstream stream;
  TextBuffer(stream).Add("a").AddNumber(-7).Add("").AddColumn(2U, 6).AddNumber(0.5F).Add("z");
  EXPECT_EQ(stream.str(), "a-7         20.5z");
}

TEST(TextBuffer, Add_TextWithNulCharacters_KeepsThem) {
  std::ostringstream stream;
  TextBuffer(stream).Add(std::string_view("a\0b", 3));
  EXPECT_EQ(stream.str(), std::string("a\0b", 3));
}

TEST(TextBuffer, Flush_HandsOnWhatWasHeldBack) {
  std::ostringstream stream;
  TextBuffer text(stream);
  text.Add("first");
  EXPECT_EQ(stream.str(), "");
  text.Flush();
  EXPECT_EQ(stream.str(), "first");
  text.Add(" second");
  text.Flush();
  text.Flush();
  EXPECT_EQ(stream.str(), "first second");
}

TEST(TextBuffer, Destructor_HandsOnWhatIsLeft) {
  std::ostringstream stream;
  {
    TextBuffer text(stream);
    text.Add("left");
  }
  EXPECT_EQ(stream.str(), "left");
}

TEST(TextBuffer, ManySmallTexts_ReachTheStreamInFewLargePieces) {
  CountingBuffer buffer;
  std::ostream stream(&buffer);
  constexpr std::size_t kTexts = 100000;
  {
    TextBuffer text(stream);
    for (std::size_t i = 0; i < kTexts; ++i) {
      text.Add("0123456789");
    }
  }
  EXPECT_EQ(buffer.str().size(), 10 * kTexts);
  EXPECT_LE(buffer.pieces, 10U);
}

TEST(TextBuffer, TextLongerThanTheBuffer_KeepsItsPlace) {
  const std::string longText = Letters(kLong);
  std::ostringstream stream;
  TextBuffer(stream).Add("before ").Add(longText).Add(" after");
  EXPECT_EQ(stream.str(), "before " + longText + " after");
}

/// Texts of every length around that of the buffer, alone and after another.
TEST(TextBuffer, TextAsLongAsTheBuffer_IsComplete) {
  constexpr std::size_t kRoom = std::size_t{256} * 1024;
  for (std::size_t size = kRoom - 3; size <= kRoom + 3; ++size) {
    const std::string longText = Letters(size);
    std::ostringstream stream;
    TextBuffer(stream).Add(longText).Add("x").Add(longText);
    ASSERT_TRUE(stream.str() == longText + "x" + longText) << size;
  }
}

/// A column begins at every distance from the end of the buffer.
TEST(TextBuffer, ColumnsAroundTheEndOfTheBuffer_AreComplete) {
  constexpr std::size_t kRoom = std::size_t{256} * 1024;
  for (std::size_t left = 0; left <= 64; ++left) {
    const std::string before = Letters(kRoom - left);
    std::ostringstream stream;
    TextBuffer(stream).Add(before).AddColumn(-1.23457e-05F, 10).AddColumn(7U, 8).AddNumber(-12);
    ASSERT_TRUE(stream.str() == before + "    -1.23457e-05           7-12") << left;
  }
}

TEST(TextBuffer, AddColumn_IndentsByFourAndAlignsToTheRight) {
  EXPECT_EQ(Column(1.5F, 10), "           1.5");
  EXPECT_EQ(Column(42, 10), "            42");
  EXPECT_EQ(Column(4U, 6), "         4");
  EXPECT_EQ(Column(1U, 8), "           1");
  EXPECT_EQ(Column(1U, 12), "               1");
}

TEST(TextBuffer, AddColumn_NumberThatFillsItsField_HasTheIndentAlone) {
  EXPECT_EQ(Column(123456U, 6), "    123456");
  EXPECT_EQ(Column(12345678U, 8), "    12345678");
  EXPECT_EQ(Column(-0.123456F, 9), "    -0.123456");
}

TEST(TextBuffer, AddColumn_NumberWiderThanItsField_IsNotCut) {
  EXPECT_EQ(Column(4294967295U, 6), "    4294967295");
  EXPECT_EQ(Column(4294967295U, 8), "    4294967295");
  EXPECT_EQ(Column(std::numeric_limits<std::int32_t>::min(), 10), "    -2147483648");
  EXPECT_EQ(Column(-1.17549e-38F, 10), "    -1.17549e-38");
  EXPECT_EQ(Column(5U, 0), "    5");
}

TEST(TextBuffer, AddNumber_WholeNumbers_AreDecimal) {
  EXPECT_EQ(Plain(0U), "0");
  EXPECT_EQ(Plain(4294967295U), "4294967295");
  EXPECT_EQ(Plain(-2147483647 - 1), "-2147483648");
  EXPECT_EQ(Plain(std::uint64_t{18446744073709551615U}), "18446744073709551615");
}

TEST(TextBuffer, RandomNumbers_ReadAsInAStream) {
  std::mt19937 random(20240304);
  std::ostringstream stream;
  std::string expected;
  {
    TextBuffer text(stream);
    for (int i = 0; i < 60000; ++i) {
      const auto bits = static_cast<std::uint32_t>(random());
      text.AddColumn(std::bit_cast<float>(bits), 10).AddColumn(bits, 8);
      text.AddColumn(std::bit_cast<std::int32_t>(bits), 10).Add("\n");
      expected += ColumnByStream(std::bit_cast<float>(bits), 10) + ColumnByStream(bits, 8) +
                  ColumnByStream(std::bit_cast<std::int32_t>(bits), 10) + "\n";
    }
  }
  EXPECT_TRUE(stream.str() == expected);
}

TEST(TextBuffer, StreamThatTakesNothing_ShowsItInItsState) {
  FullBuffer buffer;
  std::ostream stream(&buffer);
  {
    TextBuffer text(stream);
    text.Add("lost");
    EXPECT_TRUE(stream.good());
  }
  EXPECT_TRUE(stream.bad());
}

TEST(TextBuffer, Flush_StreamSetToThrow_Throws) {
  FullBuffer buffer;
  std::ostream stream(&buffer);
  stream.exceptions(std::ios::badbit);
  TextBuffer text(stream);
  text.Add("lost");
  EXPECT_THROW(text.Flush(), std::ios::failure);
  EXPECT_THROW(text.Add(Letters(kLong)), std::ios::failure);
}

TEST(TextBuffer, Destructor_StreamSetToThrow_EndsQuietly) {
  FullBuffer buffer;
  std::ostream stream(&buffer);
  stream.exceptions(std::ios::badbit);
  { TextBuffer(stream).Add("lost"); }
  EXPECT_TRUE(stream.bad());
}

}  // namespace
}  // namespace Lbt::Util
