// Hides what differs from run to run: times, lines of sources, sizes of memory.

#include "Mask.h"

#include <cctype>
#include <cstddef>

namespace tevtest {
namespace {

bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

bool IsNumber(std::string_view text) {
  for (const char c : text) {
    if (!IsDigit(c))
      return false;
  }
  return !text.empty();
}

/// Whether "text" has the form "Mon Mar  4 09:12:44 2024". A stands for a letter, 9 for a digit,
/// 8 for a digit or a blank.
bool IsCalendarTime(std::string_view text) {
  constexpr std::string_view kForm = "AAA AAA 89 99:99:99 9999";
  if (text.size() != kForm.size())
    return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const char c = text[i];
    const bool isLetter = std::isalpha(static_cast<unsigned char>(c)) != 0;
    const bool matches = kForm[i] == 'A'   ? isLetter
                         : kForm[i] == '9' ? IsDigit(c)
                         : kForm[i] == '8' ? IsDigit(c) || c == ' '
                                           : c == kForm[i];
    if (!matches)
      return false;
  }
  return true;
}

/// "line" with what stands between "before" and "after" as "#", if "isValue" accepts it.
std::string MaskBetween(std::string_view line, std::string_view before, std::string_view after,
                        bool (*isValue)(std::string_view)) {
  const bool framed = line.size() >= before.size() + after.size() &&
                      line.substr(0, before.size()) == before &&
                      line.substr(line.size() - after.size()) == after;
  if (!framed)
    return std::string(line);
  const auto value = line.substr(before.size(), line.size() - before.size() - after.size());
  return isValue(value) ? std::string(before) + "#" + std::string(after) : std::string(line);
}

std::string MaskLogLine(std::string_view line) {
  const std::size_t first = line.find(" : ");
  const std::size_t at = line.find(" @ ");
  if (first == std::string_view::npos || at == std::string_view::npos)
    return std::string(line);
  return MaskBetween(line, line.substr(0, first + 3), line.substr(at), IsNumber);
}

/// Applies "mask" to each line; line feeds stay as they are.
template <typename MaskLine>
std::string EachLine(std::string_view text, MaskLine mask) {
  std::string out;
  while (!text.empty()) {
    const std::size_t feed = text.find('\n');
    out += mask(text.substr(0, feed));
    if (feed == std::string_view::npos)
      break;
    out += '\n';
    text.remove_prefix(feed + 1);
  }
  return out;
}

}  // namespace

std::string MaskPeakMemory(std::string_view text) {
  return EachLine(text, [](std::string_view line) {
    return MaskBetween(line, "Peak Memory Usage: ", " Mb", IsNumber);
  });
}

std::string MaskException(std::string_view text, LineNumber line) {
  return EachLine(text, [line](std::string_view full) {
    const std::string timeMasked = MaskBetween(full, "       Time : ", "", IsCalendarTime);
    if (line == LineNumber::Kept)
      return timeMasked;
    return MaskBetween(timeMasked, "       Line : ", " ", IsNumber);
  });
}

std::string MaskLog(std::string_view text) { return EachLine(text, MaskLogLine); }

std::string ExpectedException(std::string_view typeName, std::string_view description,
                              std::string_view file, std::string_view line) {
  std::string text = "Exception \"";
  text.append(typeName).append("\" raised. \n");
  text.append("Description : ").append(description).append(" \n");
  text.append("       File : ").append(file).append(" \n");
  text.append("       Line : ").append(line).append(" \n");
  text.append("     Method : <unknown> \n");
  text.append("       Time : #\n \n");
  return text;
}

std::string ExpectedFailure(std::string_view typeName, std::string_view description,
                            std::string_view file, std::string_view line) {
  return "Exception: " + ExpectedException(typeName, description, file, line) + "\n";
}

}  // namespace tevtest
