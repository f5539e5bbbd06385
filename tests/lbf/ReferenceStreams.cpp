// The rules of streams in their simplest form, to compare the reader with.

#include "ReferenceStreams.h"

#include <utility>

#include "LbfSupport.h"

namespace tevtest {

ReferenceStreams::ReferenceStreams(std::vector<ReferenceEntry> entries)
    : entries_(std::move(entries)), blocks_(entries_.size()) {}

std::vector<std::size_t> ReferenceStreams::EntriesOf(const std::string& name) const {
  std::vector<std::size_t> found;
  for (std::size_t entry = 0; entry < entries_.size(); ++entry) {
    if (entries_[entry].name == name) {
      found.push_back(entry);
    }
  }
  return found;
}

std::size_t ReferenceStreams::Choose(const std::string& name) {
  const std::vector<std::size_t> stream = EntriesOf(name);
  for (const std::size_t entry : stream) {
    Block& block = blocks_[entry];
    if (block.size == 0 && !block.loaded) {
      Load(entry);
    }
    if (block.position != block.size || entry == stream.back()) {
      return entry;
    }
  }
  throw ReferenceFailure{NotFound()};
}

std::size_t ReferenceStreams::ChooseInMemory(const std::string& name) const {
  for (const std::size_t entry : EntriesOf(name)) {
    if (blocks_[entry].position != blocks_[entry].size) {
      return entry;
    }
  }
  throw ReferenceFailure{NotFound()};
}

std::string ReferenceStreams::Read(const std::string& name, std::size_t length) {
  return Take(Choose(name), length);
}

std::string ReferenceStreams::ReadInMemory(const std::string& name, std::size_t length) {
  return Take(ChooseInMemory(name), length);
}

std::string ReferenceStreams::Take(std::size_t entry, std::size_t length) {
  Block& block = blocks_[entry];
  if (block.position + length > block.size) {
    throw ReferenceFailure{NotEnoughBytes()};
  }
  const std::size_t start = block.position;
  block.position += length;
  return length == 0 ? std::string() : entries_[entry].contents.substr(start, length);
}

void ReferenceStreams::Load(std::size_t entry, bool isFileOpen) {
  Block& block = blocks_[entry];
  const std::optional<std::size_t> knownLength = block.knownLength;
  block = {.knownLength = knownLength};
  if (!isFileOpen && !IsEmptyForCertain(entry)) {
    throw ReferenceFailure{UnableToRead()};
  }
  if (!entries_[entry].loadFailure.empty()) {
    throw ReferenceFailure{entries_[entry].loadFailure};
  }
  const std::size_t length = entries_[entry].contents.size();
  block = {.size = length, .loaded = true, .knownLength = length};
}

/// Whether an entry stores nothing, so that loading it needs no file.
bool ReferenceStreams::IsEmptyForCertain(std::size_t entry) const {
  return !entries_[entry].needsFileForLength && entries_[entry].recordedLength == 0;
}

std::size_t ReferenceStreams::LengthOf(std::size_t entry, bool isFileOpen) {
  Block& block = blocks_[entry];
  if (block.size != 0 || block.loaded) {
    return block.size;
  }
  if (block.knownLength.has_value()) {
    return *block.knownLength;
  }
  if (!entries_[entry].recordedLengthFailure.empty()) {
    throw ReferenceFailure{entries_[entry].recordedLengthFailure};
  }
  if (!isFileOpen && entries_[entry].needsFileForLength) {
    throw ReferenceFailure{UnableToRead()};
  }
  block.knownLength = entries_[entry].recordedLength;
  return entries_[entry].recordedLength;
}

void ReferenceStreams::Pass(std::size_t entry, std::size_t length) {
  Block& block = blocks_[entry];
  if (block.size == 0) {
    block.size = length;
    block.position = length;
  }
  if (block.loaded && block.size != 0) {
    block.position = block.size;
    block.loaded = false;
  }
}

void ReferenceStreams::Seek(const std::string& name, std::uint64_t offset, bool isFileOpen) {
  if (EntriesOf(name).empty()) {
    Create(name);
  }
  const std::uint64_t sought = offset;
  const std::vector<std::size_t> stream = EntriesOf(name);
  std::size_t target = stream.back();
  for (const std::size_t entry : stream) {
    if (entry == stream.back()) {
      break;
    }
    const std::size_t length = LengthOf(entry, isFileOpen);
    if (offset < length) {
      target = entry;
      break;
    }
    offset -= length;
    Pass(entry, length);
  }
  const std::optional<std::size_t> expected = blocks_[target].knownLength;
  if (!blocks_[target].loaded) {
    Load(target, isFileOpen);
  }
  if (offset > blocks_[target].size) {
    if (expected.has_value() && *expected != blocks_[target].size) {
      return Seek(name, sought, isFileOpen);
    }
    throw ReferenceFailure{InvalidPosition()};
  }
  blocks_[target].position = offset;
}

std::size_t ReferenceStreams::Create(const std::string& name) {
  entries_.push_back({.name = name});
  blocks_.emplace_back();
  return entries_.size() - 1;
}

}  // namespace tevtest
