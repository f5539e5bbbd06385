#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

/// One of so many mutants is tried, unless TEVINFO_SWEEP says "all".
inline std::size_t Stride(std::size_t slice) {
  const char* wanted = std::getenv("TEVINFO_SWEEP");
  return wanted != nullptr && std::string_view(wanted) == "all" ? 1 : slice;
}

/// A file in memory, written anew for each mutant.
class ScratchFile {
 public:
  ScratchFile() : descriptor_(memfd_create("mutant", MFD_CLOEXEC)) {}
  ~ScratchFile() { close(descriptor_); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  void Write(const std::string& bytes) const {
    ASSERT_EQ(ftruncate(descriptor_, 0), 0);
    ASSERT_EQ(pwrite(descriptor_, bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
  }

  [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

/// Sends standard output to nowhere and silences std::cerr, until its end. Sanitizers write
/// past std::cerr, so that their findings are still seen.
class Silence {
 public:
  Silence() : output_(dup(STDOUT_FILENO)) {
    std::cout.flush();
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    std::cerr.setstate(std::ios::badbit);
  }
  ~Silence() {
    dup2(output_, STDOUT_FILENO);
    close(output_);
    std::cerr.clear();
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int output_;
};
