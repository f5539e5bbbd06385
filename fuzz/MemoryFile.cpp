// A file in memory that has a path.

#include "MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace tevfuzz {

MemoryFile::MemoryFile(std::span<const std::uint8_t> bytes)
    : descriptor_(memfd_create("model", MFD_CLOEXEC)) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written <= 0) {
      std::abort();  // the machine's fault, and nothing can be tried without the file
    }
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
}

MemoryFile::~MemoryFile() { close(descriptor_); }

std::string MemoryFile::Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

}  // namespace tevfuzz
