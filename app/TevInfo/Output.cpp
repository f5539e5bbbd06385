// Where a run of TevInfo writes.

#include "TevInfo/Output.h"

#include <unistd.h>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/FileAccess.h"

namespace {

using Lbt::Util::DescriptorStream;

/// The EKM document has a fixed name: a path on the command line does not count then.
std::optional<std::string> ReportPath(const CommandLine& commandLine) {
  if (commandLine.format == TevInfo::EkmMetaData) {
    return "ekm-meta-data.xml";
  }
  if (commandLine.positional.size() >= 2) {
    return commandLine.positional[1];
  }
  return std::nullopt;
}

bool IsOwnLog(const std::string& path) {
  const auto identity = Lbt::Util::IdentityOf(path);
  return identity && Lbt::Log::IsLogFile(*identity);
}

[[noreturn]] void RaiseNotWritten() {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::WriteError, "Unable to write the report",
                  "include/Lbt/Tev/TevInfo/TevInfo");
}

}  // namespace

Output::Output(const LbtLbf::LbFile& model)
    : standard_(STDOUT_FILENO, DescriptorStream::Ownership::Borrowed) {
  if (Lbt::Util::IdentityOf(STDOUT_FILENO) == model.GetIdentity()) {
    RaiseNotWritten();
  }
}

void Output::OpenReport(const CommandLine& commandLine, const LbtLbf::LbFile& model) {
  const std::optional<std::string> path = ReportPath(commandLine);
  if (!path || IsOwnLog(*path)) {
    return;
  }
  if (commandLine.format == TevInfo::EkmMetaData) {
    whole_ = WholeFile::ForReplacing(*path, model.GetIdentity());
  }
  if (whole_) {
    file_.emplace(whole_->Descriptor(), DescriptorStream::Ownership::Borrowed);
    return;
  }
  const auto descriptor = Lbt::Util::OpenForReplacing(*path, model.GetIdentity());
  if (descriptor) {
    file_.emplace(*descriptor, DescriptorStream::Ownership::Owned);
  }
}

std::ostream& Output::Report() {
  if (file_) {
    return *file_;
  }
  return standard_;
}

void Output::Finish() {
  const bool isFileWritten = (!file_ || file_->Finish()) && (!whole_ || whole_->PutInPlace());
  if (!standard_.Finish() || !isFileWritten) {
    RaiseNotWritten();
  }
}
