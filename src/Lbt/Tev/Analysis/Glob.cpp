// Matches names with shell globs.
#include <algorithm>

#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

namespace {

/// The first character of a text that is not empty: a byte and what continues it.
std::string_view FirstCharacter(std::string_view text) {
  constexpr unsigned char kMark = 0xC0;
  constexpr unsigned char kContinuation = 0x80;
  constexpr std::size_t kMost = 4;
  std::size_t length = 1;
  while (length < std::min(text.size(), kMost) &&
         (static_cast<unsigned char>(text[length]) & kMark) == kContinuation) {
    ++length;
  }
  return text.substr(0, length);
}

/// Takes the first character off.
std::string_view TakeCharacter(std::string_view& text) {
  const std::string_view taken = FirstCharacter(text);
  text.remove_prefix(taken.size());
  return taken;
}

/// Where the set that "glob" begins with ends, after its bracket; 0 where it has no end. A
/// bracket that comes first is one of the set.
std::size_t LengthOfSet(std::string_view glob) {
  const bool isNegated = glob.size() > 1 && (glob[1] == '!' || glob[1] == '^');
  const std::size_t end = glob.find(']', isNegated ? 3 : 2);
  return end == std::string_view::npos ? 0 : end + 1;
}

/// Whether a set, from bracket to bracket, has the character. In UTF-8 bytes are in the order
/// of characters.
bool SetHas(std::string_view set, std::string_view character) {
  set = set.substr(1, set.size() - 2);
  const bool isNegated = set.starts_with('!') || set.starts_with('^');
  set.remove_prefix(isNegated ? 1 : 0);
  bool has = false;
  while (!set.empty()) {
    const std::string_view first = TakeCharacter(set);
    std::string_view last = first;
    if (set.size() > 1 && set.front() == '-') {
      set.remove_prefix(1);
      last = TakeCharacter(set);
    }
    has = has || (first <= character && character <= last);
  }
  return has != isNegated;
}

/// Takes one character off both where it fits.
bool TakeFitting(std::string_view& text, std::string_view& glob) {
  const std::size_t setLength = glob.front() == '[' ? LengthOfSet(glob) : 0;
  const std::string_view expected =
      setLength != 0 ? glob.substr(0, setLength) : FirstCharacter(glob);
  const std::string_view character = FirstCharacter(text);
  const bool fits =
      setLength != 0 ? SetHas(expected, character) : expected == "?" || expected == character;
  if (fits) {
    text.remove_prefix(character.size());
    glob.remove_prefix(expected.size());
  }
  return fits;
}

}  // namespace

bool FitsGlob(std::string_view text, std::string_view glob) {
  // The last star takes ever more, which is enough: what an earlier one takes can stay.
  std::optional<std::string_view> afterStar;
  std::string_view textAtStar;
  while (!text.empty()) {
    if (glob.starts_with('*')) {
      glob.remove_prefix(1);
      afterStar = glob;
      textAtStar = text;
    } else if (glob.empty() || !TakeFitting(text, glob)) {
      if (!afterStar) {
        return false;
      }
      static_cast<void>(TakeCharacter(textAtStar));
      text = textAtStar;
      glob = *afterStar;
    }
  }
  return glob.find_first_not_of('*') == std::string_view::npos;
}

}  // namespace LbtTev::Analysis
