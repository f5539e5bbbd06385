// Opens what answers are written to, and keeps models from being that.

#include "tev/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tev/FileFailure.h"
#include "tev/Inputs.h"

using Lbt::Util::DescriptorStream;
using Lbt::Util::FileIdentity;
using Lbt::Util::IdentityOf;

namespace {

/// Whether a file is a model, as far as it can be told without the right to read it.
bool IsModel(const std::string& path) {
  try {
    return BeginsAsModel(path);
  } catch (const Failure&) {
    return false;
  }
}

}  // namespace

std::optional<int> AnswerOutput::Descriptor() const {
  if (memory_ != nullptr) {
    return std::nullopt;
  }
  if (path_.empty() || path_ == "-" || path_ == "/dev/stdout") {
    return STDOUT_FILENO;
  }
  if (path_ == "/dev/stderr") {
    return STDERR_FILENO;
  }
  if (const auto descriptor = DescriptorOf(path_)) {
    return descriptor;
  }
  // To open it anew would empty it under what others have written and are still to write.
  const auto identity = IdentityOf(path_);
  return identity && identity == IdentityOf(STDOUT_FILENO) ? std::optional(STDOUT_FILENO)
                                                           : std::nullopt;
}

std::string AnswerOutput::Name() const {
  return path_.empty() || path_ == "-" ? "standard output" : path_;
}

void AnswerOutput::RequireApartFrom(const std::vector<std::string>& spared) const {
  const std::optional<int> descriptor = Descriptor();
  const std::string target = descriptor ? PathOfDescriptor(*descriptor) : path_;
  std::error_code failure;
  if (!std::filesystem::is_regular_file(target, failure)) {
    return;  // nothing that has been written before is lost
  }
  const auto identity = IdentityOf(target);
  for (const std::string& path : spared) {
    if (IdentityOfNamed(path) == identity) {
      throw Failure(FailureCode::NotAFile, path + ": " + Name() + " is this file");
    }
  }
  if (IsModel(target)) {
    throw Failure(FailureCode::NotAFile, Name() + ": is a model, which is never written to");
  }
}

std::ostream& AnswerOutput::Stream() {
  if (memory_ != nullptr) {
    return *memory_;
  }
  if (stream_ == nullptr) {
    using enum DescriptorStream::Ownership;
    if (const auto descriptor = Descriptor()) {
      stream_ = std::make_unique<DescriptorStream>(*descriptor, Borrowed);
    } else if (const auto file = Lbt::Util::OpenForReplacing(path_, std::nullopt)) {
      stream_ = std::make_unique<DescriptorStream>(*file, Owned);
    } else {
      throw OutputFailure(SystemFailure(path_ + ": cannot open", errno));
    }
  }
  return *stream_;
}

std::optional<std::size_t> AnswerOutput::Columns() const {
  winsize size{};
  if (mayBeTerminal_) {
    const std::optional<int> descriptor = Descriptor();
    mayBeTerminal_ = descriptor && ioctl(*descriptor, TIOCGWINSZ, &size) == 0;
  }
  return size.ws_col == 0 ? std::nullopt : std::optional<std::size_t>(size.ws_col);
}

void AnswerOutput::Flush() {
  if (stream_ != nullptr && error_ == 0 && (!stream_->good() || !stream_->flush())) {
    error_ = errno;
  }
}

void AnswerOutput::Finish() {
  Flush();
  if (stream_ != nullptr && !stream_->Finish()) {
    throw OutputFailure(
        SystemFailure(Name() + ": cannot write the answer", error_ == 0 ? errno : error_));
  }
}

void WriteLine(const std::string& line) {
  AnswerOutput output;
  output.Stream() << line << '\n';
  output.Finish();
}
