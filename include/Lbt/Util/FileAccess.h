#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Lbt::Util {

/// The first bytes of every model file. No text begins with them.
inline constexpr std::string_view kModelSignature = "\x89LBF\r\n\x1a\n";

/// A descriptor that is closed with its owner, unless it is handed on; below 0 there is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : descriptor_(other.HandOn()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int Get() const { return descriptor_; }
  [[nodiscard]] int HandOn() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

/// Which file a path or a descriptor stands for: its device and inode. Two
/// spellings, a hard link and what a symbolic link points to have the same one.
struct FileIdentity {
  dev_t device;
  ino_t inode;

  [[nodiscard]] bool operator==(const FileIdentity&) const = default;
};

/// The identity of an open file; none where its status cannot be read.
[[nodiscard]] std::optional<FileIdentity> IdentityOf(int descriptor);

/// The identity of the file that a path leads to; none where there is no such file.
[[nodiscard]] std::optional<FileIdentity> IdentityOf(const std::string& path);

/// Whether "descriptor" is open on a regular file: no directory, device or pipe.
[[nodiscard]] bool IsRegularFile(int descriptor);

/// Opens "/dev/null" for reading in place of each standard descriptor that is closed,
/// so that no other file takes its number and what is written to it fails.
void FillStandardDescriptors();

/// Has a write beyond the limit of file sizes fail like any other, instead of ending the process by
/// a signal.
void IgnoreFileSizeSignal();

/// Opens "path" for writing and empties it, creating it where needed. Never
/// blocks. The file is emptied only after it is known not to be "spared", so that
/// naming a model as one's own output cannot destroy it. A pipe that nobody reads
/// cannot be opened. None on failure; the caller owns the descriptor.
[[nodiscard]] std::optional<int> OpenForReplacing(const std::string& path,
                                                  std::optional<FileIdentity> spared);

/// Opens "path" as a text log, emptied, for writing. Follows no link, never blocks, and takes only
/// a regular file of one name that does not begin with kModelSignature: what lies in a shared
/// directory under the log's name may be a trap, or somebody's data. A file that may be written but
/// not read is taken for a log. None on failure; the caller owns the descriptor.
[[nodiscard]] std::optional<int> OpenLog(const std::string& path);

}  // namespace Lbt::Util

namespace LbtUtil {

/// The size of the file at "path" as text, in binary units: "12.5 MB",
/// "1.00098 KB", "1024 B". Symbolic links are followed. The system's error text
/// where the file's status cannot be read.
[[nodiscard]] std::string GetFileSize(const char* path);

/// The text for a size in bytes. The limits between the units are exclusive and
/// the sum is done in single precision; both are intended and visible.
[[nodiscard]] std::string FileSizeText(std::int64_t bytes);

}  // namespace LbtUtil
