// Tables of text for people.

#include "tev/Table.h"

#include <algorithm>
#include <utility>

#include "tev/VisibleText.h"

namespace {

/// A longer cell sticks out, so that one long name does not make every row as long.
constexpr std::size_t kWidest = 80;

constexpr std::size_t kHeldBack = 250;

}  // namespace

Table::Table(std::ostream& stream, std::vector<Column> columns, Style style)
    : stream_(&stream), columns_(std::move(columns)), style_(style) {
  std::vector<std::string> headings;
  for (const Column& column : columns_) {
    headings.push_back(column.heading);
  }
  Add(std::move(headings));
}

void Table::Add(std::vector<std::string> cells) {
  if (areWidthsKnown_) {
    WriteRow(cells);
    return;
  }
  for (std::size_t i = 0; i < cells.size(); ++i) {
    columns_[i].width = std::max(columns_[i].width, std::min(WidthOf(cells[i]), kWidest));
  }
  rows_.push_back(std::move(cells));
  if (rows_.size() > kHeldBack) {
    Finish();
  }
}

void Table::Finish() {
  areWidthsKnown_ = true;
  for (const std::vector<std::string>& row : std::exchange(rows_, {})) {
    WriteRow(row);
  }
}

void Table::WriteRow(const std::vector<std::string>& cells) const {
  std::string line(style_.indent, ' ');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t width = WidthOf(cells[i]);
    const std::string padding(columns_[i].width - std::min(columns_[i].width, width), ' ');
    const bool isLeft = columns_[i].align == Align::Left;
    line += std::string(i == 0 ? 0 : 2, ' ') + (isLeft ? cells[i] + padding : padding + cells[i]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  *stream_ << (style_.limit ? FirstColumns(line, *style_.limit) : line) << '\n';
}
