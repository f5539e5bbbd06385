#include "Lbt/Util/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace Lbt::Util {

namespace {

constexpr mode_t kReadableByAll = 0666;  // less the user's umask

/// Closes its descriptor unless it is handed on.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] int Get() const { return descriptor_; }
  [[nodiscard]] int HandOn() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

/// Whether a file starts with the byte that models start with, and no text does.
bool MayBeAModel(int descriptor) {
  constexpr unsigned char kFirstOfModels = 0x89;
  unsigned char first = 0;
  const ssize_t count = pread(descriptor, &first, 1, 0);
  return count < 0 || (count == 1 && first == kFirstOfModels);
}

}  // namespace

std::optional<FileIdentity> IdentityOf(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) {
    return std::nullopt;
  }
  return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<FileIdentity> IdentityOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<std::uint64_t> SizeOf(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || status.st_size < 0) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(status.st_size);
}

bool IsRegularFile(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

void FillStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) {
      // The lowest free number is this one, since those below it are open by now.
      static_cast<void>(open("/dev/null", O_RDONLY));
    }
  }
}

std::optional<int> OpenForReplacing(const std::string& path, std::optional<FileIdentity> spared) {
  Descriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kReadableByAll));
  if (file.Get() < 0) {
    return std::nullopt;
  }
  const std::optional<FileIdentity> identity = IdentityOf(file.Get());
  if (!identity || (spared && *identity == *spared)) {
    return std::nullopt;
  }
  if (IsRegularFile(file.Get()) && ftruncate(file.Get(), 0) != 0) {
    return std::nullopt;
  }
  // Not to block was for the opening; a slow reader of a pipe is waited for.
  if (fcntl(file.Get(), F_SETFL, 0) != 0) {
    return std::nullopt;
  }
  return file.HandOn();
}

std::optional<int> OpenLog(const std::string& path) {
  // Appending keeps runs that share a log from leaving holes where another one emptied it: a log
  // that starts with a hole is no text, and no later run would write to it.
  Descriptor file(open(path.c_str(),
                       O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                       kReadableByAll));
  struct stat status {};
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
    return std::nullopt;
  }
  const bool ownFile = S_ISREG(status.st_mode) && status.st_nlink == 1;
  if (!ownFile || MayBeAModel(file.Get()) || ftruncate(file.Get(), 0) != 0) {
    return std::nullopt;
  }
  return file.HandOn();
}

}  // namespace Lbt::Util
