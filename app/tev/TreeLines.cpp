// The lines that connect the items of a drawn tree.

#include "tev/TreeLines.h"

#include <algorithm>

namespace {

constexpr std::size_t kDeepest = 40;

constexpr const char* kThrough = "\u2502  ";
constexpr const char* kGap = "   ";
constexpr const char* kBranch = "\u251c\u2500 ";
constexpr const char* kLastBranch = "\u2514\u2500 ";

}  // namespace

TreeLines::TreeLines(const std::vector<std::size_t>& depths) : items_(depths.size()) {
  std::vector<bool> hasLater;  // by depth: of what follows below the same parent
  for (std::size_t i = depths.size(); i-- > 0;) {
    const std::size_t depth = depths[i];
    hasLater.resize(std::max(hasLater.size(), depth + 1));
    items_[i] = {depth, !hasLater[depth], i + 1 < depths.size() && depths[i + 1] > depth};
    hasLater.resize(depth + 1);
    hasLater[depth] = true;
  }
}

std::string TreeLines::Next() {
  const Item& item = items_[next_++];
  isOpen_.resize(item.depth + 1);
  isOpen_[item.depth] = !item.isLast;
  std::string text;
  for (std::size_t depth = 1; depth < std::min(item.depth, kDeepest); ++depth) {
    text += isOpen_[depth] ? kThrough : kGap;
  }
  if (item.depth > 0) {
    text += item.isLast ? kLastBranch : kBranch;
  }
  return item.depth > kDeepest ? text + "(depth " + std::to_string(item.depth) + ") " : text;
}

std::string TreeLines::Further() const {
  const Item& item = items_[next_ - 1];
  std::string text;
  for (std::size_t depth = 1; depth <= std::min(item.depth, kDeepest); ++depth) {
    text += isOpen_[depth] ? kThrough : kGap;
  }
  return text + (item.hasChildren ? kThrough : kGap);
}
