// Text and numbers for people, fit for terminals.

#include "tev/VisibleText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "Lbt/Util/Utf8.h"

using Lbt::Util::FirstOfUtf8;
using Lbt::Util::Utf8Character;

namespace {

/// Marks that turn the direction of text around would show a name as another one.
bool IsDirection(std::uint32_t point) {
  return point == 0x061C || point == 0x200E || point == 0x200F ||
         (point >= 0x2028 && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069);
}

/// The C1 controls count: some terminals obey them.
bool IsControl(std::uint32_t point) {
  return point < 0x20 || (point >= 0x7F && point < 0xA0) || IsDirection(point);
}

/// The character that "text" starts with, where it is printable; else of length 0.
Utf8Character FirstCharacter(std::string_view text) {
  const Utf8Character character = FirstOfUtf8(text);
  return IsControl(character.point) ? Utf8Character{} : character;
}

/// How many bytes "text" begins with that are printable characters of ASCII. Most names are nothing
/// else, and long ones are to cost little.
std::size_t PlainLength(std::string_view text) {
  const auto isOther = [](char c) { return c < ' ' || c > '~'; };
  return static_cast<std::size_t>(std::ranges::find_if(text, isOther) - text.begin());
}

/// How many bytes may be shown as they are, before what may not.
std::size_t VisibleLength(std::string_view text) {
  const std::size_t plain = PlainLength(text);
  return plain != 0 ? plain : FirstCharacter(text).length;
}

void AppendByte(std::string& text, unsigned char byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  text += "\\x";
  text += kDigits[byte >> 4U];
  text += kDigits[byte & 0xFU];
}

}  // namespace

std::string VisibleText(std::string_view text) {
  std::string visible;
  while (!text.empty()) {
    const std::size_t length = VisibleLength(text);
    if (length == 0) {
      AppendByte(visible, static_cast<unsigned char>(text.front()));
    } else {
      visible += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return visible;
}

std::string EscapedForJson(std::string_view json) {
  std::string escaped;
  while (!json.empty()) {
    const std::size_t plain = PlainLength(json);
    escaped += json.substr(0, plain);
    json.remove_prefix(plain);
    if (json.empty()) {
      break;
    }
    const Utf8Character character = FirstOfUtf8(json);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    if (character.point >= 0x7F && IsControl(character.point)) {
      constexpr std::string_view kDigits = "0123456789abcdef";
      escaped += "\\u";
      for (int shift = 12; shift >= 0; shift -= 4) {
        escaped += kDigits[(character.point >> static_cast<unsigned>(shift)) & 0xFU];
      }
    } else {
      escaped += json.substr(0, length);
    }
    json.remove_prefix(length);
  }
  return escaped;
}

bool IsPlainInJson(std::string_view text) {
  return PlainLength(text) == text.size() && text.find_first_of("\"\\") == std::string_view::npos;
}

std::string QuotedText(std::string_view text) { return '"' + VisibleText(text) + '"'; }

std::string OneLine(std::string_view text) {
  std::string line(text.substr(0, text.find_last_not_of('\n') + 1));
  std::ranges::replace(line, '\n', ' ');
  return line;
}

std::size_t WidthOf(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const std::size_t plain = PlainLength(text);
    width += plain;
    text.remove_prefix(plain);
    if (text.empty()) {
      break;
    }
    const Utf8Character character = FirstCharacter(text);
    width += ColumnsOf(character.point);
    text.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
  return width;
}

std::string FirstColumns(std::string_view text, std::size_t columns) {
  std::string_view rest = text;
  while (!rest.empty()) {
    const Utf8Character character = FirstCharacter(rest);
    const std::size_t width = ColumnsOf(character.point);
    if (width > columns) {
      break;
    }
    columns -= width;
    rest.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
  return std::string(text.substr(0, text.size() - rest.size()));
}

std::string Counted(std::uint64_t count, const std::string& what) {
  const char* plural = what.ends_with("sh") ? "es" : "s";
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : plural);
}

std::string CountedOrDash(const std::optional<double>& count, const std::string& what) {
  return NumberOrDash(count) + ' ' + what + (count == 1 ? "" : "s");
}

namespace {

template <class T>
std::string ShortestText(T number) {
  if (!std::isfinite(number)) {
    return std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf";
  }
  std::array<char, 64> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), written.ptr};
}

}  // namespace

std::string ExactText(double number) { return ShortestText(number); }

std::string ExactText(float number) { return ShortestText(number); }

std::string NumberText(double number) {
  constexpr double kMostWithoutExponent = 1e15;
  const bool isWhole = std::trunc(number) == number && std::fabs(number) < kMostWithoutExponent;
  const bool hasLostSign = number == 0 && std::signbit(number);  // as an integer
  return isWhole && !hasLostSign ? std::to_string(static_cast<std::int64_t>(number))
                                 : ExactText(number);
}

std::string NumberOrDash(const std::optional<double>& number) {
  return number ? NumberText(*number) : "-";
}

std::string MeanText(double mean) {
  constexpr double kHundredths = 100;
  return NumberText(std::round(mean * kHundredths) / kHundredths);
}

std::string MeanNodesText(double mean) {
  const std::string text = MeanText(mean);
  return text + (text == "1" ? " node" : " nodes");
}
