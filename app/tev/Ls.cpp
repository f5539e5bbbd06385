#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Util/FileSize.h"
#include "Lbt/Util/ToString.h"
#include "tev/Failure.h"
#include "tev/Json.h"
#include "tev/Subcommands.h"
#include "tev/Table.h"
#include "tev/VisibleText.h"

using LbtLbf::BlockFacts;
using LbtLbf::BlockTotals;
using LbtLbf::ContainerListing;

namespace {

ContainerListing List(const std::string& path) {
  LbtLbf::LbFile file;
  bool atLeast07 = false;
  static_cast<void>(LbtTev::OpenContainer(file, path, atLeast07));
  return NamingBlocks(file, [&file] { return LbtLbf::ListContainer(file); });
}

const char* CompressionOf(const BlockFacts& block) { return block.isCompressed ? "zlib" : "none"; }

/// How many times its stored size the contents have; none where that means nothing.
std::optional<double> Ratio(std::uint64_t stored, std::optional<std::uint64_t> inflated) {
  if (stored == 0 || !inflated) {
    return std::nullopt;
  }
  return static_cast<double>(*inflated) / static_cast<double>(stored);
}

template <class T>
std::string TextOrDash(const std::optional<T>& value) {
  return value ? Lbt::Util::ToString(*value) : "-";
}

void AddRow(Table& table, const BlockFacts& block) {
  table.Add({std::to_string(block.number), VisibleText(block.stream),
             std::to_string(block.storedSize), TextOrDash(block.inflatedSize),
             TextOrDash(Ratio(block.storedSize, block.inflatedSize)), std::to_string(block.offset),
             CompressionOf(block)});
}

void AddRow(Table& table, const std::string& name, const BlockTotals& totals) {
  table.Add({name, std::to_string(totals.blocks), std::to_string(totals.storedSize),
             std::to_string(totals.inflatedSize),
             TextOrDash(Ratio(totals.storedSize, totals.inflatedSize))});
}

std::string TextOf(const ContainerListing& listing) {
  using enum Table::Align;
  std::ostringstream text;
  text.exceptions(std::ios::badbit);  // else a lack of memory would only cut the text
  text << "  Version " << VisibleText(listing.version) << ", " << listing.fileSize << " bytes ("
       << LbtUtil::FileSizeText(static_cast<std::int64_t>(listing.fileSize)) << "), index of "
       << listing.indexSize << " bytes at " << listing.indexOffset << "\n\n";
  Table blocks({{"Block", Right},
                {"Stream", Left},
                {"Stored", Right},
                {"Inflated", Right},
                {"Ratio", Right},
                {"Offset", Right},
                {"Compression", Left}});
  for (const BlockFacts& block : listing.blocks) {
    AddRow(blocks, block);
  }
  Table totals({{"Stream", Left},
                {"Blocks", Right},
                {"Stored", Right},
                {"Inflated", Right},
                {"Ratio", Right}});
  for (const LbtLbf::StreamTotals& stream : listing.streams) {
    AddRow(totals, VisibleText(stream.stream), stream.totals);
  }
  AddRow(totals, "(all)", listing.totals);
  blocks.Write(text);
  text << '\n';
  totals.Write(text);
  return text.str();
}

template <class T>
Json JsonOrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

void WriteBlock(const BlockFacts& block, JsonWriter& json) {
  json.OpenObject();
  json.Member("number", block.number);
  json.Member("stream", block.stream);
  json.Member("storedBytes", block.storedSize);
  json.Member("inflatedBytes", JsonOrNull(block.inflatedSize));
  json.Member("ratio", JsonOrNull(Ratio(block.storedSize, block.inflatedSize)));
  json.Member("offset", block.offset);
  json.Member("compression", CompressionOf(block));
  json.Close();
}

void WriteTotals(const BlockTotals& totals, JsonWriter& json) {
  json.Member("blocks", totals.blocks);
  json.Member("storedBytes", totals.storedSize);
  json.Member("inflatedBytes", totals.inflatedSize);
  json.Member("ratio", JsonOrNull(Ratio(totals.storedSize, totals.inflatedSize)));
}

void WriteStreams(const ContainerListing& listing, JsonWriter& json) {
  json.Key("streams");
  json.OpenList();
  for (const LbtLbf::StreamTotals& stream : listing.streams) {
    json.OpenObject();
    json.Member("stream", stream.stream);
    WriteTotals(stream.totals, json);
    json.Close();
  }
  json.Close();
}

void WriteJson(const std::string& path, const ContainerListing& listing, JsonWriter& json) {
  json.OpenObject();
  json.Member("file", path);
  json.Member("fileBytes", listing.fileSize);
  json.Member("version", listing.version);
  json.Key("index");
  json.OpenObject();
  json.Member("offset", listing.indexOffset);
  json.Member("bytes", listing.indexSize);
  json.Close();
  json.Key("blocks");
  json.OpenList();
  for (const BlockFacts& block : listing.blocks) {
    WriteBlock(block, json);
  }
  json.Close();
  WriteStreams(listing, json);
  json.Key("totals");
  json.OpenObject();
  WriteTotals(listing.totals, json);
  json.Close();
  json.Close();
}

/// The first block that the file is too short for, or that is too short itself: the
/// others most often share its cause.
std::vector<std::string> FaultsOf(const ContainerListing& listing) {
  for (const BlockFacts& block : listing.blocks) {
    const std::string name = NameOf({block.number, block.stream});
    if (!block.isWithinFile) {
      return {name + " does not lie within the file"};
    }
    if (!block.inflatedSize) {
      return {name + " is too short for a compressed block"};
    }
  }
  return {};
}

Ending AnswerLs(const std::string& path, AnswerWriter& writer) {
  const ContainerListing listing = List(path);
  Ending ending{.faults = FaultsOf(listing)};  // first: after the whole answer nothing fails
  if (writer.IsJson()) {
    WriteJson(path, listing, writer.Object());
  } else {
    writer.Write(TextOf(listing));
  }
  return ending;
}

}  // namespace

void AddLs(CLI::App& app, Action& action) {
  AddFileCommand(app, action, "ls", "List the blocks of containers", AnswerLs);
}
