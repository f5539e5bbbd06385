// How many columns of a terminal a text takes.

#include <gtest/gtest.h>
#include <locale.h>
#include <wchar.h>

#include <cstdint>
#include <vector>

#include "tev/VisibleText.h"

namespace {

void ExpectColumns(std::size_t expected, const std::vector<std::uint32_t>& points) {
  for (const std::uint32_t point : points)
    EXPECT_EQ(ColumnsOf(point), expected) << std::hex << point;
}

TEST(ColumnsOf, LettersSignsAndUnassignedPoints_AreOne) {
  // The last four: private use, half-width forms, and the last point of all.
  ExpectColumns(1, {'a', '~', 0xA0, 0xAD, 0xFC, 0x3B1, 0x416, 0x5D0, 0x20AC, 0x2500, 0xE000, 0xFF61,
                    0xFFDC, 0x10FFFF});
}

TEST(ColumnsOf, EastAsianWideAndFullwidthCharacters_AreTwo) {
  // Hangul initials and syllables, CJK signs, kana, ideographs of three planes, full-width forms.
  ExpectColumns(2, {0x1100, 0x115F, 0x3000, 0x3042, 0x30AB, 0x4E00, 0x6F22, 0x9FFF, 0xAC00, 0xD7A3,
                    0xF900, 0xFF01, 0xFF60, 0xFFE5, 0x20000, 0x2FFFD, 0x30000});
}

TEST(ColumnsOf, Emoji_AreTwo) { ExpectColumns(2, {0x231A, 0x2705, 0x1F527, 0x1F600, 0x1F9EA}); }

TEST(ColumnsOf, MarksJoinersAndSelectors_AreNone) {
  // Accents, Hebrew points, a Devanagari sign, Hangul vowels, joiners, a mark among the kana, a
  // variation selector, the byte order mark.
  ExpectColumns(0, {0x300, 0x308, 0x36F, 0x5B0, 0x93C, 0x1161, 0x200B, 0x200D, 0x20D0, 0x3099,
                    0xFE0F, 0xFEFF, 0xE0100});
}

/// A locale in which the C library knows all characters; null where there is none.
class Utf8Locale {
 public:
  Utf8Locale() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
  ~Utf8Locale() {
    if (locale_ != nullptr)
      ::freelocale(locale_);
  }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

  [[nodiscard]] locale_t Get() const { return locale_; }

 private:
  locale_t locale_;
};

// The C library's table is another one's work of the same data. It differs where its Unicode is
// another one, and on the hexagrams and a few numbers in squares, which it takes for wide.
TEST(ColumnsOf, AlmostAllCharacters_AreAsWideAsTheCLibrarySays) {
  constexpr std::uint32_t kLast = 0x10FFFF;
  constexpr int kFew = 300;
  const Utf8Locale utf8;
  if (utf8.Get() == nullptr)
    GTEST_SKIP() << "no locale C.UTF-8";
  const locale_t before = ::uselocale(utf8.Get());
  int known = 0;
  int different = 0;
  for (std::uint32_t point = 0x20; point <= kLast; ++point) {
    const int width = ::wcwidth(static_cast<wchar_t>(point));
    known += width < 0 ? 0 : 1;
    different += width < 0 || static_cast<std::size_t>(width) == ColumnsOf(point) ? 0 : 1;
  }
  ::uselocale(before);
  EXPECT_GT(known, 200000);
  EXPECT_LE(different, kFew);
}

}  // namespace
