// Writes files and folders beside those that they replace.

#include "Lbt/Tev/Exchange/ReplacedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/FileAccess.h"

namespace LbtTev::Exchange {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kFileMode = 0666;  // less the user's umask

/// Names beside "path" that nobody else uses at a time, one for each number.
std::string NameBeside(const fs::path& path, int number) {
  return (path.parent_path() / ("." + path.filename().string() + "." + std::to_string(getpid()) +
                                "-" + std::to_string(number) + ".part"))
      .string();
}

/// Calls "make" with names until one is free; returns it.
template <class Make>
std::string MakeBeside(const fs::path& path, const Make& make) {
  constexpr int kMost = 1000;
  for (int number = 0; number < kMost; ++number) {
    std::string name = NameBeside(path, number);
    if (make(name)) {
      return name;
    }
    if (errno != EEXIST) {
      break;
    }
  }
  RaiseWriteError("cannot create a file in its folder");
}

auto HandlerOf(const struct sigaction& action) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): the system's own type
  return action.sa_handler;
}

/// What a user, a terminal that is closed or a queue ends programs by, unless it is ignored.
sigset_t EndingSignals() {
  sigset_t ending{};
  sigemptyset(&ending);
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) == 0 && HandlerOf(action) != SIG_IGN) {
      sigaddset(&ending, number);
    }
  }
  return ending;
}

int OpenNew(const std::string& path, int access) {
  return open(path.c_str(), access | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
}

/// Where the file system has no rights to set, they stay as they are.
void SetPermissions(const std::string& path, fs::perms permissions) {
  std::error_code error;
  fs::permissions(path, permissions, error);
}

/// A new folder beside "path".
std::string MakeFolderBeside(const fs::path& path) {
  constexpr mode_t kFolderMode = 0777;
  return MakeBeside(path,
                    [](const std::string& name) { return mkdir(name.c_str(), kFolderMode) == 0; });
}

/// All bytes by several calls where one takes fewer. "call" gets what is left and where it belongs.
template <class Byte, class Call>
void InPieces(std::span<Byte> bytes, std::uint64_t position, const Call& call) {
  while (!bytes.empty()) {
    RequireNoSignal();
    const ssize_t count = call(bytes, static_cast<off_t>(position));
    if (count == 0 || (count < 0 && errno != EINTR)) {
      RaiseWriteError("cannot write to a temporary file");
    }
    const auto done = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    bytes = bytes.subspan(done);
    position += done;
  }
}

}  // namespace

fs::path TargetOf(const std::string& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  return error ? fs::path(path) : target;
}

void RaiseWriteError(const std::string& what) {
  const int error = errno;
  const std::string text = what + (error == 0 ? "" : ": " + std::system_category().message(error));
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::WriteError, text.c_str(),
                  "include/Lbt/Tev/Exchange/ReplacedFile");
}

HeldSignals::HeldSignals() {
  const sigset_t ending = EndingSignals();
  pthread_sigmask(SIG_BLOCK, &ending, &before_);
}

HeldSignals::~HeldSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

void RequireNoSignal() {
  const sigset_t ending = EndingSignals();
  sigset_t come{};
  sigpending(&come);
  sigandset(&come, &come, &ending);
  if (sigisemptyset(&come) == 0) {
    errno = EINTR;
    RaiseWriteError("cannot write");
  }
}

ReplacedFile::ReplacedFile(const std::string& path) : path_(TargetOf(path).string()) {
  std::error_code error;
  const fs::file_status old = fs::status(path_, error);
  if (!fs::status_known(old)) {
    errno = error.value();
    RaiseWriteError("cannot write");
  }
  isThere_ = fs::exists(old);
  if (isThere_ && !fs::is_regular_file(old)) {
    errno = 0;
    RaiseWriteError(fs::path(path).filename().string() + " is no file that can be replaced");
  }
  int descriptor = -1;
  temporary_ = MakeBeside(path_, [&](const std::string& name) {
    descriptor = OpenNew(name, O_WRONLY);
    return descriptor >= 0;
  });
  if (isThere_) {
    permissions_ = old.permissions();
    SetPermissions(temporary_, permissions_ | fs::perms::owner_read | fs::perms::owner_write);
  }
  using enum Lbt::Util::DescriptorStream::Ownership;
  stream_ = std::make_unique<Lbt::Util::DescriptorStream>(descriptor, Owned);
}

ReplacedFile::~ReplacedFile() {
  if (!temporary_.empty()) {
    unlink(temporary_.c_str());
  }
}

void ReplacedFile::Finish() {
  if (stream_->good()) {
    errno = 0;  // else it tells why an earlier write failed
  }
  if (!stream_->Finish()) {
    RaiseWriteError("cannot write");
  }
  if (isThere_) {
    SetPermissions(temporary_, permissions_);
  }
}

void ReplacedFile::Commit() {
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
    RaiseWriteError("cannot replace the file");
  }
  temporary_.clear();
}

ReplacedFolder::ReplacedFolder(std::string path, std::string suffix)
    : path_(std::move(path)), suffix_(std::move(suffix)) {
  RequireOwn();
  temporary_ = MakeFolderBeside(path_);
}

/// "f_12.vtu" in the folder "f".
bool ReplacedFolder::IsOwnName(std::string_view name) const {
  const std::string start = fs::path(path_).filename().string() + '_';
  if (!name.starts_with(start) || !name.ends_with(suffix_)) {
    return false;
  }
  name.remove_prefix(start.size());
  return name.find_first_not_of("0123456789") == name.size() - suffix_.size() &&
         name.size() > suffix_.size();
}

/// A folder of that name may be somebody's work.
void ReplacedFolder::RequireOwn() const {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path_, error);
  bool isOwn = fs::is_directory(status);
  for (fs::directory_iterator entry(path_, error), end; isOwn && !error && entry != end;
       entry.increment(error)) {
    isOwn = entry->is_regular_file(error) && IsOwnName(entry->path().filename().string());
  }
  if (fs::exists(status) && (!isOwn || error)) {
    errno = 0;
    RaiseWriteError("the folder " + fs::path(path_).filename().string() +
                    " beside it has other files than an export writes");
  }
}

ReplacedFolder::~ReplacedFolder() {
  std::error_code error;
  if (!temporary_.empty()) {
    fs::remove_all(temporary_, error);
  }
}

/// The old folder, where there is one, goes away with the name of the new one.
void ReplacedFolder::Commit() {
  std::error_code error;
  const bool isThere = fs::exists(path_, error);
  if (!(isThere ? Swap() : std::rename(temporary_.c_str(), path_.c_str()) == 0)) {
    RaiseWriteError("cannot replace the folder beside it");
  }
  if (!isThere) {
    temporary_.clear();
  }
}

bool ReplacedFolder::Swap() {
  if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_EXCHANGE) == 0) {
    return true;
  }
  return (errno == EINVAL || errno == ENOSYS) && SwapByTurns();
}

/// For file systems that cannot swap two names, as many over a network cannot. For a moment there
/// is no folder of that name.
bool ReplacedFolder::SwapByTurns() {
  const std::string aside = MakeFolderBeside(path_);  // empty: a folder may take its place
  const bool isAside = std::rename(path_.c_str(), aside.c_str()) == 0;
  if (isAside && std::rename(temporary_.c_str(), path_.c_str()) == 0) {
    temporary_ = aside;
    return true;
  }
  const int reason = errno;
  if (!isAside || std::rename(aside.c_str(), path_.c_str()) != 0) {
    rmdir(aside.c_str());
  }
  errno = reason;
  return false;
}

Spool::Spool(const std::string& path) {
  const std::string name = MakeBeside(TargetOf(path), [&](const std::string& candidate) {
    descriptor_ = OpenNew(candidate, O_RDWR);
    return descriptor_ >= 0;
  });
  unlink(name.c_str());
}

Spool::~Spool() { close(descriptor_); }

// NOLINTNEXTLINE(readability-make-member-function-const): the file is what it changes
void Spool::Write(std::uint64_t position, std::span<const std::byte> bytes) {
  InPieces(bytes, position, [&](std::span<const std::byte> piece, off_t at) {
    return pwrite(descriptor_, piece.data(), piece.size(), at);
  });
}

void Spool::Read(std::uint64_t position, std::span<std::byte> bytes) const {
  InPieces(bytes, position, [&](std::span<std::byte> piece, off_t at) {
    return pread(descriptor_, piece.data(), piece.size(), at);
  });
}

}  // namespace LbtTev::Exchange
