// The document of the file format says what the readers read: each row of its tables, in each
// version, is written as it says and read with the library.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "FormatReadings.h"
#include "FormatTables.h"
#include "Lbt/Tev/Vocabulary.h"
#include "support/Attributes.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace LbtTev {
namespace {

using tevtest::FormatRow;
using tevtest::FormatTable;

std::string Document() {
  return tevtest::ReadFile(std::string(TEVINFO_SOURCE_DIR) + "/docs/format.md");
}

/// A record that is written row by row, with the values that are to be read again.
struct Written {
  Record record;
  Values values;
};

/// The attribute set that a text such as "key=5" stands for.
std::string AttributesOf(const std::string& value) {
  const auto equals = value.find('=');
  const auto number = static_cast<std::uint32_t>(std::stoul(value.substr(equals + 1)));
  return tevtest::AttributeSet{tevtest::Attribute::Uint(value.substr(0, equals), number)}.Encode();
}

void WriteRow(const FormatRow& row, const std::string& value, Written& written) {
  const std::string bytes = tevtest::Encode(row.type, value);
  if (row.bytes != "rest") {
    EXPECT_EQ(bytes.size(), tevtest::StatedSize(row.bytes, value)) << row.field;
  }
  written.record.bytes += bytes;
  if (row.type == "attribute set") {
    written.record.attributes = AttributesOf(value);
  }
  written.values.emplace(row.field, value);
}

Written Write(const FormatTable& table, const std::string& version, const Values& fixed) {
  Written written{{.version = version, .bytes = {}, .attributes = {}}, {}};
  const std::vector<FormatRow> rows = table.RowsOf(version);
  const bool isSized = !rows.empty() && rows.front().field == "record size";
  for (unsigned int number = 0; number < rows.size(); ++number) {
    const FormatRow& row = rows[number];
    const auto found = fixed.find(row.field);
    WriteRow(row,
             isSized && row.field == "version" ? version
             : found != fixed.end()            ? found->second
                                               : tevtest::SampleOf(row.type, number),
             written);
  }
  if (isSized) {
    tevtest::PatchU32(written.record.bytes, 0, tevtest::Narrow(written.record.bytes.size()));
  }
  return written;
}

/// Writes a record, reads it, and compares each value that is kept.
void ExpectRead(const FormatTable& table, const std::string& version) {
  SCOPED_TRACE(table.title + " of version \"" + version + "\"");
  const Reading& reading = FormatReadings().at(table.title);
  const Written written = Write(table, version, reading.fixed);
  const Values read = reading.read(written.record);
  for (const auto& [field, value] : written.values) {
    if (!reading.lost.contains(field)) {
      EXPECT_EQ(read.contains(field) ? read.at(field) : "(not read)", value) << field;
    }
  }
}

TEST(FormatDocument, EachTable_IsWhatTheReadersRead) {
  std::set<std::string> seen;
  for (const FormatTable& table : tevtest::FormatTablesOf(Document())) {
    seen.insert(table.title);
    ASSERT_TRUE(FormatReadings().contains(table.title)) << table.title;
    for (const std::string& version : table.versions) {
      ExpectRead(table, version);
    }
    if (!table.othersAs.empty()) {
      ExpectRead(table, "9.9");
    }
  }
  for (const auto& [title, reading] : FormatReadings()) {
    EXPECT_TRUE(seen.contains(title)) << title;
  }
}

TEST(FormatDocument, EachType_TakesTheBytesThatItSays) {
  const auto rows = tevtest::CellsBelow(Document(), "| Type | Bytes | How it is stored |");
  EXPECT_EQ(rows.size(), 13U);
  for (const std::vector<std::string>& cells : rows) {
    for (unsigned int number = 0; number < 3; ++number) {
      const std::string sample = tevtest::SampleOf(cells.at(0), number);
      const std::string value = cells.at(0).starts_with("list") ? sample + ' ' + sample : sample;
      EXPECT_EQ(tevtest::Encode(cells.at(0), value).size(), tevtest::StatedSize(cells.at(1), value))
          << cells.at(0);
    }
  }
}

TEST(FormatDocument, Streams_AreThoseOfTheModel) {
  std::set<std::string> named;
  for (const auto& cells : tevtest::CellsBelow(Document(), "| Stream | What it holds |")) {
    named.insert(cells.at(0));
  }
  const StreamNames names;
  std::set<std::string> known;
  for (const std::string& name :
       {names.tree, names.light, names.heavy, names.attributes, names.resources, names.global}) {
    known.insert('`' + name + '`');
  }
  EXPECT_EQ(named, known);
}

}  // namespace
}  // namespace LbtTev
