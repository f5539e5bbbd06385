// The container of a model: its index, what nothing reads of it, and what exceptions tell.

#include "ContainerCheck.h"

#include <algorithm>
#include <string_view>

#include "Lbt/Lbf/ContainerListing.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Check {

using Lbt::Util::Exception;
using LbtLbf::LbFile;

namespace {

NumberedName NameOf(const LbtLbf::NumberedBlock& block) { return {block.number, block.stream}; }

void AddUnused(std::uint64_t offset, std::uint64_t size, std::uint64_t unused,
               std::optional<NumberedName> block, FindingLog& log) {
  if (unused != 0) {
    log.Add({.kind = Finding::Kind::UnusedBytes,
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
                             FindingLog& log) {
  const std::uint64_t unused = index.GetContinuationUnusedBytes();
  const std::uint64_t length = index.GetContinuationLength();
  const std::uint64_t within = block.isCompressed ? 0 : length - unused;
  AddUnused(block.offset + within, length, unused, block.name, log);
}

/// A model may lack streams that it does not need, but an unknown one may be what it lacks. The
/// tree has a finding of its own.
void AddMissingStreams(const LbtLbf::Index& index, FindingLog& log) {
  const auto known = LbtTev::StreamNames().All();
  for (std::size_t i = 1; i < known.size(); ++i) {
    if (!index.HasEntries(known.at(i))) {
      log.Add({.kind = Finding::Kind::MissingStream,
               .text = "there is no stream \"" + known.at(i) +
                       "\", and one of a name that nothing reads"});
    }
  }
}

/// One changed letter of a name in the index hides a whole stream from every reader.
void AddUnknownStreams(const LbtLbf::Index& index, const std::vector<CheckedBlock>& blocks,
                       FindingLog& log) {
  const auto& second = index.GetContinuation();
  const auto known = LbtTev::StreamNames().All();
  bool isAny = false;
  for (const std::size_t entry : index.FirstEntries()) {
    const std::string& name = index.GetItems()[entry].name;
    const bool isKnown = std::ranges::find(known, name) != known.end();
    if (!isKnown && (!second || second->stream != name)) {
      isAny = true;
      const CheckedBlock& first = blocks[entry];
      log.Add({.kind = Finding::Kind::UnusedBytes,
               .text = "nothing reads a stream of this name",
               .block = first.name,
               .offset = first.offset});
    }
  }
  if (isAny && index.HasEntries(known.front())) {
    AddMissingStreams(index, log);
  }
}

void AddTail(const LbFile& file, const std::vector<CheckedBlock>& blocks, FindingLog& log) {
  const LbtLbf::Index& index = file.GetIndex();
  const std::uint64_t end = blocks.empty() ? index.GetIndexPosition() + index.GetIndexSize()
                                           : blocks.back().offset + blocks.back().storedSize;
  const std::uint64_t size = file.GetSize().value_or(0);
  if (size > end) {
    log.Add({.kind = Finding::Kind::UnusedBytes,
             .text = "nothing reads the " + std::to_string(size - end) +
                     (size - end == 1 ? " byte" : " bytes") + " after the last block",
             .offset = end});
  }
}

}  // namespace

std::optional<LbtLbf::NumberedBlock> RefusedBlock(const std::exception& exception,
                                                  const LbFile& file) {
  return LbtLbf::IsRefusal(exception) ? file.GetIndex().RefusedBlock() : std::nullopt;
}

std::string ReasonOf(const std::exception& exception, const LbFile& file) {
  if (LbtLbf::IsLackOfMemory(exception)) {
    throw;
  }
  if (const auto* known = dynamic_cast<const Exception*>(&exception)) {
    return known->GetLogMessage();
  }
  if (const auto block = RefusedBlock(exception, file)) {
    return RefusalText(*block);
  }
  return exception.what();
}

bool CheckIndex(LbFile& file, FindingLog& log) {
  try {
    file.ReadIndex();
    return true;
  } catch (const std::exception& exception) {
    Finding finding{.kind = Finding::Kind::Index,
                    .text = "the index cannot be read: " + ReasonOf(exception, file)};
    if (const std::uint64_t size = file.GetSize().value_or(LbFile::kHeaderSize);
        size < LbFile::kHeaderSize) {
      log.Add({.kind = Finding::Kind::Header,
               .text = "the file ends before its header does",
               .claimed = LbFile::kHeaderSize,
               .found = size});
      return false;
    }
    if (const auto& second = file.GetIndex().GetContinuation()) {
      finding.block = NameOf(*second);
    } else {
      PlaceIndex(file, finding);
    }
    log.Add(finding);
    return false;
  }
}

void CheckUnused(const LbFile& file, const std::vector<CheckedBlock>& blocks, FindingLog& log) {
  const LbtLbf::Index& index = file.GetIndex();
  const std::uint64_t unused = index.GetUnusedBytes();
  AddUnused(index.GetIndexPosition() + index.GetIndexSize() - unused, index.GetIndexSize(), unused,
            std::nullopt, log);
  if (const auto& second = index.GetContinuation()) {
    AddUnusedOfContinuation(index, blocks[second->number], log);
  }
  AddUnknownStreams(index, blocks, log);
  AddTail(file, blocks, log);
}

}  // namespace LbtTev::Check
