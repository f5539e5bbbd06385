#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

/// A table of text for people, with columns as wide as they need to be.
class Table {
 public:
  enum class Align { Left, Right };

  struct Column {
    std::string heading;
    Align align;
  };

  explicit Table(std::vector<Column> columns);

  /// Adds a row of as many cells as there are columns.
  void Add(std::vector<std::string> cells);

  /// Writes the headings and all rows, each indented by two and without blanks at its
  /// end.
  void Write(std::ostream& stream) const;

 private:
  void WriteRow(std::ostream& stream, const std::vector<std::string>& cells) const;

  std::vector<Column> columns_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<std::string>> rows_;
};
