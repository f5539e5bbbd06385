#pragma once

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/LbFile.h"
#include "support/ByteWriter.h"
#include "support/Mask.h"

namespace tevtest {

/// Sets the version that record readers go by, and puts the old one back.
class FileVersion {
 public:
  explicit FileVersion(std::string version)
      : former_(std::exchange(LbtLbf::tev_file_version, std::move(version))) {}
  ~FileVersion() { LbtLbf::tev_file_version = former_; }
  FileVersion(const FileVersion&) = delete;
  FileVersion& operator=(const FileVersion&) = delete;

 private:
  std::string former_;
};

/// A block of these bytes, at its start.
inline LbtLbf::Block BlockOf(const std::string& bytes) {
  LbtLbf::Block block;
  block.AllocateAdditionalMemory(bytes.size());
  std::memcpy(block.Room().data(), bytes.data(), bytes.size());
  block.Append(Narrow(bytes.size()));
  block.SetPosition(0);
  return block;
}

/// Versions of records: all that are known, and some that are not.
inline const std::vector<std::string> kRecordVersions{"0.1", "0.2", "0.3", "0.4", "0.5",
                                                      "0.6", "0.7", "9",   "",    "0.1a"};

/// The text of what a record shorter than its fields throws, with its line.
inline const std::string kRecordTooShort = ExpectedException(
    "Unknown Version", "Unknown Version", "include/Lbt/Tev/BlockVersionedIo", "184");

}  // namespace tevtest
