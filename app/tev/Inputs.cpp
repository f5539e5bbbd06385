// Which files a run answers on: arguments, lists of names, folders and pipes.

#include "tev/Inputs.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>
#include <string_view>
#include <utility>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Check/ForeignFile.h"
#include "tev/Answers.h"

namespace {

using LbtLbf::LbFile;

constexpr const char* kCannotOpen = "cannot open";

/// An open descriptor, until its end.
class OpenFile {
 public:
  // Without blocking: a pipe without a writer must not hang the run.
  explicit OpenFile(const std::string& path)
      : descriptor_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
      throw SystemFailure(kCannotOpen, errno);
    }
  }
  ~OpenFile() { close(descriptor_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// Its first bytes, so many at the most.
  [[nodiscard]] std::string FirstBytes(std::size_t most) const {
    std::string bytes(most, '\0');
    const ssize_t count = pread(descriptor_, bytes.data(), bytes.size(), 0);
    if (count < 0) {
      throw SystemFailure("cannot read", errno);
    }
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
  }

  [[nodiscard]] struct stat Status() const {
    struct stat status {};
    fstat(descriptor_, &status);
    return status;
  }

 private:
  int descriptor_;
};

void RequireFile(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) {
    throw Failure(FailureCode::NotAFile, "is a folder");
  }
  if (!S_ISREG(status.st_mode)) {
    throw Failure(FailureCode::NotAFile, "is no regular file");
  }
}

/// Throws a Failure where the file at "path" is no model at first sight.
void RequireModel(const std::string& path) {
  if (path.empty()) {
    throw Failure(FailureCode::NotFound, "the name is empty");
  }
  const OpenFile file(path);
  RequireFile(file.Status());
  if (const std::string start = file.FirstBytes(LbtTev::Check::kLookedAt);
      !start.starts_with(LbFile::kSignature)) {
    const std::string look(LbtTev::Check::LookOf(start));
    throw Failure(FailureCode::NotAModel,
                  "not a Tev file" + (look.empty() ? "" : ": it looks like " + look));
  }
}

[[nodiscard]] bool CanBeOpened(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
}

[[nodiscard]] bool IsFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

/// The names in a folder in the order of their bytes. Throws a Failure where it cannot be listed.
std::vector<std::string> NamesIn(const std::string& path) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (folder == nullptr) {
    throw SystemFailure("cannot list", errno);
  }
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) {
      break;
    }
    std::string name = static_cast<const char*>(entry->d_name);
    if (name != "." && name != "..") {
      names.push_back(std::move(name));
    }
  }
  if (errno != 0) {
    throw SystemFailure("cannot list", errno);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::optional<int> DescriptorOf(const std::string& path) {
  if (path == "-" || path == "/dev/stdin") {
    return STDIN_FILENO;
  }
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (path.starts_with(folder)) {
      int number = -1;
      const char* end = path.data() + path.size();
      const auto read = std::from_chars(path.data() + folder.size(), end, number);
      return read.ec == std::errc() && read.ptr == end && number >= 0 ? std::optional(number)
                                                                      : std::nullopt;
    }
  }
  return std::nullopt;
}

bool BeginsAsModel(const std::string& path) {
  return OpenFile(path).FirstBytes(LbFile::kSignature.size()) == LbFile::kSignature;
}

struct Inputs::Folder {
  std::string path;
  std::vector<std::string> names;
  std::size_t next = 0;
};

Inputs::Inputs(std::vector<std::string> paths, const std::string& names, Folders folders)
    : paths_(std::move(paths)),
      namesPath_(names),
      folderUse_(folders),
      isCountKnown_(names.empty()) {
  if (!names.empty()) {
    namesFile_.open(names == "-" ? "/dev/stdin" : names);
    if (const auto descriptor = DescriptorOf(names); !namesFile_ && descriptor) {
      namesCopy_.BecomeCopyOf(*descriptor);
      namesFile_.open(namesCopy_.Path());
    }
    if (!namesFile_) {
      throw SystemFailure(names + ": " + kCannotOpen, errno);
    }
  }
}

Inputs::~Inputs() = default;

std::optional<std::string> Inputs::NextName() {
  if (nextPath_ < paths_.size()) {
    return paths_[nextPath_++];
  }
  if (namesPath_.empty()) {
    return std::nullopt;
  }
  std::string name;
  if (std::getline(namesFile_, name, '\0')) {
    return name;
  }
  if (!namesFile_.eof()) {
    throw SystemFailure(namesPath_ + ": cannot read", errno);
  }
  return std::nullopt;
}

std::optional<std::size_t> Inputs::Count() const {
  return isCountKnown_ ? std::optional(paths_.size()) : std::nullopt;
}

bool Inputs::CanBeMany() const {
  return paths_.size() != 1 || !namesPath_.empty() ||
         (folderUse_ == Folders::Walked && IsFolder(paths_.front()));
}

bool Inputs::Fail(const Failure& failure) {
  input_.failure = failure;
  return true;
}

bool Inputs::TakeDescriptor(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) {
    return Fail(SystemFailure(kCannotOpen, errno));
  }
  input_.source = "/proc/self/fd/" + std::to_string(descriptor);
  // A file may have been opened by somebody who may do more: it can be read, but not opened again.
  if ((!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) || !CanBeOpened(input_.source)) {
    if (copied_ != descriptor) {  // a pipe that is named twice has been read to its end
      copied_.reset();
      copy_.BecomeCopyOf(descriptor);
      copied_ = descriptor;
    }
    input_.source = copy_.Path();
  }
  RequireModel(input_.source);
  return true;
}

bool Inputs::EnterFolder(const std::string& path) {
  isCountKnown_ = false;
  std::string start = path;
  start += path.ends_with('/') ? "" : "/";
  folders_.push_back({std::move(start), NamesIn(path)});
  return false;
}

void Inputs::LeaveFolder() {
  const std::string path = std::move(folders_.back().path);
  folders_.pop_back();
  if (folders_.empty() && !isAnyFound_) {
    ReportFailure(path, "there is no Tev file in this folder");
  }
}

/// Whether it becomes the next file; a folder is entered instead.
bool Inputs::TakeNamed(const std::string& path) {
  input_ = {path, path, std::nullopt};
  try {
    if (const auto descriptor = DescriptorOf(path)) {
      return TakeDescriptor(*descriptor);
    }
    if (folderUse_ == Folders::Walked && IsFolder(path)) {
      isAnyFound_ = false;
      return EnterFolder(path);
    }
    RequireModel(path);
  } catch (const Failure& failure) {
    return Fail(failure);
  }
  return true;
}

/// The same for what a folder has: only a model or a failure becomes one.
bool Inputs::TakeFound(const std::string& path) {
  input_ = {path, path, std::nullopt};
  try {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
      return Fail(SystemFailure(kCannotOpen, errno));
    }
    if (S_ISDIR(status.st_mode)) {
      return EnterFolder(path);
    }
    if (S_ISLNK(status.st_mode) && stat(path.c_str(), &status) != 0) {
      return Fail(SystemFailure(kCannotOpen, errno));
    }
    return S_ISREG(status.st_mode) && BeginsAsModel(path);
  } catch (const Failure& failure) {
    return Fail(failure);
  }
}

const Input* Inputs::Next() {
  for (;;) {
    if (folders_.empty()) {
      const std::optional<std::string> name = NextName();
      if (!name) {
        return nullptr;
      }
      if (TakeNamed(*name)) {
        return &input_;
      }
    } else if (Folder& folder = folders_.back(); folder.next == folder.names.size()) {
      LeaveFolder();
    } else if (TakeFound(folder.path + folder.names[folder.next++])) {
      isAnyFound_ = true;
      return &input_;
    }
  }
}
