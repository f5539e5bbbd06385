// The blocks of a container, each by itself.

#include "BlockSurvey.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "ContainerCheck.h"
#include "Lbt/Lbf/Inflation.h"

namespace LbtTev::Check {

using LbtLbf::LbFile;

namespace {

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
  if (block.check.zlibCode != LbtLbf::kZlibBufferError) {
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

/// What is wrong with a block that has been read, if anything.
std::optional<Finding> FaultOf(const CheckedBlock& block) {
  if (block.check.zlibCode != 0) {
    return RefusalOf(block);
  }
  if (block.check.length < block.check.recordedLength) {
    return WithNumbers(FindingOn(block, Finding::Kind::RecordedLength,
                                 "the recorded length is above what comes out"),
                       *block.check.recordedLength, block.check.length);
  }
  return std::nullopt;
}

}  // namespace

BlockSurvey::BlockSurvey(LbFile& file, FindingLog& log) : file_(&file), log_(&log) {
  const auto& items = file.GetIndex().GetItems();
  const std::uint64_t fileSize = file.GetSize().value_or(0);
  blocks_.resize(items.size());
  for (std::size_t entry = 0; entry < items.size(); ++entry) {
    const LbtLbf::IndexItem& item = items[entry];
    CheckedBlock& block = blocks_[entry];
    block.name = {entry, item.name};
    block.offset = item.position;
    block.storedSize = item.size;
    block.isCompressed = item.IsCompressed();
    block.check.sizeInFile = item.SizeIn(fileSize);
    Measure(entry);
  }
}

void BlockSurvey::Measure(std::size_t entry) {
  CheckedBlock& block = blocks_[entry];
  LbtLbf::BlockCheck& check = block.check;
  if (!block.isCompressed) {
    check.recordedLength = block.storedSize;
    check.length = check.sizeInFile;
    block.isRead = true;
  } else if (check.sizeInFile >= LbtLbf::kLengthFieldSize) {
    try {
      check.recordedLength = file_->ReadRecordedLength(entry);
    } catch (const std::exception& exception) {
      TellUnreadable(block, exception);
      return;
    }
  }
  if (check.sizeInFile < block.storedSize) {
    TellLost(block, WithNumbers(FindingOn(block, Finding::Kind::BlockOutsideFile,
                                          "the file ends before the block does"),
                                block.storedSize, check.sizeInFile));
  } else if (!check.recordedLength) {
    TellLost(block, FindingOn(block, Finding::Kind::UnreadableBlock,
                              "the block is too short for a compressed one"));
  }
}

void BlockSurvey::TellUnreadable(CheckedBlock& block, const std::exception& exception) {
  TellLost(block, FindingOn(block, Finding::Kind::UnreadableBlock,
                            "the block cannot be read, though the file is long enough for it: " +
                                ReasonOf(exception, *file_)));
}

void BlockSurvey::TellLost(CheckedBlock& block, Finding finding) {
  block.isLost = true;
  log_->AddLostBlock(std::move(finding), block.check.recordedLength.has_value());
}

const CheckedBlock* BlockSurvey::FailedBlock(const std::optional<LbtLbf::NumberedBlock>& refused) {
  const auto last = refused ? refused : file_->GetIndex().LastLoaded();
  // A stream that the file lacks has a block of its own once it was sought.
  if (!last || last->number >= blocks_.size() || WasLoaded(blocks_[last->number])) {
    return nullptr;
  }
  Settle(blocks_[last->number]);
  return &blocks_[last->number];
}

void BlockSurvey::Finish(std::string_view stream) {
  for (CheckedBlock& block : blocks_) {
    if (file_->GetIndex().GetItems()[block.name.number].name == stream) {
      Settle(block);
    }
  }
}

void BlockSurvey::FinishAll() {
  for (CheckedBlock& block : blocks_) {
    Settle(block);
  }
}

void BlockSurvey::Settle(CheckedBlock& block) {
  if (block.isRead || block.isLost) {
    return;
  }
  const LbtLbf::Index& index = file_->GetIndex();
  const auto& second = index.GetContinuation();
  if (second && second->number == block.name.number) {
    block.check.length = index.GetContinuationLength();
  } else if (WasLoaded(block)) {
    block.check.length = index.GetCache().GetBlock(block.name.number).GetSize();
  } else {
    Inflate(block);
  }
  if (block.isLost) {
    return;
  }
  block.isRead = true;
  if (auto fault = FaultOf(block); fault && fault->kind == Finding::Kind::RecordedLength) {
    log_->Add(*std::move(fault));
  } else if (fault) {
    TellLost(block, *std::move(fault));
  }
}

void BlockSurvey::Inflate(CheckedBlock& block) {
  const auto entry = static_cast<std::size_t>(block.name.number);
  file_->GetIndex().GetCache().TellOfLoad(entry);
  try {
    block.check = LbtLbf::CheckBlock(*file_, file_->GetIndex().GetItems()[entry]);
  } catch (const std::exception& exception) {
    TellUnreadable(block, exception);
  }
}

bool BlockSurvey::WasLoaded(const CheckedBlock& block) const {
  const auto number = static_cast<std::size_t>(block.name.number);
  const LbtLbf::Index& index = file_->GetIndex();
  return index.GetCache().WasLoaded(number);
}

}  // namespace LbtTev::Check
