#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

namespace LbtTev {

/// Values of fields as texts.
using Values = std::map<std::string, std::string>;

/// A record as the document has it, and what it has in the stream of attributes.
struct Record {
  std::string version;
  std::string bytes;
  std::string attributes;
};

/// How the library reads a record of one table.
struct Reading {
  Values fixed;                ///< values that the record must have to be read
  std::set<std::string> lost;  ///< fields that are read and not kept
  std::function<Values(const Record&)> read;
};

/// The readings by the titles of the tables in docs/format.md.
[[nodiscard]] const std::map<std::string, Reading>& FormatReadings();

}  // namespace LbtTev
