// Text and numbers as XML has them.

#include "XmlText.h"

#include <array>
#include <charconv>

#include "Lbt/Util/Utf8.h"

namespace LbtTev::Exchange {

namespace {

bool IsForXml(std::uint32_t point) {
  return (point >= 0x20 || point == '\t' || point == '\n') && point != 0xFFFE && point != 0xFFFF;
}

}  // namespace

std::string XmlText(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const Lbt::Util::Utf8Character character = Lbt::Util::FirstOfUtf8(text);
    const std::string_view piece = text.substr(0, character.length == 0 ? 1 : character.length);
    text.remove_prefix(piece.size());
    if (character.length == 0 || !IsForXml(character.point)) {
      result += "\xef\xbf\xbd";
    } else if (piece == "&" || piece == "<" || piece == ">" || piece == "\"" || piece == "\t" ||
               piece == "\n" || (piece == "-" && result.ends_with('-'))) {
      result += "&#" + std::to_string(character.point) + ';';
    } else {
      result += piece;
    }
  }
  // A comment must not end in it.
  if (result.ends_with('-')) {
    result.replace(result.size() - 1, 1, "&#45;");
  }
  return result;
}

std::string NumberIn(double number) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), written.ptr};
}

}  // namespace LbtTev::Exchange
