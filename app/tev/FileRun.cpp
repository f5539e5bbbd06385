#include "tev/FileRun.h"

#include <unistd.h>

#include <iostream>

#include "Lbt/Util/FileAccess.h"
#include "tev/Failure.h"
#include "tev/Progress.h"
#include "tev/VisibleText.h"

namespace {

/// An exception on the way is a fault.
Ending TryFile(const FileRun& run, const std::string& path, AnswerWriter& writer) {
  try {
    return run.answer(path, writer);
  } catch (...) {
    return {.faults = {ReasonOfCurrentException()}};
  }
}

/// An answer that is written into one of the models, by the shell's ">>", would change it.
void RefuseOutputInModels(const std::vector<std::string>& files) {
  const auto output = Lbt::Util::IdentityOf(STDOUT_FILENO);
  for (const std::string& file : files) {
    if (output && output == Lbt::Util::IdentityOf(file) &&
        Lbt::Util::IsRegularFile(STDOUT_FILENO)) {
      throw Failure(file + ": standard output is this file");
    }
  }
}

}  // namespace

void ReportFailure(const std::string& path, std::string_view reason) {
  std::cerr << "tev: " + VisibleText(path) + ": " + VisibleText(reason) + '\n' << std::flush;
}

Status RunOverFiles(const FileRun& run, std::ostream& output) {
  RefuseOutputInModels(run.files);
  Progress progress(run.files.size());
  AnswerWriter writer({.command = run.command, .layout = run.layout, .json = run.json}, output,
                      progress);
  Status status = Status::Done;
  for (std::size_t i = 0; i < run.files.size() && output.good(); ++i) {
    const std::string& path = run.files[i];
    progress.Show(i, path);
    writer.BeginFile(path);
    const Ending ending = TryFile(run, path, writer);
    progress.Clear();
    writer.EndFile();
    for (const std::string& fault : ending.faults) {
      ReportFailure(path, fault);
      writer.AddFailure(path, fault);
    }
    status = ending.isFailure || !ending.faults.empty() ? Status::FileFailed : status;
  }
  writer.Close();
  return status;
}
