// Unnamed temporary files, for copies of pipes and for answers that are held back.

#include "tev/TemporaryFile.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "Lbt/Util/FileAccess.h"
#include "tev/FileFailure.h"

namespace {

constexpr std::size_t kCopyPiece = std::size_t{64} * 1024;
constexpr std::size_t kMostInMemory = std::size_t{1024} * 1024;

constexpr const char* kCannotWrite = "cannot write to a temporary file";

}  // namespace

TemporaryFile::~TemporaryFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

void TemporaryFile::Make() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
  const char* folder = std::getenv("TMPDIR");
  std::string path = folder != nullptr && *folder != '\0' ? folder : "/tmp";
  path += "/tev-XXXXXX";
  descriptor_ = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    // The folder for it may not be there, which tells nothing of the model.
    throw Failure(FailureCode::IoError,
                  SystemFailure("cannot make a temporary file", errno).what());
  }
  unlink(path.c_str());
}

void TemporaryFile::Write(std::string_view bytes) {
  if (descriptor_ < 0) {
    Make();
  }
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      throw SystemFailure(kCannotWrite, errno);
    }
    bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
  }
}

void TemporaryFile::BecomeCopyOf(int descriptor) {
  Clear();
  std::string piece(kCopyPiece, '\0');
  const bool isFile = Lbt::Util::IsRegularFile(descriptor);
  for (off_t offset = 0;;) {
    // Who handed a file on may read it, too, and shares its cursor.
    const ssize_t count = isFile ? pread(descriptor, piece.data(), piece.size(), offset)
                                 : read(descriptor, piece.data(), piece.size());
    if (count == 0) {
      Write({});
      return;
    }
    if (count > 0) {
      offset += count;
      Write({piece.data(), static_cast<std::size_t>(count)});
    } else if (errno == EAGAIN) {
      pollfd waited{descriptor, POLLIN, 0};
      poll(&waited, 1, -1);
    } else if (errno != EINTR) {
      throw SystemFailure("cannot read", errno);
    }
  }
}

void TemporaryFile::CopyTo(std::ostream& stream) const {
  std::string piece(kCopyPiece, '\0');
  for (off_t offset = 0; descriptor_ >= 0;) {
    const ssize_t count = pread(descriptor_, piece.data(), piece.size(), offset);
    if (count == 0) {
      return;
    }
    if (count < 0) {
      throw SystemFailure("cannot read a temporary file", errno);
    }
    stream.write(piece.data(), count);
    offset += count;
  }
}

// NOLINTNEXTLINE(readability-make-member-function-const): the file is what it changes
void TemporaryFile::Clear() {
  if (descriptor_ >= 0 &&
      (ftruncate(descriptor_, 0) != 0 || lseek(descriptor_, 0, SEEK_SET) != 0)) {
    throw SystemFailure(kCannotWrite, errno);
  }
}

std::string TemporaryFile::Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

void HeldText::CopyTo(std::ostream& stream) const {
  file_.CopyTo(stream);
  stream << memory_;
}

void HeldText::Clear() {
  memory_.clear();
  file_.Clear();
}

HeldText::int_type HeldText::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) {
    return traits_type::not_eof(character);
  }
  const char one = traits_type::to_char_type(character);
  return xsputn(&one, 1) == 1 ? character : traits_type::eof();
}

std::streamsize HeldText::xsputn(const char* text, std::streamsize count) {
  memory_.append(text, static_cast<std::size_t>(count));
  if (memory_.size() > kMostInMemory) {
    file_.Write(memory_);
    memory_.clear();
  }
  return count;
}
