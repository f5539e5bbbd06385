// Bytes as hexadecimal text, and back.

#include "Hex.h"

#include <cstddef>
#include <stdexcept>

namespace tevtest {
namespace {

unsigned int Digit(char c) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t value = kDigits.find(c);
  if (value == std::string_view::npos)
    throw std::invalid_argument("no hexadecimal digit");
  return static_cast<unsigned int>(value);
}

char Byte(std::string_view pair) {
  if (pair.size() != 2)
    throw std::invalid_argument("half a byte");
  return static_cast<char>(static_cast<unsigned char>(Digit(pair[0]) * 16 + Digit(pair[1])));
}

/// The text up to the closing apostrophe.
std::string_view Quoted(std::string_view text) {
  const std::size_t end = text.find('\'');
  if (end == std::string_view::npos)
    throw std::invalid_argument("no closing apostrophe");
  return text.substr(0, end);
}

}  // namespace

std::string Hex(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    std::size_t used = 1;
    if (text.front() == '\'') {
      const std::string_view quoted = Quoted(text.substr(1));
      bytes.append(quoted);
      used = quoted.size() + 2;
    } else if (text.front() != ' ') {
      bytes.push_back(Byte(text.substr(0, 2)));
      used = 2;
    }
    text.remove_prefix(used);
  }
  return bytes;
}

}  // namespace tevtest
