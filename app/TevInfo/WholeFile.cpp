// Puts a file in the place of another one when it is whole.

#include "TevInfo/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <utility>

#include "Lbt/Util/OutputStream.h"

namespace {

using Lbt::Util::FileIdentity;

constexpr mode_t kPermissions = 07777;

/// Whether nothing but its text would change for those who use a file.
bool IsReplaceable(const std::string& path, const struct stat& status,
                   std::optional<FileIdentity> spared) {
  return S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == geteuid() &&
         faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 &&
         FileIdentity{status.st_dev, status.st_ino} != spared;
}

/// Gives a new file the group and the permissions of the one that it will replace.
bool Resemble(int descriptor, const struct stat& former) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && status.st_dev == former.st_dev &&
         status.st_gid == former.st_gid && fchmod(descriptor, former.st_mode & kPermissions) == 0;
}

int OpenNameless(const std::string& path) {
  constexpr mode_t kReadableByAll = 0666;  // less the user's umask
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC,
              kReadableByAll);
}

}  // namespace

std::optional<WholeFile> WholeFile::ForReplacing(const std::string& path,
                                                 std::optional<FileIdentity> spared) {
  struct stat former {};
  const bool isThere = lstat(path.c_str(), &former) == 0;
  if (isThere ? !IsReplaceable(path, former, spared) : errno != ENOENT) {
    return std::nullopt;
  }
  WholeFile file(path, spared, OpenNameless(path));
  if (file.descriptor_ < 0 || (isThere && !Resemble(file.descriptor_, former))) {
    return std::nullopt;
  }
  return file;
}

WholeFile::WholeFile(std::string path, std::optional<FileIdentity> spared, int descriptor)
    : path_(std::move(path)), spared_(spared), descriptor_(descriptor) {}

WholeFile::~WholeFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

WholeFile::WholeFile(WholeFile&& other) noexcept
    : path_(std::move(other.path_)),
      spared_(other.spared_),
      descriptor_(std::exchange(other.descriptor_, -1)) {}

WholeFile& WholeFile::operator=(WholeFile&& other) noexcept {
  path_.swap(other.path_);
  std::swap(spared_, other.spared_);
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

bool WholeFile::PutInPlace() { return TakeName() || CopyText(); }

/// A name can only be given where none is, so the file gets one of its own for a moment.
bool WholeFile::TakeName() const {
  const std::string nameless = "/proc/self/fd/" + std::to_string(descriptor_);
  const std::string beside = path_ + "." + std::to_string(getpid()) + ".new";
  if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, beside.c_str(), AT_SYMLINK_FOLLOW) != 0) {
    return false;
  }
  if (std::rename(beside.c_str(), path_.c_str()) != 0) {
    unlink(beside.c_str());
    return false;
  }
  return true;
}

bool WholeFile::CopyText() const {
  const auto descriptor = Lbt::Util::OpenForReplacing(path_, spared_);
  if (!descriptor) {
    return false;
  }
  Lbt::Util::DescriptorStream copy(*descriptor, Lbt::Util::DescriptorStream::Ownership::Owned);
  std::array<char, 4096> piece{};
  ssize_t size = 0;
  for (off_t offset = 0; (size = pread(descriptor_, piece.data(), piece.size(), offset)) > 0;
       offset += size) {
    copy << std::string_view(piece.data(), static_cast<std::size_t>(size));
  }
  return size == 0 && copy.Finish();
}
