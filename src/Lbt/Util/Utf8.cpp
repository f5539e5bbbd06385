// Decodes characters of UTF-8.

#include "Lbt/Util/Utf8.h"

#include <algorithm>

namespace Lbt::Util {

namespace {

/// The form that all sequences with a first byte have.
struct Form {
  std::size_t length;
  std::uint32_t bits;   // of the code point in the first byte
  std::uint32_t least;  // less would be a longer form than needed
};

Form FormOf(unsigned char first) {
  if (first < 0x80) {
    return {1, first, 0};
  }
  if (first >= 0xC0 && first < 0xE0) {
    return {2, first & 0x1FU, 0x80};
  }
  if (first >= 0xE0 && first < 0xF0) {
    return {3, first & 0x0FU, 0x800};
  }
  if (first >= 0xF0 && first < 0xF8) {
    return {4, first & 0x07U, 0x10000};
  }
  return {0, 0, 0};
}

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

bool IsScalar(std::uint32_t point, std::uint32_t least) {
  const bool isSurrogate = point >= 0xD800 && point < 0xE000;
  return point >= least && point <= 0x10FFFF && !isSurrogate;
}

}  // namespace

Utf8Character FirstOfUtf8(std::string_view text) {
  const Form form = FormOf(static_cast<unsigned char>(text.front()));
  const std::string_view rest = text.substr(1, form.length == 0 ? 0 : form.length - 1);
  if (rest.size() + 1 != form.length || !std::ranges::all_of(rest, IsContinuation)) {
    return {};
  }
  std::uint32_t point = form.bits;
  for (const char c : rest) {
    point = (point << 6U) | (static_cast<unsigned char>(c) & 0x3FU);
  }
  return IsScalar(point, form.least) ? Utf8Character{form.length, point} : Utf8Character{};
}

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  while (!text.empty()) {
    const std::size_t length = FirstOfUtf8(text).length;
    valid += length == 0 ? "\xef\xbf\xbd" : text.substr(0, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return valid;
}

}  // namespace Lbt::Util
