#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Util/FileAccess.h"

namespace LbtLbf {

/// A file that is open for reading, whose bytes are read by their position.
///
/// Short reads share calls of the system: one of them brings what follows it, too, and later ones
/// take from that what they can, so that what lies close together costs one call in all. What is
/// longer goes straight to where it is wanted, in one call.
///
/// The size is that of when the file was opened, as long as its bytes do not end earlier. Not for
/// several threads at a time.
class StoredFile {
 public:
  /// How many bytes a short read brings at the most; one of so many is long.
  static constexpr std::size_t kAhead = 4096;

  /// None.
  StoredFile() = default;

  /// Opens the file at "path" without blocking. It is not open where that fails, for the reason in
  /// errno.
  explicit StoredFile(const std::string& path);

  /// What a stream of the caller's reads from, which has to outlive this; none of a null pointer.
  /// Nothing is read ahead, and the stream stands where the last read ended. Not explicit: what
  /// takes a file takes a stream.
  StoredFile(std::FILE* stream);

  [[nodiscard]] bool IsOpen() const { return descriptor_.IsOpen() || stream_ != nullptr; }

  /// Copies the bytes from "position" on and returns how many there are: fewer than "bytes" has
  /// room for at the file's end. None where the system refuses, for the reason in errno.
  [[nodiscard]] std::optional<std::size_t> Read(std::uint64_t position,
                                                std::span<unsigned char> bytes) const;

  /// Whether the system has refused a read: what failed then tells nothing of what the file holds.
  [[nodiscard]] bool HasRefused() const { return hasRefused_; }

  /// Whether it is no folder, device or pipe.
  [[nodiscard]] bool IsRegular() const { return status_ && S_ISREG(status_->st_mode); }

  [[nodiscard]] bool IsFolder() const { return status_ && S_ISDIR(status_->st_mode); }

  /// In bytes; none where the file's status cannot be read.
  [[nodiscard]] std::optional<std::uint64_t> Size() const;

  [[nodiscard]] std::optional<Lbt::Util::FileIdentity> Identity() const;

  /// How many bytes there are from "position" on; as many as there can be where the file has no end
  /// that can be known.
  [[nodiscard]] std::uint64_t BytesFrom(std::uint64_t position) const;

 private:
  [[nodiscard]] std::size_t TakeAhead(std::uint64_t position, std::span<unsigned char> bytes) const;
  [[nodiscard]] bool LookAhead(std::uint64_t position, std::size_t count) const;
  [[nodiscard]] std::optional<std::size_t> ReadStraight(std::uint64_t position,
                                                        std::span<unsigned char> bytes) const;
  [[nodiscard]] std::optional<std::size_t> ReadStream(std::uint64_t position,
                                                      std::span<unsigned char> bytes) const;

  Lbt::Util::Descriptor descriptor_;
  std::FILE* stream_ = nullptr;
  // What has been found of the file, which reading it does not change.
  mutable std::optional<struct stat> status_;
  mutable std::vector<unsigned char> ahead_;  ///< bytes that were read ahead
  mutable std::uint64_t aheadStart_ = 0;      ///< where they lie in the file
  mutable bool hasRefused_ = false;
};

}  // namespace LbtLbf
