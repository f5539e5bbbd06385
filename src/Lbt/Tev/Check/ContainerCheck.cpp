// The container of a model: header, index, each block by itself, and what nothing reads.

#include "ContainerCheck.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "Lbt/Lbf/BlockCheck.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Check {

using Lbt::Util::Exception;
using LbtLbf::LbFile;

namespace {

constexpr std::uint64_t kHeaderSize = 16;
constexpr int kZlibBufferError = -5;

NumberedName NameOf(const LbtLbf::NumberedBlock& block) { return {block.number, block.stream}; }

Finding FindingOn(const CheckedBlock& block, Finding::Kind kind, std::string text) {
  return {.kind = kind, .text = std::move(text), .block = block.name, .offset = block.offset};
}

/// What is wrong with a block that zlib refuses.
Finding RefusalOf(const CheckedBlock& block) {
  const std::string code = " (code " + std::to_string(block.check.zlibCode) + ")";
  if (block.check.isCut) {
    return FindingOn(block, Finding::Kind::UnreadableBlock,
                     "the block ends before its zlib stream does" + code);
  }
  if (block.check.zlibCode != kZlibBufferError) {
    return FindingOn(block, Finding::Kind::UnreadableBlock, "zlib refuses the data" + code);
  }
  Finding finding = FindingOn(block, Finding::Kind::UnreadableBlock,
                              "zlib finds more data than the block's recorded length" + code);
  finding.claimed = block.check.recordedLength;
  return finding;
}

Finding WithNumbers(Finding finding, std::uint64_t claimed, std::uint64_t found) {
  finding.claimed = claimed;
  finding.found = found;
  return finding;
}

/// What is wrong with a block, if anything.
std::optional<Finding> FaultOf(const CheckedBlock& block) {
  using enum Finding::Kind;
  const LbtLbf::BlockCheck& check = block.check;
  if (check.sizeInFile < block.storedSize) {
    return WithNumbers(FindingOn(block, BlockOutsideFile, "the file ends before the block does"),
                       block.storedSize, check.sizeInFile);
  }
  if (!check.recordedLength) {
    return FindingOn(block, UnreadableBlock, "the block is too short for a compressed one");
  }
  if (check.zlibCode != 0) {
    return RefusalOf(block);
  }
  if (check.length < *check.recordedLength) {
    return WithNumbers(
        FindingOn(block, RecordedLength, "the recorded length is above what comes out"),
        *check.recordedLength, check.length);
  }
  return std::nullopt;
}

void AddUnused(std::uint64_t offset, std::uint64_t size, std::uint64_t unused,
               std::optional<NumberedName> block, const FindingSink& sink) {
  if (unused != 0) {
    sink({.kind = Finding::Kind::UnusedBytes,
          .text = "the index has bytes after its last entry",
          .block = std::move(block),
          .offset = offset,
          .claimed = size,
          .found = size - unused});
  }
}

/// Tells where the first index is, and how much of it where the file ends before it does.
void PlaceIndex(const LbFile& file, Finding& finding) {
  const std::uint64_t offset = file.GetIndex().GetIndexPosition();
  if (offset == 0) {
    return;  // not even its size could be read
  }
  const std::uint64_t size = file.GetIndex().GetIndexSize();
  const std::uint64_t fileSize = file.GetSize().value_or(0);
  finding.offset = offset;
  if (offset + size > fileSize) {
    finding.claimed = size;
    finding.found = fileSize - std::min(fileSize, offset);
  }
}

void AddUnusedOfContinuation(const LbtLbf::Index& index, const CheckedBlock& block,
                             const FindingSink& sink) {
  const std::uint64_t unused = index.GetContinuationUnusedBytes();
  const std::uint64_t length = block.check.length;
  const std::uint64_t within = block.isCompressed ? 0 : length - unused;
  AddUnused(block.offset + within, length, unused, block.name, sink);
}

bool IsKnown(std::string_view stream) {
  const LbtTev::StreamNames names;
  const std::array<std::string_view, 6> known{names.tree,       names.light,     names.heavy,
                                              names.attributes, names.resources, names.global};
  return std::ranges::find(known, stream) != known.end();
}

/// One changed letter of a name in the index hides a whole stream from every reader.
void AddUnknownStreams(const LbtLbf::Index& index, const std::vector<CheckedBlock>& blocks,
                       const FindingSink& sink) {
  const auto& second = index.GetContinuation();
  for (const auto& [name, stream] : index.GetStreams()) {
    if (!IsKnown(name) && (!second || second->stream != name)) {
      sink(FindingOn(blocks[stream.Limiter().blocks.front()], Finding::Kind::UnusedBytes,
                     "nothing reads a stream of this name"));
    }
  }
}

void AddTail(const LbFile& file, const std::vector<CheckedBlock>& blocks, const FindingSink& sink) {
  const LbtLbf::Index& index = file.GetIndex();
  const std::uint64_t end = blocks.empty() ? index.GetIndexPosition() + index.GetIndexSize()
                                           : blocks.back().offset + blocks.back().storedSize;
  const std::uint64_t size = file.GetSize().value_or(0);
  if (size > end) {
    sink({.kind = Finding::Kind::UnusedBytes,
          .text = "nothing reads the " + std::to_string(size - end) +
                  (size - end == 1 ? " byte" : " bytes") + " after the last block",
          .offset = end});
  }
}

void CheckContents(LbFile& file, const LbtLbf::IndexItem& item, CheckedBlock& block,
                   const FindingSink& sink) {
  std::optional<Finding> fault;
  try {
    block.check = LbtLbf::CheckBlock(file, item);
    fault = FaultOf(block);
  } catch (const std::exception& exception) {
    fault = FindingOn(block, Finding::Kind::UnreadableBlock,
                      "the block cannot be read, though the file is long enough for it: " +
                          ReasonOf(exception, file));
  }
  if (fault) {
    sink(*fault);
  }
}

}  // namespace

std::optional<LbtLbf::NumberedBlock> RefusedBlock(const std::exception& exception,
                                                  const LbFile& file) {
  const bool isKnown = dynamic_cast<const Exception*>(&exception) != nullptr;
  return isKnown ? std::nullopt : file.GetIndex().RefusedBlock();
}

std::string ReasonOf(const std::exception& exception, const LbFile& file) {
  if (const auto* known = dynamic_cast<const Exception*>(&exception)) {
    // A block may need more memory than there is, and the next ones not.
    return LbtLbf::IsLackOfMemory(exception) ? "not enough memory" : known->GetLogMessage();
  }
  if (LbtLbf::IsLackOfMemory(exception)) {
    throw;
  }
  if (const auto block = RefusedBlock(exception, file)) {
    return "zlib refuses the data of block " + std::to_string(block->number) + " (" +
           block->stream + ")";
  }
  return exception.what();
}

bool CheckHeader(LbFile& file, const std::string& path, bool& wideOffsets,
                 const FindingSink& sink) {
  try {
    static_cast<void>(LbtTev::OpenContainer(file, path, wideOffsets));
    return true;
  } catch (const Exception& exception) {
    if (!file.IsOpen()) {
      throw;
    }
    const bool isOther = exception.GetType() == Exception::ErrorType::FormatNotSupported;
    sink({.kind = Finding::Kind::Header,
          .text = isOther ? "the file does not begin with the signature of a Tev file"
                          : exception.GetLogMessage()});
    return false;
  }
}

bool CheckIndex(LbFile& file, const FindingSink& sink) {
  try {
    file.ReadIndex();
    return true;
  } catch (const std::exception& exception) {
    if (LbtLbf::IsLackOfMemory(exception)) {
      throw;  // without the index, there is nothing to go on with
    }
    Finding finding{.kind = Finding::Kind::Index,
                    .text = "the index cannot be read: " + ReasonOf(exception, file)};
    if (const std::uint64_t size = file.GetSize().value_or(kHeaderSize); size < kHeaderSize) {
      sink({.kind = Finding::Kind::Header,
            .text = "the file ends before its header does",
            .claimed = kHeaderSize,
            .found = size});
      return false;
    }
    if (const auto& second = file.GetIndex().GetContinuation()) {
      finding.block = NameOf(*second);
    } else {
      PlaceIndex(file, finding);
    }
    sink(finding);
    return false;
  }
}

std::vector<CheckedBlock> CheckBlocks(LbFile& file, const FindingSink& sink) {
  const LbtLbf::Index& index = file.GetIndex();
  const auto& second = index.GetContinuation();
  AddUnused(index.GetIndexPosition() + index.GetIndexSize() - index.GetUnusedBytes(),
            index.GetIndexSize(), index.GetUnusedBytes(), std::nullopt, sink);
  std::vector<CheckedBlock> blocks;
  blocks.reserve(index.GetItems().size());
  for (const LbtLbf::IndexItem& item : index.GetItems()) {
    CheckedBlock& block = blocks.emplace_back();
    block.name = {blocks.size() - 1, item.name};
    block.offset = item.position;
    block.storedSize = item.size;
    block.isCompressed = item.IsCompressed();
    CheckContents(file, item, block, sink);
    if (second && second->number == block.name.number) {
      AddUnusedOfContinuation(index, block, sink);
    }
  }
  AddUnknownStreams(index, blocks, sink);
  AddTail(file, blocks, sink);
  return blocks;
}

}  // namespace LbtTev::Check
