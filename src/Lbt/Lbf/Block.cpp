// The growing byte buffer of a block, and the one way in for what is decoded.

#include "Lbt/Lbf/Block.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/MemoryUsage.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Util::Exception;

namespace {

constexpr const char* kBlockHeader = "include/Lbt/Lbf/Block";
constexpr std::uint32_t kInitialDefaultSize = 10485760;

/// Blocks of several files may grow at a time, each file in a thread of its own.
std::atomic<std::uint32_t>& DefaultSize() {
  static std::atomic<std::uint32_t> size = kInitialDefaultSize;
  return size;
}

}  // namespace

std::optional<std::uint32_t> Block::SizeFromEnvironment(const char* variable) {
  const char* text = std::getenv(variable);
  if (text == nullptr) {
    return std::nullopt;
  }
  const unsigned long value = std::strtoul(text, nullptr, 10);
  if (value >= std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(value);
}

std::uint32_t Block::GetDefaultSize() { return DefaultSize(); }

void Block::RefreshDefaultSize() {
  if (const auto size = SizeFromEnvironment("PRAMO_DEFAULT_TEV_BLOCK_SIZE")) {
    DefaultSize() = *size;
  }
}

Block& Block::operator=(Block&& other) noexcept {
  Block taken(std::move(other));
  Swap(taken);
  NoteOpen();
  return *this;
}

void Block::Swap(Block& other) noexcept {
  std::swap(buffer_, other.buffer_);
  std::swap(capacity_, other.capacity_);
  std::swap(allocated_, other.allocated_);
  std::swap(size_, other.size_);
  std::swap(position_, other.position_);
}

void Block::Read(const StoredFile& file, std::uint64_t position, std::uint32_t length) {
  if (length == 0) {
    return;
  }
  RefreshDefaultSize();
  // A stored size is only a claim: what the file does not hold needs no memory.
  const auto room =
      static_cast<std::uint32_t>(std::min<std::uint64_t>(length, file.BytesFrom(position)));
  const std::span<unsigned char> destination = RoomFor(room);
  if (room < length || file.Read(position, destination) != std::size_t{length}) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kBlockHeader);
  }
  size_ = std::max(size_, position_ + length);
  NoteOpen();
}

void Block::Get(void* const& destination, const unsigned int& length) {
  const std::span<const unsigned char> bytes = Get(std::uint32_t{length});
  if (!bytes.empty()) {
    std::memcpy(destination, bytes.data(), bytes.size());
  }
}

void Block::RaiseTooShort() {
  Raise(Exception::ErrorType::OutOfBounds, "Not enough bytes in the block", kBlockHeader);
}

void Block::SetPosition(const unsigned long& position) {
  if (size_ < position) {
    Raise(Exception::ErrorType::OutOfBounds, "Invalid block position", kBlockHeader);
  }
  position_ = static_cast<std::uint32_t>(position);
  NoteOpen();
}

std::uint64_t Block::CapacityWith(std::uint64_t extra) const {
  if (extra > std::numeric_limits<std::uint64_t>::max() - capacity_) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kBlockHeader);
  }
  return capacity_ + extra;
}

void Block::AllocateAdditionalMemory(const unsigned long& extra) {
  const std::uint64_t capacity = CapacityWith(extra);
  if (extra != 0) {
    Allocate(capacity);
    capacity_ = capacity;
  }
}

void Block::Allocate(std::uint64_t bytes) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  void* grown = std::realloc(buffer_.get(), bytes);
  if (grown == nullptr) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kBlockHeader);
  }
  static_cast<void>(buffer_.release());  // realloc has freed or kept it
  buffer_.reset(static_cast<unsigned char*>(grown));
  allocated_ = bytes;
}

/// Has the buffer hold "bytes"; where it grows again, it doubles, as far as the capacity goes.
void Block::Reserve(std::uint64_t bytes) {
  if (bytes <= allocated_) {
    return;
  }
  const bool isReleased = buffer_ == nullptr;
  Allocate(std::max(bytes, std::min(2 * allocated_, capacity_)));
  if (isReleased) {
    std::memset(buffer_.get(), 0, std::min<std::uint64_t>(size_, bytes));  // nobody has read those
  }
}

void Block::CheckFreeSpaceAndAllocateMemory(unsigned int& position, const unsigned int& length) {
  const std::uint64_t end = std::uint64_t{position} + length;
  if (end > std::numeric_limits<std::uint32_t>::max()) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kBlockHeader);
  }
  const bool isGrowing = end >= capacity_;
  const std::uint64_t capacity =
      isGrowing ? CapacityWith(std::max(length, GetDefaultSize())) : capacity_;
  Reserve(std::min(end, capacity));
  capacity_ = capacity;
  if (isGrowing && end <= allocated_) {
    Lbt::Util::AskForLargePages(buffer_.get() + position, length);
  }
}

std::span<unsigned char> Block::RoomFor(std::uint32_t length) {
  CheckFreeSpaceAndAllocateMemory(position_, length);
  return length == 0 ? std::span<unsigned char>() : std::span(buffer_.get() + position_, length);
}

std::span<unsigned char> Block::Room() {
  if (capacity_ == 0) {
    return {};
  }
  if (allocated_ < capacity_) {
    Allocate(capacity_);
  }
  return {buffer_.get() + position_, capacity_ - position_};
}

void Block::Append(std::uint32_t length) {
  position_ += length;
  size_ = std::max(size_, position_);
  NoteOpen();
}

void Block::ShrinkTo(std::uint64_t capacity) {
  capacity_ = std::min(capacity, capacity_);
  const std::uint64_t held = std::min<std::uint64_t>(size_, capacity_);
  if (held == 0) {
    buffer_.reset();
    allocated_ = 0;
  } else if (held < allocated_) {
    Allocate(held);
  }
}

void Block::Release() { static_cast<void>(ReleaseContents()); }

Block Block::ReleaseContents() {
  Block contents;
  contents.capacity_ = allocated_;
  contents.size_ = size_;
  contents.buffer_ = std::move(buffer_);
  contents.allocated_ = std::exchange(allocated_, 0);
  position_ = size_;
  return contents;
}

void Block::Adopt(Block contents) {
  *this = std::move(contents);
  RefreshDefaultSize();
  capacity_ = std::max(size_, GetDefaultSize());
  SetPosition(0);
}

void Block::Pass(std::uint32_t length) {
  if (length != 0) {
    RefreshDefaultSize();
    capacity_ = std::max(length, GetDefaultSize());
  }
  size_ = length;
  Release();
}

}  // namespace LbtLbf
