// What a file looks like that lacks the signature of a model.

#include "Lbt/Tev/Check/ForeignFile.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "Lbt/Lbf/LbFile.h"

namespace LbtTev::Check {

using namespace std::string_view_literals;

namespace {

struct Look {
  std::string_view start;
  std::string_view name;
};

/// The signature has both ends of lines and a byte above 127, so that a transfer which takes the
/// file for text shows.
constexpr std::array<Look, 12> kLooks{{
    {"\x89LBF\n\x1a\n"sv, "a Tev file whose line ends a transfer has converted"sv},
    {"\x89LBF\r\x1a\r"sv, "a Tev file whose line ends a transfer has converted"sv},
    {"\x89LBF\n\n\x1a\n"sv, "a Tev file whose line ends a transfer has converted"sv},
    {"\x89LBF\r\r\n\x1a\r\n"sv, "a Tev file whose line ends a transfer has converted"sv},
    {"\x89LBF\r\n\x1a\r\n"sv, "a Tev file whose line ends a transfer has converted"sv},
    {"\tLBF\r\n\x1a\n"sv, "a Tev file that a transfer has cut to seven bits"sv},
    {"\xc2\x89LBF"sv, "a Tev file that was converted to UTF-8"sv},
    {"\xef\xbf\xbdLBF"sv, "a Tev file that was converted to UTF-8"sv},
    {"\x1f\x8b"sv, "a gzip file"sv},
    {"PK\x03\x04"sv, "a zip file"sv},
    {"BZh"sv, "a bzip2 file"sv},
    {"\xfd"
     "7zXZ\0"sv,
     "an xz file"sv},
}};

bool BeginsWithIgnoringCase(std::string_view text, std::string_view start) {
  return text.size() >= start.size() &&
         std::ranges::equal(text.substr(0, start.size()), start, [](unsigned char one, char other) {
           return std::tolower(one) == other;
         });
}

bool IsHtml(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n\xef\xbb\xbf");
  const std::string_view start = text.substr(std::min(first, text.size()));
  return BeginsWithIgnoringCase(start, "<!doctype html") || BeginsWithIgnoringCase(start, "<html");
}

/// No control characters but those of lines and tabs. What is above 127 may be text of any kind.
bool IsText(std::string_view text) {
  return std::ranges::none_of(text, [](unsigned char character) {
    return std::iscntrl(character) != 0 &&
           std::string_view("\t\n\v\f\r").find(static_cast<char>(character)) ==
               std::string_view::npos;
  });
}

bool IsZeros(std::string_view text) {
  return text.find_first_not_of('\0') == std::string_view::npos;
}

}  // namespace

std::string_view LookOf(std::string_view start) {
  start = start.substr(0, kLookedAt);
  if (start.empty()) {
    return "an empty file";
  }
  if (LbtLbf::LbFile::kSignature.starts_with(start)) {
    return "the first bytes of a Tev file";
  }
  const auto* const known =
      std::ranges::find_if(kLooks, [&](const Look& look) { return start.starts_with(look.start); });
  if (known != kLooks.end()) {
    return known->name;
  }
  if (IsZeros(start)) {
    return "a file of zeros";
  }
  return IsHtml(start) ? "HTML" : IsText(start) ? "text" : "";
}

}  // namespace LbtTev::Check
