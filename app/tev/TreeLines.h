#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The lines that connect the items of a tree in a drawing. Items come in the order in which they
/// are drawn, each before those below it.
class TreeLines {
 public:
  /// "depths" has the depth of each item; an item is below the last one before it that is less
  /// deep.
  explicit TreeLines(const std::vector<std::size_t>& depths);

  /// What stands before the text of the next item: "│  └─ ". Deeper than 40 levels, lines stand
  /// for the last of these, and the depth is told.
  [[nodiscard]] std::string Next();

  /// What stands before a further line of the item that Next() was called for last.
  [[nodiscard]] std::string Further() const;

 private:
  struct Item {
    std::size_t depth;
    bool isLast;  ///< of its siblings
    bool hasChildren;
  };

  std::vector<Item> items_;
  std::size_t next_ = 0;
  std::vector<bool> isOpen_;  ///< whether siblings of the ancestor at that depth follow
};
