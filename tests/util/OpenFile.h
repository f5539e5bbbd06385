#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tevtest {

/// A file opened for the time of a test; one that cannot be opened throws std::runtime_error.
class OpenFile {
 public:
  explicit OpenFile(const std::filesystem::path& path, int flags = O_RDONLY)
      : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0644)) {
    if (descriptor_ < 0) {
      throw std::runtime_error("cannot open " + path.string());
    }
  }
  /// Takes over an open descriptor.
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  ~OpenFile() { close(descriptor_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  [[nodiscard]] int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Whether "descriptor" is open.
inline bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) >= 0; }

}  // namespace tevtest
