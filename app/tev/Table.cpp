#include "tev/Table.h"

#include <algorithm>
#include <utility>

#include "tev/VisibleText.h"

namespace {

/// A longer cell sticks out, so that one long name does not make every row as long.
constexpr std::size_t kWidest = 80;

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
  std::vector<std::string> headings;
  for (const Column& column : columns_) {
    headings.push_back(column.heading);
  }
  widths_.resize(columns_.size());
  Add(std::move(headings));
}

void Table::Add(std::vector<std::string> cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    widths_[i] = std::max(widths_[i], std::min(WidthOf(cells[i]), kWidest));
  }
  rows_.push_back(std::move(cells));
}

void Table::Write(std::ostream& stream) const {
  for (const std::vector<std::string>& row : rows_) {
    WriteRow(stream, row);
  }
}

void Table::WriteRow(std::ostream& stream, const std::vector<std::string>& cells) const {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t width = WidthOf(cells[i]);
    const std::string padding(widths_[i] - std::min(widths_[i], width), ' ');
    const bool isLeft = columns_[i].align == Align::Left;
    line += "  " + (isLeft ? cells[i] + padding : padding + cells[i]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  stream << line << '\n';
}
