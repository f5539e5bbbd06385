// Reads the tables of the format's document, and writes values as these say.

#include "FormatTables.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"

namespace tevtest {
namespace {

constexpr std::string_view kFields = "| Field | Type | Bytes | Versions |";

std::string Trimmed(std::string_view text) {
  const std::size_t from = text.find_first_not_of(' ');
  return from == std::string_view::npos
             ? ""
             : std::string(text.substr(from, text.find_last_not_of(' ') + 1 - from));
}

/// The parts of a text between separators, without the blanks around them.
std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(separator, at), text.size());
    parts.push_back(Trimmed(text.substr(at, end - at)));
    at = end + 1;
  }
  return parts;
}

std::vector<std::string> CellsOf(const std::string& line) {
  return Split(std::string_view(line).substr(1, line.size() - 2), '|');
}

bool IsTableLine(const std::string& line) { return line.starts_with("| "); }

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

/// Takes "Versions: 0.1, 0.2; others are read as 0.2" out of the text above a table.
void TakeVersions(const std::string& text, FormatTable& table) {
  const std::size_t start = text.find("Versions");
  if (start == std::string::npos) {
    return;
  }
  const std::size_t colon = text.find(':', start);
  const std::size_t end = std::min(text.find('\n', colon), text.find(';', colon));
  table.versions = Split(text.substr(colon + 1, end - colon - 1), ',');
  constexpr std::string_view kOthers = "others are read as ";
  if (const std::size_t others = text.find(kOthers); others != std::string::npos) {
    const std::size_t from = others + kOthers.size();
    table.othersAs = Trimmed(text.substr(from, text.find('\n', from) - from));
  }
}

template <class Number>
std::vector<Number> NumbersIn(const std::string& value) {
  std::vector<Number> numbers;
  for (const std::string& word : Words(value)) {
    numbers.push_back(static_cast<Number>(std::stod(word)));
  }
  return numbers;
}

std::string EncodeFloats(const std::string& value) {
  ByteWriter writer;
  for (const float number : NumbersIn<float>(value)) {
    writer.F32(number);
  }
  return writer.Bytes();
}

using Encoder = std::function<ByteWriter(const std::string&)>;

std::uint32_t U32Of(const std::string& value) {
  return static_cast<std::uint32_t>(std::stoul(value));
}

const std::map<std::string, Encoder>& Encoders() {
  static const std::map<std::string, Encoder> encoders{
      {"u8", [](auto& value) { return ByteWriter().U8(static_cast<std::uint8_t>(U32Of(value))); }},
      {"bool", [](auto& value) { return ByteWriter().U8(value == "1" ? 2 : 0); }},
      {"u32", [](auto& value) { return ByteWriter().U32(U32Of(value)); }},
      {"i32", [](auto& value) { return ByteWriter().I32(std::stoi(value)); }},
      {"u64", [](auto& value) { return ByteWriter().U64(std::stoull(value)); }},
      {"f32", [](auto& value) { return ByteWriter().F32(std::stof(value)); }},
      {"f64", [](auto& value) { return ByteWriter().F64(std::stod(value)); }},
      {"text", [](auto& value) { return ByteWriter().Text(value); }},
      {"list of u8", [](auto& value) { return ByteWriter().U8s(NumbersIn<std::uint8_t>(value)); }},
      {"list of u32",
       [](auto& value) { return ByteWriter().U32s(NumbersIn<std::uint32_t>(value)); }},
      {"list of f32", [](auto& value) { return ByteWriter().F32s(NumbersIn<float>(value)); }},
      {"list of f64", [](auto& value) { return ByteWriter().F64s(NumbersIn<double>(value)); }},
      {"list of text", [](auto& value) { return ByteWriter().Texts(Words(value)); }},
      {"3 f32", [](auto& value) { return ByteWriter().Raw(EncodeFloats(value)); }},
      {"4 f32", [](auto& value) { return ByteWriter().Raw(EncodeFloats(value)); }},
      {"4 characters",
       [](auto& value) { return ByteWriter().Raw(value + std::string(4 - value.size(), '\0')); }},
      {"zlib stream", [](auto& value) { return ByteWriter().Raw(Deflate(value)); }},
      {"skipped", [](auto& value) { return ByteWriter().Raw(value); }},
      {"attribute set", [](auto&) { return ByteWriter(); }},
  };
  return encoders;
}

/// "89 4C" as the two bytes that it names.
std::string BytesIn(const std::string& hexadecimal) {
  std::string bytes;
  for (const std::string& word : Words(hexadecimal)) {
    bytes.push_back(static_cast<char>(std::stoi(word, nullptr, 16)));
  }
  return bytes;
}

}  // namespace

std::vector<FormatRow> FormatTable::RowsOf(const std::string& version) const {
  const auto order = [this](const std::string& text) {
    const auto known = std::find(versions.begin(), versions.end(), text);
    return (known == versions.end() ? std::find(versions.begin(), versions.end(), othersAs)
                                    : known) -
           versions.begin();
  };
  std::vector<FormatRow> some;
  for (const FormatRow& row : rows) {
    const std::vector<std::string> words = Words(row.versions);
    if (words.at(0) == "all" || (words.at(0) == "from" && order(version) >= order(words.at(1))) ||
        (words.at(0) == "to" && order(version) <= order(words.at(1)))) {
      some.push_back(row);
    }
  }
  return some;
}

std::vector<FormatTable> FormatTablesOf(const std::string& document) {
  std::vector<FormatTable> tables;
  std::istringstream stream(document);
  std::string title;
  std::string above;
  bool isInFields = false;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("##")) {
      title = Trimmed(line.substr(line.find(' ')));
      above.clear();
    } else if (line == kFields) {
      isInFields = true;
      tables.emplace_back();
      tables.back().title = title;
      TakeVersions(above, tables.back());
    } else if (isInFields && IsTableLine(line)) {
      const std::vector<std::string> cells = CellsOf(line);
      tables.back().rows.push_back({cells.at(0), cells.at(1), cells.at(2), cells.at(3)});
    } else if (!line.starts_with("|")) {
      isInFields = false;
      above += line + '\n';
    }
  }
  return tables;
}

std::vector<std::vector<std::string>> CellsBelow(const std::string& document,
                                                 std::string_view heading) {
  std::istringstream stream(document);
  std::vector<std::vector<std::string>> rows;
  bool isInTable = false;
  for (std::string line; std::getline(stream, line);) {
    if (isInTable && IsTableLine(line)) {
      rows.push_back(CellsOf(line));
    }
    isInTable = line == heading || (isInTable && line.starts_with("|"));
  }
  return rows;
}

std::string Encode(const std::string& type, const std::string& value) {
  if (const auto known = Encoders().find(type); known != Encoders().end()) {
    return known->second(value).Bytes();
  }
  return BytesIn(type);
}

std::string SampleOf(const std::string& type, unsigned int number) {
  const std::string digits = std::to_string(number + 20);
  if (type == "bool") {
    return number % 2 == 0 ? "0" : "1";
  }
  if (type == "attribute set") {
    return "key=" + digits;
  }
  if (type.ends_with("text")) {
    return "text" + digits;
  }
  const std::string item = type.find('f') < type.find("u") ? digits + ".5" : digits;
  const unsigned int count = type.ends_with(" f32") && !type.starts_with("list")
                                 ? static_cast<unsigned int>(type.front() - '0')
                                 : 1;
  std::string items = item;
  for (unsigned int i = 1; i < count; ++i) {
    items += ' ' + std::to_string(i) + item;
  }
  return items;
}

std::size_t StatedSize(const std::string& bytes, const std::string& value) {
  const std::vector<std::string> items = Words(value);
  std::size_t size = 0;
  for (const std::string& part : Split(bytes, '+')) {
    const std::vector<std::string> factors = Words(part);
    if (factors.back() == "length" || factors.back() == "size") {
      size += value.size();
    } else if (factors.back() == "texts") {
      size += std::accumulate(items.begin(), items.end(), std::size_t{0},
                              [](std::size_t sum, auto& text) { return sum + 4 + text.size(); });
    } else if (factors.back() == "count") {
      size += items.size() * (factors.size() == 1 ? 1 : std::stoul(factors.front()));
    } else if (factors.back() != "elsewhere") {
      size += std::stoul(part);
    }
  }
  return size;
}

}  // namespace tevtest
