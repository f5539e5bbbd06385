// Which files a run answers on: arguments, lists of names, folders and pipes.

#include "tev/Inputs.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
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
using LbtLbf::StoredFile;

constexpr const char* kCannotOpen = "cannot open";

/// The system takes paths of up to 4095 bytes, and names of up to 255: one of this length leaves
/// room for what comes after it.
constexpr std::size_t kLongPath = 2048;

/// Opens the file at "path". Throws a Failure where that cannot be done.
StoredFile Opened(const std::string& path) {
  StoredFile file(path);
  if (!file.IsOpen()) {
    throw SystemFailure(kCannotOpen, errno);
  }
  return file;
}

/// What is looked at of a file, or as much as there is. Throws a Failure where it cannot be read.
std::string Start(const StoredFile& file) {
  std::array<unsigned char, LbtTev::Check::kLookedAt> bytes{};
  const std::optional<std::size_t> count = file.Read(0, bytes);
  if (!count) {
    throw SystemFailure("cannot read", errno);
  }
  return {bytes.begin(), bytes.begin() + *count};
}

bool LooksLikeModel(const StoredFile& file) { return Start(file).starts_with(LbFile::kSignature); }

/// Throws a Failure where an open file is no model at first sight.
void RequireModel(const StoredFile& file) {
  if (file.IsFolder()) {
    throw Failure(FailureCode::NotAFile, "is a folder");
  }
  if (!file.IsRegular()) {
    throw Failure(FailureCode::NotAFile, "is no regular file");
  }
  if (const std::string start = Start(file); !start.starts_with(LbFile::kSignature)) {
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

struct FolderEntry {
  std::string name;
  bool isFile = false;  ///< the folder says that it is a regular file
};

/// The entries of a folder in the order of their names' bytes. Throws a Failure where it cannot be
/// listed.
std::vector<FolderEntry> EntriesIn(const std::string& path) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (folder == nullptr) {
    throw SystemFailure("cannot list", errno);
  }
  std::vector<FolderEntry> entries;
  for (;;) {
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) {
      break;
    }
    std::string name = static_cast<const char*>(entry->d_name);
    if (name != "." && name != "..") {
      entries.push_back({std::move(name), entry->d_type == DT_REG});
    }
  }
  if (errno != 0) {
    throw SystemFailure("cannot list", errno);
  }
  std::ranges::sort(entries, {}, &FolderEntry::name);
  return entries;
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

bool BeginsAsModel(const std::string& path) { return LooksLikeModel(Opened(path)); }

StoredFile TakeFile(const Input& input) {
  return input.file == nullptr ? StoredFile() : std::exchange(*input.file, {});
}

struct Inputs::Folder {
  std::size_t pathSize = 0;  ///< of "walked_", up to its end
  std::vector<FolderEntry> entries;
  std::size_t next = 0;
  std::shared_ptr<const Lbt::Util::Descriptor>
      base{};                ///< a folder on the way to it, where that is long
  std::size_t baseSize = 0;  ///< of "walked_", up to the end of the base
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

bool Inputs::PassesOver(const std::string& path, const struct stat& status) {
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
  return TakeModel(Opened(input_.source));
}

/// Keeps an open file for who reads the model. Throws a Failure where it is none.
bool Inputs::TakeModel(StoredFile file) {
  RequireModel(file);
  input_.file = std::make_shared<StoredFile>(std::move(file));
  return true;
}

bool Inputs::EnterFolder(const std::string& path, const std::string& source) {
  isCountKnown_ = false;
  Folder folder{.entries = EntriesIn(source)};
  folder.pathSize = path.size() + (path.ends_with('/') ? 0 : 1);
  if (source.size() > kLongPath) {
    folder.base = std::make_shared<const Lbt::Util::Descriptor>(
        open(source.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.base->IsOpen()) {
      throw SystemFailure(kCannotOpen, errno);
    }
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
    if (path.empty()) {
      throw Failure(FailureCode::NotFound, "the name is empty");
    }
    if (const auto descriptor = DescriptorOf(path)) {
      return TakeDescriptor(*descriptor);
    }
    struct stat status {};
    if (isPassedOver_ && stat(path.c_str(), &status) == 0 && PassesOver(path, status)) {
      return false;
    }
    StoredFile file(path);
    const int error = errno;
    if (folderUse_ == Folders::Walked && (file.IsOpen() ? file.IsFolder() : IsFolder(path))) {
      isAnyFound_ = false;
      static_cast<void>(EnterFolder(path, path));
      namedFolders_.push_back(path);
      return false;
    }
    if (!file.IsOpen()) {
      throw SystemFailure(kCannotOpen, error);
    }
    return TakeModel(std::move(file));
  } catch (const Failure& failure) {
    return Fail(failure);
  }
}

/// The same for what a folder has: only a model or a failure becomes one.
bool Inputs::TakeFound(const Folder& folder, const std::string& name, bool isFile) {
  std::string path = walked_ + name;
  if (isFile && isLeftOut_ && isLeftOut_(path)) {
    isAnyFound_ = true;
    return false;
  }
  std::string source = folder.base == nullptr ? path
                                              : PathOfDescriptor(folder.base->Get()) + '/' +
                                                    path.substr(folder.baseSize);
  input_ = {std::move(path), std::move(source), std::nullopt};
  try {
    if (!isFile || isPassedOver_) {
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
      if (!S_ISREG(status.st_mode) || PassesOver(input_.path, status)) {
        return false;
      }
    }
    StoredFile file = Opened(input_.source);
    return LooksLikeModel(file) && TakeModel(std::move(file));
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
    } else if (Folder& folder = folders_.back(); folder.next == folder.entries.size()) {
      LeaveFolder();
    } else if (const FolderEntry& entry = folder.entries[folder.next++];
               TakeFound(folder, entry.name, entry.isFile)) {
      isAnyFound_ = true;
      return &input_;
    }
  }
}
