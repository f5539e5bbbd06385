#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// Writes a table of text for people, row by row. Columns are as wide as the rows need that come
/// first; these are held back until the widths are known, later ones that need more stick out.
class Table {
 public:
  enum class Align { Left, Right };

  struct Column {
    std::string heading;
    Align align;
    std::size_t width = 0;  ///< what it has at least
  };

  /// How its lines are.
  struct Style {
    std::optional<std::size_t> limit{};  ///< columns to which they are cut
    std::size_t indent = 2;
  };

  /// "stream" must outlive this.
  Table(std::ostream& stream, std::vector<Column> columns, Style style);
  Table(std::ostream& stream, std::vector<Column> columns)
      : Table(stream, std::move(columns), Style()) {}

  /// Adds a row; of fewer cells than there are columns where the last ones are empty. Lines have
  /// no blanks at their end.
  void Add(std::vector<std::string> cells);

  /// Writes the rows that are held back.
  void Finish();

 private:
  void WriteRow(const std::vector<std::string>& cells) const;

  std::ostream* stream_;
  std::vector<Column> columns_;
  Style style_;
  std::vector<std::vector<std::string>> rows_;  // those that are held back
  bool areWidthsKnown_ = false;
};
