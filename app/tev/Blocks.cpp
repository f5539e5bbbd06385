// tev blocks: the blocks of a container, and how many bytes each stream has.

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Util/FileSize.h"
#include "Lbt/Util/ToString.h"
#include "tev/OpenedModel.h"
#include "tev/Table.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

using LbtLbf::BlockFacts;
using LbtLbf::BlockTotals;
using LbtLbf::ContainerListing;

namespace {

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

/// With two digits after the point, so that ratios stand under each other.
std::string RatioText(std::optional<double> ratio) {
  if (!ratio) {
    return "-";
  }
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%.2f", *ratio);
  return {text.data(), static_cast<std::size_t>(length)};
}

void AddRow(Table& table, const BlockFacts& block) {
  table.Add({std::to_string(block.number), VisibleText(block.stream),
             std::to_string(block.storedSize), TextOrDash(block.inflatedSize),
             RatioText(Ratio(block.storedSize, block.inflatedSize)), std::to_string(block.offset),
             CompressionOf(block)});
}

void AddRow(Table& table, const std::string& name, const BlockTotals& totals) {
  table.Add({name, std::to_string(totals.blocks), std::to_string(totals.storedSize),
             std::to_string(totals.inflatedSize),
             RatioText(Ratio(totals.storedSize, totals.inflatedSize))});
}

/// How wide a column of numbers up to "most" is.
std::size_t WidthUpTo(std::uint64_t most) { return std::to_string(most).size(); }

void WriteBlocks(const ContainerListing& listing, std::ostream& stream) {
  using enum Table::Align;
  std::uint64_t stored = 0;
  std::uint64_t inflated = 0;
  for (const BlockFacts& block : listing.blocks) {
    stored = std::max<std::uint64_t>(stored, block.storedSize);
    inflated = std::max<std::uint64_t>(inflated, block.inflatedSize.value_or(0));
  }
  const std::uint64_t last = listing.blocks.empty() ? 0 : listing.blocks.back().offset;
  Table table(stream, {{"Block", Right, WidthUpTo(listing.blocks.size())},
                       {"Stream", Left},
                       {"Stored", Right, WidthUpTo(stored)},
                       {"Inflated", Right, WidthUpTo(inflated)},
                       {"Ratio", Right},
                       {"Offset", Right, WidthUpTo(last)},
                       {"Compression", Left}});
  for (const BlockFacts& block : listing.blocks) {
    AddRow(table, block);
  }
  table.Finish();
}

void WriteText(const ContainerListing& listing, std::ostream& stream) {
  using enum Table::Align;
  stream << "  Version " << VisibleText(listing.version) << ", " << listing.fileSize << " bytes ("
         << LbtUtil::FileSizeText(static_cast<std::int64_t>(listing.fileSize)) << "), index of "
         << listing.indexSize << " bytes at " << listing.indexOffset << "\n\n";
  WriteBlocks(listing, stream);
  stream << '\n';
  Table totals(stream, {{"Stream", Left},
                        {"Blocks", Right},
                        {"Stored", Right},
                        {"Inflated", Right},
                        {"Ratio", Right}});
  for (const LbtLbf::StreamTotals& streamTotals : listing.streams) {
    AddRow(totals, VisibleText(streamTotals.stream), streamTotals.totals);
  }
  AddRow(totals, "(all)", listing.totals);
  totals.Finish();
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

void WriteJson(const ContainerListing& listing, JsonWriter& json) {
  json.Member("bytes", listing.fileSize);
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
}

/// The first block that is too short for what a compressed one has to have.
void TellShortBlock(const ContainerListing& listing, AnswerWriter& writer) {
  for (const BlockFacts& block : listing.blocks) {
    if (block.isWithinFile && !block.inflatedSize) {
      writer.Fail({FailureCode::Damaged,
                   NameOf({block.number, block.stream}) + " is too short for a compressed block"});
      return;
    }
  }
}

void AnswerBlocks(const Input& input, AnswerWriter& writer) {
  LbtLbf::LbFile file;
  const ContainerListing listing = NamingBlocks(file, [&] {
    OpenContainer(file, input, writer);
    return LbtLbf::ListContainer(file);
  });
  TellShortBlock(listing, writer);
  if (writer.IsJson()) {
    WriteJson(listing, writer.Facts());
  } else {
    WriteText(listing, writer.Text());
  }
}

constexpr const char* kNotes =
    "Nothing is inflated but a second index: the inflated bytes are what the file itself says.\n"
    "Example: tev blocks bracket.tev";

}  // namespace

Verb BlocksVerb() {
  return {.name = "blocks",
          .summary = "List the blocks of containers",
          .notes = kNotes,
          .setUp = [](CLI::App& app) {
            return RunWithFileOptions(app, {.verb = "blocks", .answer = AnswerBlocks});
          }};
}
