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

using Lbt::Util::FileIdentity;
using Lbt::Util::IdentityOf;
using LbtLbf::LbFile;

constexpr const char* kCannotOpen = "cannot open";

/// The system takes paths of up to 4095 bytes, and names of up to 255: one of this length leaves
/// room for what comes after it.
constexpr std::size_t kLongPath = 2048;

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

  [[nodiscard]] int Descriptor() const { return descriptor_; }

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

std::string PathOfDescriptor(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

std::optional<FileIdentity> IdentityOfNamed(const std::string& path) {
  const std::optional<int> descriptor = DescriptorOf(path);
  return descriptor ? IdentityOf(*descriptor) : IdentityOf(path);
}

bool BeginsAsModel(const std::string& path) {
  return OpenFile(path).FirstBytes(LbFile::kSignature.size()) == LbFile::kSignature;
}

struct Inputs::Folder {
  std::size_t pathSize = 0;  ///< of "walked_", up to its end
  std::vector<std::string> names;
  std::size_t next = 0;
  std::shared_ptr<const OpenFile> base{};  ///< a folder on the way to it, where that is long
  std::size_t baseSize = 0;                ///< of "walked_", up to the end of the base
};

Inputs::Inputs(std::vector<std::string> paths, const std::string& names, Folders folders)
    : paths_(std::move(paths)),
      namesPath_(names),
      folderUse_(folders),
      isCountKnown_(names.empty()) {
  if (!names.empty()) {
    OpenNames();
  }
}

void Inputs::OpenNames() {
  const std::optional<int> descriptor = DescriptorOf(namesPath_);
  namesIdentity_ = descriptor ? IdentityOf(*descriptor) : std::nullopt;
  const auto both =
      std::ranges::find_if(paths_, [this](const std::string& path) { return IsListOfNames(path); });
  if (both != paths_.end()) {
    throw OptionError(*both + ": is the list of names, so it can be no model");
  }
  namesFile_.open(namesPath_ == "-" ? "/dev/stdin" : namesPath_);
  if (!namesFile_ && descriptor) {
    namesCopy_.BecomeCopyOf(*descriptor);
    namesFile_.open(namesCopy_.Path());
  }
  if (!namesFile_) {
    throw SystemFailure(namesPath_ + ": " + kCannotOpen, errno);
  }
}

/// Whether it stands for what the list of names is read from: to read it would take names away.
bool Inputs::IsListOfNames(const std::string& path) const {
  const std::optional<int> descriptor = DescriptorOf(path);
  return namesIdentity_ && descriptor && IdentityOf(*descriptor) == namesIdentity_;
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

bool Inputs::IsPassedOver(const std::string& path, const struct stat& status) {
  const bool isPassedOver = isPassedOver_ && S_ISREG(status.st_mode) && isPassedOver_(path, status);
  isAnyFound_ = isAnyFound_ || isPassedOver;
  return isPassedOver;
}

bool Inputs::Fail(const Failure& failure) {
  input_.failure = failure;
  return true;
}

/// The path of a copy of what is read from a descriptor once.
std::string Inputs::CopyOf(int descriptor, const struct stat& status) {
  std::unique_ptr<TemporaryFile>& copy = copies_[{status.st_dev, status.st_ino}];
  if (copy == nullptr) {
    auto made = std::make_unique<TemporaryFile>();
    made->BecomeCopyOf(descriptor);
    copy = std::move(made);
  }
  return copy->Path();
}

bool Inputs::TakeDescriptor(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) {
    return Fail(SystemFailure(kCannotOpen, errno));
  }
  if (IsListOfNames(input_.path)) {
    return Fail({FailureCode::NotAModel, "is the list of names"});
  }
  input_.source = PathOfDescriptor(descriptor);
  // A file may have been opened by somebody who may do more: it can be read, but not opened again.
  if ((!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) || !CanBeOpened(input_.source)) {
    input_.source = CopyOf(descriptor, status);
  }
  RequireModel(input_.source);
  return true;
}

bool Inputs::EnterFolder(const std::string& path, const std::string& source) {
  isCountKnown_ = false;
  Folder folder{.names = NamesIn(source)};
  folder.pathSize = path.size() + (path.ends_with('/') ? 0 : 1);
  if (source.size() > kLongPath) {
    folder.base = std::make_shared<const OpenFile>(source);
    folder.baseSize = folder.pathSize;
  } else if (!folders_.empty()) {
    folder.base = folders_.back().base;
    folder.baseSize = folders_.back().baseSize;
  }
  walked_ = path;
  walked_.resize(folder.pathSize, '/');
  folders_.push_back(std::move(folder));
  return false;
}

void Inputs::LeaveFolder() {
  folders_.pop_back();
  if (!folders_.empty()) {
    walked_.resize(folders_.back().pathSize);
  } else if (!isAnyFound_) {
    ReportFailure(walked_, "there is no Tev file in this folder");
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
      return EnterFolder(path, path);
    }
    struct stat status {};
    if (isPassedOver_ && stat(path.c_str(), &status) == 0 && IsPassedOver(path, status)) {
      return false;
    }
    RequireModel(path);
  } catch (const Failure& failure) {
    return Fail(failure);
  }
  return true;
}

/// The same for what a folder has: only a model or a failure becomes one.
bool Inputs::TakeFound(const Folder& folder, const std::string& name) {
  std::string path = walked_ + name;
  std::string source = folder.base == nullptr ? path
                                              : PathOfDescriptor(folder.base->Descriptor()) + '/' +
                                                    path.substr(folder.baseSize);
  input_ = {std::move(path), std::move(source), std::nullopt};
  try {
    struct stat status {};
    if (lstat(input_.source.c_str(), &status) != 0) {
      return Fail(SystemFailure(kCannotOpen, errno));
    }
    if (S_ISDIR(status.st_mode)) {
      return EnterFolder(input_.path, input_.source);
    }
    if (S_ISLNK(status.st_mode) && stat(input_.source.c_str(), &status) != 0) {
      return Fail(SystemFailure(kCannotOpen, errno));
    }
    return S_ISREG(status.st_mode) && !IsPassedOver(input_.path, status) &&
           BeginsAsModel(input_.source);
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
    } else if (TakeFound(folder, folder.names[folder.next++])) {
      isAnyFound_ = true;
      return &input_;
    }
  }
}
