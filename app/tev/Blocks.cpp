// tev blocks: the blocks of a container, and how many bytes each stream has.

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/NumberText.h"
#include "tev/OpenedModel.h"
#include "tev/Table.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

using LbtLbf::BlockFacts;
using LbtLbf::BlockTotals;
using LbtLbf::ContainerListing;
using LbtLbf::LbFile;
using LbtTev::Analysis::ShownName;

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
  table.Add({std::to_string(block.number), VisibleText(ShownName(block.stream)),
             std::to_string(block.storedSize), TextOrDash(block.inflatedSize),
             RatioText(Ratio(block.storedSize, block.inflatedSize)), std::to_string(block.offset),
             CompressionOf(block)});
}

void AddRow(Table& table, const std::string& name, const BlockTotals& totals) {
  table.Add({name, std::to_string(totals.blocks), std::to_string(totals.storedSize),
             std::to_string(totals.inflatedSize),
             RatioText(Ratio(totals.storedSize, totals.inflatedSize))});
}

/// Lists the container, and tells "writer" of the first block that is too short for a compressed
/// one.
template <class Visit>
ContainerListing ListBlocks(LbFile& file, AnswerWriter& writer, Visit visit) {
  return LbtLbf::ListContainer(file, [&](const BlockFacts& block) {
    if (block.isWithinFile && !block.inflatedSize) {
      writer.Fail({FailureCode::Damaged, LbtLbf::TextOf({block.number, ShownName(block.stream)}) +
                                             " is too short for a compressed block"});
    }
    visit(block);
  });
}

/// How wide a column of numbers up to "most" is.
std::size_t WidthUpTo(std::uint64_t most) { return std::to_string(most).size(); }

/// The largest numbers of all blocks, by which columns are as wide from the first row on.
struct Largest {
  std::uint64_t stored = 0;
  std::uint64_t inflated = 0;
  std::uint64_t offset = 0;
  std::size_t stream = 0;  ///< columns

  void Take(const BlockFacts& block) {
    constexpr std::size_t kWidest = 80;
    stored = std::max<std::uint64_t>(stored, block.storedSize);
    inflated = std::max<std::uint64_t>(inflated, block.inflatedSize.value_or(0));
    offset = block.offset;
    stream = std::max(stream, std::min(kWidest, WidthOf(VisibleText(ShownName(block.stream)))));
  }
};

void WriteBlocks(LbFile& file, const Largest& largest, std::ostream& stream) {
  using enum Table::Align;
  const std::size_t count = file.GetIndex().GetItems().size();
  Table table(stream, {{"Block", Right, WidthUpTo(count)},
                       {"Stream", Left, largest.stream},
                       {"Stored", Right, WidthUpTo(largest.stored)},
                       {"Inflated", Right, WidthUpTo(largest.inflated)},
                       {"Ratio", Right},
                       {"Offset", Right, WidthUpTo(largest.offset)},
                       {"Compression", Left}});
  for (std::size_t number = 0; number < count; ++number) {
    AddRow(table, LbtLbf::DescribeBlock(file, number));
  }
  table.Finish();
}

void WriteTotals(const ContainerListing& listing, std::ostream& stream) {
  using enum Table::Align;
  Table table(stream, {{"Stream", Left},
                       {"Blocks", Right},
                       {"Stored", Right},
                       {"Inflated", Right},
                       {"Ratio", Right}});
  for (const LbtLbf::StreamTotals& streamTotals : listing.streams) {
    AddRow(table, VisibleText(ShownName(streamTotals.stream)), streamTotals.totals);
  }
  AddRow(table, "(all)", listing.totals);
  table.Finish();
}

void WriteText(LbFile& file, AnswerWriter& writer) {
  Largest largest;
  const ContainerListing listing =
      ListBlocks(file, writer, [&largest](const BlockFacts& block) { largest.Take(block); });
  std::ostream& stream = writer.Text();
  stream << "  Version " << VisibleText(listing.version) << ", " << listing.fileSize << " bytes ("
         << LbtUtil::FileSizeText(static_cast<std::int64_t>(listing.fileSize)) << "), index of "
         << listing.indexSize << " bytes at " << listing.indexOffset << "\n\n";
  WriteBlocks(file, largest, stream);
  stream << '\n';
  WriteTotals(listing, stream);
}

void WriteBlock(const BlockFacts& block, JsonWriter& json) {
  json.OpenObject();
  json.Member("number", block.number);
  json.Member("stream", ShownName(block.stream));
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
    json.Member("stream", ShownName(stream.stream));
    WriteTotals(stream.totals, json);
    json.Close();
  }
  json.Close();
}

void WriteJson(LbFile& file, AnswerWriter& writer) {
  JsonWriter& json = writer.Facts();
  json.Member("bytes", file.GetSize().value_or(0));
  json.Member("version", file.ReadVersion());
  json.Key("index");
  json.OpenObject();
  json.Member("offset", file.GetIndex().GetIndexPosition());
  json.Member("bytes", file.GetIndex().GetIndexSize());
  json.Close();
  json.Key("blocks");
  json.OpenList();
  const ContainerListing listing =
      ListBlocks(file, writer, [&json](const BlockFacts& block) { WriteBlock(block, json); });
  json.Close();
  WriteStreams(listing, json);
  json.Key("totals");
  json.OpenObject();
  WriteTotals(listing.totals, json);
  json.Close();
}

void AnswerBlocks(const Input& input, AnswerWriter& writer) {
  LbFile file;
  NamingBlocks(file, [&] {
    OpenContainer(file, input, writer);
    writer.IsJson() ? WriteJson(file, writer) : WriteText(file, writer);
  });
}

constexpr const char* kNotes =
    "Nothing is inflated but a second index: the inflated bytes are what the file itself says.\n"
    "Example: tev blocks bracket.tev\n"
    "Exit status: 0 done, 1 bad usage, 2 a file failed.";

}  // namespace

Verb BlocksVerb() {
  return {.name = "blocks",
          .summary = "List the blocks of containers",
          .notes = kNotes,
          .setUp = [](CLI::App& app) {
            return RunWithFileOptions(app, {.verb = "blocks", .answer = AnswerBlocks});
          }};
}
