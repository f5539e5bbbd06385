// Reads the bytes of an open file by their position, short reads ahead.

#include "Lbt/Lbf/StoredFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

namespace LbtLbf {

namespace {

std::optional<struct stat> StatusOf(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 ? std::optional(status) : std::nullopt;
}

}  // namespace

StoredFile::StoredFile(const std::string& path)
    // Without blocking: a pipe that nobody writes to must not stop the program.
    : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
  if (descriptor_.IsOpen()) {
    status_ = StatusOf(descriptor_.Get());
  }
}

StoredFile::StoredFile(std::FILE* stream) : stream_(stream) {
  if (stream_ != nullptr) {
    status_ = StatusOf(fileno(stream_));
  }
}

std::optional<std::uint64_t> StoredFile::Size() const {
  return status_ && status_->st_size >= 0
             ? std::optional(static_cast<std::uint64_t>(status_->st_size))
             : std::nullopt;
}

std::optional<Lbt::Util::FileIdentity> StoredFile::Identity() const {
  return status_ ? std::optional(Lbt::Util::FileIdentity{status_->st_dev, status_->st_ino})
                 : std::nullopt;
}

std::uint64_t StoredFile::BytesFrom(std::uint64_t position) const {
  if (!IsRegular()) {
    return std::numeric_limits<std::uint64_t>::max();
  }
  const std::uint64_t size = Size().value_or(0);
  return size - std::min(position, size);
}

std::optional<std::size_t> StoredFile::Read(std::uint64_t position,
                                            std::span<unsigned char> bytes) const {
  const std::size_t taken = TakeAhead(position, bytes);
  position += taken;
  const std::uint64_t left = BytesFrom(position);
  const auto rest = bytes.subspan(taken, std::min<std::uint64_t>(bytes.size() - taken, left));
  if (rest.empty()) {
    return taken;
  }
  if (stream_ == nullptr && IsRegular() && rest.size() < kAhead) {
    return LookAhead(position, std::min<std::uint64_t>(kAhead, left))
               ? std::optional(taken + TakeAhead(position, rest))
               : std::nullopt;
  }
  const std::optional<std::size_t> read = ReadStraight(position, rest);
  return read ? std::optional(taken + *read) : std::nullopt;
}

/// Copies what was read ahead from "position" on; returns how much.
std::size_t StoredFile::TakeAhead(std::uint64_t position, std::span<unsigned char> bytes) const {
  if (position < aheadStart_ || position - aheadStart_ >= ahead_.size()) {
    return 0;
  }
  const auto known = std::span<const unsigned char>(ahead_).subspan(position - aheadStart_);
  const std::size_t count = std::min(known.size(), bytes.size());
  std::copy_n(known.begin(), count, bytes.begin());
  return count;
}

/// Reads up to "count" bytes from "position" on, to be taken. False where the system refuses.
bool StoredFile::LookAhead(std::uint64_t position, std::size_t count) const {
  ahead_.resize(count);
  aheadStart_ = position;
  const std::optional<std::size_t> read = ReadStraight(position, ahead_);
  ahead_.resize(read.value_or(0));
  return read.has_value();
}

std::optional<std::size_t> StoredFile::ReadStraight(std::uint64_t position,
                                                    std::span<unsigned char> bytes) const {
  if (stream_ != nullptr) {
    return ReadStream(position, bytes);
  }
  std::size_t count = 0;
  while (count < bytes.size()) {
    const ssize_t read = pread(descriptor_.Get(), bytes.data() + count, bytes.size() - count,
                               static_cast<off_t>(position + count));
    if (read < 0) {
      hasRefused_ = true;
      return std::nullopt;
    }
    if (read == 0) {
      status_ = StatusOf(descriptor_.Get());  // somebody may have made it shorter
      break;
    }
    count += static_cast<std::size_t>(read);
  }
  return count;
}

std::optional<std::size_t> StoredFile::ReadStream(std::uint64_t position,
                                                  std::span<unsigned char> bytes) const {
  const auto offset = static_cast<off_t>(position);
  // One that cannot tell where it stands can only go on.
  const bool isPlaced = ftello(stream_) == offset || fseeko(stream_, offset, SEEK_SET) == 0;
  const std::size_t count = isPlaced ? std::fread(bytes.data(), 1, bytes.size(), stream_) : 0;
  if (!isPlaced || (count < bytes.size() && std::ferror(stream_) != 0)) {
    hasRefused_ = true;
    return std::nullopt;
  }
  return count;
}

}  // namespace LbtLbf
