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

Json ObjectOf(const BlockFacts& block) {
  Json json{{"number", block.number},
            {"stream", block.stream},
            {"storedBytes", block.storedSize},
            {"inflatedBytes", nullptr},
            {"ratio", nullptr},
            {"offset", block.offset},
            {"compression", CompressionOf(block)}};
  if (block.inflatedSize) {
    json["inflatedBytes"] = *block.inflatedSize;
  }
  if (const auto ratio = Ratio(block.storedSize, block.inflatedSize)) {
    json["ratio"] = *ratio;
  }
  return json;
}

Json ObjectOf(const BlockTotals& totals) {
  Json json{{"blocks", totals.blocks},
            {"storedBytes", totals.storedSize},
            {"inflatedBytes", totals.inflatedSize},
            {"ratio", nullptr}};
  if (const auto ratio = Ratio(totals.storedSize, totals.inflatedSize)) {
    json["ratio"] = *ratio;
  }
  return json;
}

std::string JsonTextOf(const std::string& path, const ContainerListing& listing) {
  Json json{{"file", path},
            {"fileBytes", listing.fileSize},
            {"version", listing.version},
            {"index", {{"offset", listing.indexOffset}, {"bytes", listing.indexSize}}},
            {"blocks", Json::array()},
            {"streams", Json::array()},
            {"totals", ObjectOf(listing.totals)}};
  for (const BlockFacts& block : listing.blocks) {
    json["blocks"].push_back(ObjectOf(block));
  }
  for (const LbtLbf::StreamTotals& stream : listing.streams) {
    Json totals = ObjectOf(stream.totals);
    Json named{{"stream", stream.stream}};
    named.update(totals);
    json["streams"].push_back(std::move(named));
  }
  return JsonText(json);
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

Answer AnswerLs(const std::string& path, bool json) {
  const ContainerListing listing = List(path);
  return {json ? JsonTextOf(path, listing) : TextOf(listing), FaultsOf(listing)};
}

}  // namespace

void AddLs(CLI::App& app, Action& action) {
  AddFileCommand(app, action, "ls", "List the blocks of containers", AnswerLs);
}
