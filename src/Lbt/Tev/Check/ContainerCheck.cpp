// The container of a model: its index, what nothing reads of it, and what exceptions tell.

#include "ContainerCheck.h"

#include <algorithm>
#include <cctype>
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

/// Takes digits off the start of "text"; false where there are none.
bool TakeDigits(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(end);
  return end != 0;
}

/// "1.3", "0.1a".
bool IsVersion(std::string_view text) {
  if (!TakeDigits(text) || !text.starts_with('.')) {
    return false;
  }
  text.remove_prefix(1);
  return TakeDigits(text) &&
         (text.empty() ||
          (text.size() == 1 && std::islower(static_cast<unsigned char>(text[0])) != 0));
}

/// The tree has a finding of its own.
void AddStreams(const LbtLbf::Index& index, const std::vector<CheckedBlock>& blocks,
                FindingLog& log) {
  const StreamsFound found = FindStreams(index);
  for (const std::size_t entry : found.unknown) {
    log.Add({.kind = Finding::Kind::UnusedBytes,
             .text = "nothing reads a stream of this name",
             .block = blocks[entry].name,
             .offset = blocks[entry].offset});
  }
  for (const std::string& name : found.missing) {
    if (name != StreamNames().tree) {
      log.Add(
          {.kind = Finding::Kind::MissingStream,
           .text = "there is no stream \"" + name + "\", and one of a name that nothing reads"});
    }
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

void CheckVersion(const std::string& version, FindingLog& log) {
  constexpr std::uint64_t kOffset = LbFile::kSignature.size();
  if (!IsVersion(version)) {
    log.Add({.kind = Finding::Kind::OddVersion,
             .text = "the version \"" + version + "\" is no number",
             .offset = kOffset});
  }
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
  AddStreams(index, blocks, log);
  AddTail(file, blocks, log);
}

}  // namespace LbtTev::Check
