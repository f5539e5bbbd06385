// Opens files so that nothing hangs or is changed by mistake, and tells their sizes.

#include "Lbt/Util/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <utility>

#include "Lbt/Util/NumberText.h"

namespace Lbt::Util {

namespace {

constexpr mode_t kReadableByAll = 0666;  // less the user's umask

/// Whether a file begins as a model does, or cannot be told from one.
bool MayBeAModel(int descriptor) {
  std::array<char, kModelSignature.size()> beginning{};
  const ssize_t count = pread(descriptor, beginning.data(), beginning.size(), 0);
  return count < 0 ||
         std::string_view(beginning.data(), static_cast<std::size_t>(count)) == kModelSignature;
}

/// Opens a file to append to it. Appending keeps runs that share a log from leaving holes where
/// another one emptied it.
Descriptor OpenToAppend(const std::string& path, int access) {
  return Descriptor(open(
      path.c_str(), access | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
      kReadableByAll));
}

/// Whether an open file is a regular one without a second name.
bool IsOfOneName(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

}  // namespace

Descriptor::~Descriptor() {
  if (IsOpen()) {
    close(descriptor_);
  }
}

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

void IgnoreFileSizeSignal() { static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); }

std::optional<int> OpenForReplacing(const std::string& path, std::optional<FileIdentity> spared) {
  Descriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kReadableByAll));
  if (!file.IsOpen()) {
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
  Descriptor toRead = OpenToAppend(path, O_RDWR);
  const bool isReadable = toRead.IsOpen();
  Descriptor file =
      isReadable || errno != EACCES ? std::move(toRead) : OpenToAppend(path, O_WRONLY);
  if (!file.IsOpen() || !IsOfOneName(file.Get()) || (isReadable && MayBeAModel(file.Get())) ||
      ftruncate(file.Get(), 0) != 0) {
    return std::nullopt;
  }
  return file.HandOn();
}

}  // namespace Lbt::Util

namespace LbtUtil {

std::string GetFileSize(const char* path) {
  struct stat status {};
  if (stat(path, &status) != 0) {
    return std::strerror(errno);
  }
  return FileSizeText(status.st_size);
}

std::string FileSizeText(std::int64_t bytes) {
  constexpr float kPerMebibyte = 1.0F / 1048576.0F;
  constexpr float kPerKibibyte = 0.0009765625F;
  const auto size = static_cast<float>(bytes);
  if (size * kPerMebibyte > 1.0F) {
    return Lbt::Util::ToString(size * kPerMebibyte) + " MB";
  }
  if (size * kPerKibibyte > 1.0F) {
    return Lbt::Util::ToString(size * kPerKibibyte) + " KB";
  }
  return Lbt::Util::ToString(size) + " B";
}

}  // namespace LbtUtil
