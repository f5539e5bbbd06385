#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tevfuzz {

/// A file in memory that programs open by its path.
class MemoryFile {
 public:
  explicit MemoryFile(std::span<const std::uint8_t> bytes);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] std::string Path() const;

 private:
  int descriptor_;
};

}  // namespace tevfuzz
