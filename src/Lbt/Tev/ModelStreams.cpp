// The door to the bytes of a model: finds the block that a read is served from, and seeks.

#include "Lbt/Tev/ModelStreams.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace LbtTev {

namespace {

constexpr std::uint64_t kMebi = std::uint64_t{1024} * 1024;

[[noreturn]] void RefuseTheRest() {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds,
                  "The model refers to its data too often", "include/Lbt/Tev/ModelStreams");
}

}  // namespace

std::span<const unsigned char> ModelStream::GetBytes(unsigned long length) {
  LbtLbf::Block* block = FindBlock();
  if (block == nullptr) {
    return {};
  }
  // No block holds more than 32 bits can count; the longest read fails like any other that is
  // too long.
  constexpr unsigned long kMost = std::numeric_limits<std::uint32_t>::max();
  const auto bytes = block->Get(static_cast<std::uint32_t>(std::min(length, kMost)));
  read_ += bytes.size();
  return bytes;
}

void ModelStream::Seek(unsigned long position) {
  ChargeReads();
  block_ = nullptr;
  reason_ = nullptr;
  refusedAgain_.reset();
  ThrowOfRefusedTarget(position);
  if (KnowsStream()) {
    file_->SetBlockPosition(*stream_, position);
  } else {
    file_->SetBlockPosition(name_, position);
  }
}

void ModelStream::RequirePosition(unsigned long position) {
  LbtLbf::NamedStream* stream = file_->IsOpen() ? FindStream() : nullptr;
  if (stream == nullptr || position > file_->ReadRecordedLength(*stream)) {
    Seek(position);
  }
}

ModelStream::Request::Request(ModelStream& stream) : stream_(&stream) {
  ++stream.requests_;
  if (stream.requests_ == 1) {
    stream.charged_ = 0;
    stream.memory_ = 0;
    stream.passesAllowed_ = 0;
    stream.read_ = 0;
    stream.reloaded_ = stream.KnowsStream() ? stream.stream_->Work().loadedAgain : 0;
  }
}

/// What was read since the last seek, and what was loaded again for that. Without seeks nothing is
/// read twice.
std::uint64_t ModelStream::ReadUncharged() const {
  return KnowsStream() ? read_ + stream_->Work().loadedAgain - reloaded_ : 0;
}

void ModelStream::ChargeReads() {
  if (requests_ == 0 || !KnowsStream()) {
    return;
  }
  const std::uint64_t uncharged = ReadUncharged();
  read_ = 0;
  reloaded_ = stream_->Work().loadedAgain;
  Charge(uncharged);
}

/// What goes beyond the limit counts, too, so that whoever tries again is refused again.
void ModelStream::Charge(std::uint64_t bytes) {
  charged_ += bytes;
  if (!Allows(0)) {
    RefuseTheRest();
  }
}

void ModelStream::ChargeMemory(std::uint64_t bytes) {
  constexpr std::uint64_t kMostPerByte = 20;
  constexpr std::uint64_t kAlwaysAllowed = 64 * kMebi;
  memory_ += bytes;
  const std::uint64_t sum = Charged() + memory_;
  if (requests_ != 0 && sum > kAlwaysAllowed &&
      sum - kAlwaysAllowed > kMostPerByte * RecordedLength()) {
    RefuseTheRest();
  }
}

/// What all blocks of the stream hold, as far as they can.
std::uint64_t ModelStream::RecordedLength() {
  LbtLbf::NamedStream* stream = file_->IsOpen() ? FindStream() : nullptr;
  return stream == nullptr ? 0 : file_->ReadRecordedLength(*stream);
}

bool ModelStream::Allows(std::uint64_t bytes) {
  constexpr std::uint64_t kMostPerByte = 16;
  constexpr std::uint64_t kAlwaysAllowed = 16 * kMebi;
  const std::uint64_t sum = Charged() + bytes;
  if (requests_ == 0 || sum <= kAlwaysAllowed) {
    return true;
  }
  const std::uint64_t length = RecordedLength();
  // No two passes in a row bring less than the bytes of one; absurd lengths do not overflow.
  constexpr std::uint64_t kMostPasses = 1024;
  const std::uint64_t passes =
      std::min({passesAllowed_, length / (kBytesPerPass / 2), kMostPasses});
  return sum - kAlwaysAllowed <= (kMostPerByte + passes) * length;
}

std::uint64_t ModelStream::Position() {
  LbtLbf::NamedStream* stream = FindStream();
  return stream == nullptr ? 0 : file_->GetPosition(*stream);
}

void ModelStream::ThrowOfRefusedTarget(unsigned long position) {
  if (refused_.empty() || FindStream() == nullptr) {
    return;
  }
  const auto found = refused_.find(file_->TargetOf(*stream_, position));
  if (found != refused_.end()) {
    refusedAgain_ = found->first;
    std::rethrow_exception(found->second);
  }
}

std::optional<LbtLbf::NumberedBlock> ModelStream::RefusedBlock() const {
  return refusedAgain_ ? LbtLbf::NumberedBlock{*refusedAgain_, name_}
                       : file_->GetIndex().RefusedBlock();
}

std::string ModelStream::TextOfFailure(unsigned long position) const {
  const auto block = RefusedBlock() ? std::nullopt : file_->FindBlockAt(name_, position);
  return LbtLbf::TextOfByte(position, name_, block);
}

void ModelStream::GiveUp(std::exception_ptr reason) {
  if (const auto block = RefusedBlock(); block && block->stream == name_) {
    refused_.try_emplace(block->number, reason);
  }
  block_ = nullptr;
  reason_ = std::move(reason);
  hasMissedReads_ = false;
}

std::exception_ptr ModelStream::TakeReasonOfMissedReads() {
  return std::exchange(hasMissedReads_, false) ? reason_ : nullptr;
}

void ModelStream::FindNextBlock() {
  block_ = nullptr;
  hasMissedReads_ = reason_ != nullptr;
  if (hasMissedReads_) {
    return;
  }
  LbtLbf::NamedStream* stream = FindStream();
  block_ = stream == nullptr ? nullptr : file_->FindReadingBlock(*stream);
  changes_ = file_->GetIndex().Changes();
  if (block_ == nullptr && file_->IsOpen() && !isMissingLogged_) {
    isMissingLogged_ = true;
    LbtLbf::Index::LogMissingStream();
  }
}

LbtLbf::NamedStream* ModelStream::FindStream() {
  if (!KnowsStream()) {
    stream_ = file_->FindStream(name_);
    refused_.clear();
    reads_ = file_->GetIndex().Reads();
  }
  return stream_;
}

}  // namespace LbtTev
