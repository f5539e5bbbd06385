// Runs a verb over all files that a command line names.

#include "tev/FileRun.h"

#include "tev/FileFailure.h"

namespace {

/// What a UsageError about a file says of it.
std::string TextAbout(const std::string& path, const UsageError& error) {
  const std::string text = error.what();
  return text.starts_with(path + ": ") ? text.substr(path.size() + 2) : text;
}

/// A run over files, and what came of them.
class Answering {
 public:
  Answering(const FileRun& run, bool canBeMany, AnswerWriter& writer)
      : run_(&run), canBeMany_(canBeMany), writer_(&writer) {}

  void Try(const Input& input) {
    writer_->BeginFile(input.path);
    try {
      if (input.failure && !run_->takesFailures) {
        throw Failure(*input.failure);
      }
      run_->answer(input, *writer_);
      hasAnswer_ = true;
    } catch (const UsageError& error) {
      TellOfNothing(input, error);
    } catch (...) {
      writer_->FailWithoutFacts(FailureOfCurrentException());
    }
    writer_->EndFile();
  }

  [[nodiscard]] Status GetStatus() const {
    if (writer_->HasFailed()) {
      return Status::FileFailed;
    }
    return hasNothing_ && !hasAnswer_ ? Status::BadUsage : Status::Done;
  }

 private:
  /// What is asked for may be in the part that is lost. Rethrows where the run ends.
  void TellOfNothing(const Input& input, const UsageError& error) {
    const std::string text = TextAbout(input.path, error);
    if (const auto failure = writer_->GetFailure()) {
      writer_->FailWithoutFacts({failure->Code(), text + "; " + failure->what()});
    } else if (canBeMany_) {
      hasNothing_ = true;
      writer_->TellOfNothing(text);
    } else {
      throw;
    }
  }

  const FileRun* run_;
  bool canBeMany_;
  AnswerWriter* writer_;
  bool hasAnswer_ = false;
  bool hasNothing_ = false;
};

}  // namespace

Status RunOverFiles(const FileRun& run) {
  AnswerOutput output(run.output);
  output.RequireApartFrom(run.files);
  Inputs inputs(run.files, run.filesFrom, run.folders);
  if (inputs.CanBeMany()) {
    static_cast<void>(output.Stream());  // a long run must not learn at its end that it has none
  }
  Progress progress(run.progress);
  AnswerWriter writer({run.verb, run.form, run.layout, run.csvHeading}, output, progress);
  Answering answering(run, inputs.CanBeMany(), writer);
  std::size_t done = 0;
  for (const Input* input = nullptr; output.IsGood() && (input = inputs.Next()) != nullptr;) {
    progress.Show(done++, inputs.Count(), input->path);
    answering.Try(*input);
  }
  if (run.finish) {
    run.finish(writer);
  }
  writer.Close();
  if (!writer.HasFailed()) {
    static_cast<void>(output.Stream());  // an empty answer is one, too
  }
  output.Finish();
  return answering.GetStatus();
}
