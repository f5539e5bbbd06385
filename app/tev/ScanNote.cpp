// Lets one scan at a time into a catalogue, and notes which file it is reading.

#include "tev/ScanNote.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

ScanNote::ScanNote(const std::string& catalogue) : path_(catalogue + "-scan") {
  while (!TryToHold()) {  // the last scan may have taken it away in between
    close(descriptor_);
    descriptor_ = -1;
  }
  try {
    Map();
  } catch (...) {
    close(descriptor_);
    throw;
  }
}

ScanNote::~ScanNote() {
  if (!Left()) {
    unlink(path_.c_str());
  }
  munmap(contents_, sizeof(Contents));
  close(descriptor_);
}

bool ScanNote::TryToHold() {
  constexpr mode_t kMode = 0666;
  descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode);
  if (descriptor_ < 0) {
    throw SystemFailure("cannot note what is scanned in " + path_, errno);
  }
  if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    close(descriptor_);
    throw error == EWOULDBLOCK ? Failure(FailureCode::IoError, "another scan is writing to it")
                               : SystemFailure("cannot be held for one scan", error);
  }
  struct stat held {};
  struct stat named {};
  return fstat(descriptor_, &held) == 0 && stat(path_.c_str(), &named) == 0 &&
         held.st_ino == named.st_ino && held.st_dev == named.st_dev;
}

void ScanNote::Map() {
  constexpr std::array<char, 8> kUnset{};
  std::array<char, 8> magic{};
  const ssize_t count = pread(descriptor_, magic.data(), magic.size(), 0);
  if (count != 0 &&
      (count != static_cast<ssize_t>(magic.size()) || (magic != kMagic && magic != kUnset))) {
    throw Failure(FailureCode::NotAFile, path_ + " is no note of a scan");
  }
  // Else a full disk would end the run by a signal when something is noted.
  if (const int error = posix_fallocate(descriptor_, 0, sizeof(Contents)); error != 0) {
    throw SystemFailure("cannot note what is scanned in " + path_, error);
  }
  void* memory =
      mmap(nullptr, sizeof(Contents), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
  if (memory == MAP_FAILED) {
    throw SystemFailure("cannot note what is scanned in " + path_, errno);
  }
  contents_ = static_cast<Contents*>(memory);
  contents_->magic = kMagic;
}

std::optional<ScanNote::Entry> ScanNote::Left() const {
  if (contents_->length == 0 || contents_->length > kLongestPath) {
    return std::nullopt;
  }
  return Entry{contents_->stamp, std::string(contents_->path.data(), contents_->length)};
}

void ScanNote::Begin(const FileStamp& stamp, std::string_view path) {
  if (path.size() > kLongestPath) {
    return;
  }
  contents_->stamp = stamp;
  std::memcpy(contents_->path.data(), path.data(), path.size());
  std::atomic_signal_fence(std::memory_order_seq_cst);
  contents_->length = path.size();
}

void ScanNote::End() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  contents_->length = 0;
  std::atomic_signal_fence(std::memory_order_seq_cst);
}
