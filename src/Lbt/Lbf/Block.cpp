// The growing byte buffer of a block, and the one way in for what is decoded.

#include "Lbt/Lbf/Block.h"

#include <sys/stat.h>

#include <algorithm>
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

constexpr const char* kFile = "include/Lbt/Lbf/Block";
constexpr std::uint32_t kInitialDefaultSize = 10485760;

std::uint32_t& DefaultSize() {
  static std::uint32_t size = kInitialDefaultSize;
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
  DefaultSize() = SizeFromEnvironment("PRAMO_DEFAULT_TEV_BLOCK_SIZE").value_or(DefaultSize());
}

Block& Block::operator=(Block&& other) noexcept {
  Block taken(std::move(other));
  Swap(taken);
  return *this;
}

void Block::Swap(Block& other) noexcept {
  std::swap(buffer_, other.buffer_);
  std::swap(capacity_, other.capacity_);
  std::swap(size_, other.size_);
  std::swap(position_, other.position_);
}

std::uint64_t Block::BytesLeft(std::FILE* stream) {
  const off_t offset = ftello(stream);
  struct stat status {};
  if (offset < 0 || fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::numeric_limits<std::uint64_t>::max();
  }
  return status.st_size > offset ? static_cast<std::uint64_t>(status.st_size - offset) : 0;
}

void Block::Read(std::FILE* stream, const unsigned int& length) {
  if (length == 0) {
    return;
  }
  RefreshDefaultSize();
  // A stored size is only a claim: what the file does not hold needs no memory.
  const auto room = static_cast<unsigned int>(std::min<std::uint64_t>(length, BytesLeft(stream)));
  CheckFreeSpaceAndAllocateMemory(position_, room);
  if (room < length || std::fread(buffer_.get() + position_, length, 1, stream) != 1) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFile);
  }
  size_ = std::max(size_, position_ + length);
}

void Block::Get(void* const& destination, const unsigned int& length) {
  const std::span<const unsigned char> bytes = Get(std::uint32_t{length});
  if (!bytes.empty()) {
    std::memcpy(destination, bytes.data(), bytes.size());
  }
}

void Block::RaiseTooShort() {
  Raise(Exception::ErrorType::OutOfBounds, "Not enough bytes in the block", kFile);
}

void Block::SetPosition(const unsigned long& position) {
  if (size_ < position) {
    Raise(Exception::ErrorType::OutOfBounds, "Invalid block position", kFile);
  }
  position_ = static_cast<std::uint32_t>(position);
}

void Block::AllocateAdditionalMemory(const unsigned long& extra) {
  if (extra > std::numeric_limits<std::uint64_t>::max() - capacity_) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kFile);
  }
  if (extra != 0) {
    Reallocate(capacity_ + extra);
  }
}

void Block::Reallocate(std::uint64_t capacity) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  void* grown = std::realloc(buffer_.get(), capacity);
  if (grown == nullptr) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kFile);
  }
  static_cast<void>(buffer_.release());  // realloc has freed or kept it
  buffer_.reset(static_cast<unsigned char*>(grown));
  capacity_ = capacity;
}

void Block::CheckFreeSpaceAndAllocateMemory(unsigned int& position, const unsigned int& length) {
  const std::uint64_t end = std::uint64_t{position} + length;
  if (end > std::numeric_limits<std::uint32_t>::max()) {
    Raise(Exception::ErrorType::MemoryAllocationError, "Memory Allocation Error", kFile);
  }
  if (end >= capacity_) {
    AllocateAdditionalMemory(std::max(length, GetDefaultSize()));
    if (end <= capacity_) {
      Lbt::Util::AskForLargePages(buffer_.get() + position, length);
    }
  }
}

std::span<unsigned char> Block::Room() {
  return buffer_ == nullptr ? std::span<unsigned char>()
                            : std::span(buffer_.get() + position_, capacity_ - position_);
}

void Block::Append(std::uint32_t length) {
  position_ += length;
  size_ = std::max(size_, position_);
}

void Block::ShrinkTo(std::uint64_t capacity) {
  if (capacity == 0) {
    buffer_.reset();
    capacity_ = 0;
  } else if (capacity < capacity_) {
    Reallocate(capacity);
  }
}

void Block::Release() {
  position_ = size_;
  buffer_.reset();
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
