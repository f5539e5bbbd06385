// Runs a verb over all files that a command line names.

#include "tev/FileRun.h"

#include "tev/Failure.h"

namespace {

void TryFile(const FileRun& run, const Input& input, AnswerWriter& writer) {
  try {
    if (input.failure && !run.takesFailures) {
      throw Failure(*input.failure);
    }
    run.answer(input, writer);
  } catch (const UsageError&) {
    throw;
  } catch (...) {
    writer.FailWithoutFacts(FailureOfCurrentException());
  }
}

}  // namespace

Status RunOverFiles(const FileRun& run) {
  Output output(run.output);
  output.RequireApartFrom(run.files);
  Inputs inputs(run.files, run.filesFrom);
  if (inputs.CanBeMany()) {
    static_cast<void>(output.Stream());  // a long run must not learn at its end that it has none
  }
  Progress progress(run.progress);
  AnswerWriter writer({run.verb, run.form, run.layout, run.csvHeading}, output, progress);
  std::size_t done = 0;
  for (const Input* input = nullptr; output.IsGood() && (input = inputs.Next()) != nullptr;) {
    progress.Show(done++, inputs.Count(), input->path);
    writer.BeginFile(input->path);
    TryFile(run, *input, writer);
    writer.EndFile();
  }
  if (run.finish) {
    run.finish(writer);
  }
  writer.Close();
  if (!writer.HasFailed()) {
    static_cast<void>(output.Stream());  // an empty answer is one, too
  }
  output.Finish();
  return writer.HasFailed() ? Status::FileFailed : Status::Done;
}
