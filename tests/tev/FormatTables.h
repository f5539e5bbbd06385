#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tevtest {

/// A row of a table of docs/format.md: a field of a record.
struct FormatRow {
  std::string field;
  std::string type;
  std::string bytes;     ///< how many, as the document says it
  std::string versions;  ///< "all", "from V" or "to V"
};

/// A table of fields with its heading and the versions that the text above it names.
struct FormatTable {
  std::string title;
  std::vector<std::string> versions{""};  ///< in their order; one empty text where none are named
  std::string othersAs;                   ///< the version whose layout all other versions have
  std::vector<FormatRow> rows;

  /// The rows that a record of that version has.
  [[nodiscard]] std::vector<FormatRow> RowsOf(const std::string& version) const;
};

/// The tables of fields in the text of docs/format.md, in their order.
[[nodiscard]] std::vector<FormatTable> FormatTablesOf(const std::string& document);

/// The cells of the rows of the table that has this heading line, such as "| Type | Bytes |".
[[nodiscard]] std::vector<std::vector<std::string>> CellsBelow(const std::string& document,
                                                               std::string_view heading);

/// A value as it is stored: of the types that the document names, written as a text. Lists are
/// words with blanks between them. Throws std::invalid_argument for a type that is unknown.
[[nodiscard]] std::string Encode(const std::string& type, const std::string& value);

/// A value of that type that is like no other of the same record: "number" tells them apart.
[[nodiscard]] std::string SampleOf(const std::string& type, unsigned int number);

/// How many bytes "value" takes by what the document says of them.
[[nodiscard]] std::size_t StatedSize(const std::string& bytes, const std::string& value);

}  // namespace tevtest
