#include "tev/FileRun.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

#include "tev/Failure.h"
#include "tev/Json.h"
#include "tev/Progress.h"
#include "tev/VisibleText.h"

namespace {

/// Writes what stands around and between the answers.
class Envelope {
 public:
  Envelope(const FileRun& run, std::ostream& output) : run_(&run), output_(&output) {
    if (run_->json) {
      *output_ << "{\n  \"command\": \"" << run.command << "\",\n  \"files\": [";
    }
  }

  void Add(const std::string& path, const std::string& answer) {
    if (run_->json) {
      *output_ << (isFirst_ ? "\n    " : ",\n    ") << Indented(answer, "    ");
    } else if (run_->layout == TextLayout::Lines) {
      *output_ << answer;
    } else {
      *output_ << (isFirst_ ? "" : "\n") << VisibleText(path) << '\n' << answer;
    }
    output_->flush();
    isFirst_ = false;
  }

  void AddFailure(const std::string& path, const std::string& reason) {
    failures_.push_back({{"file", path}, {"reason", reason}});
  }

  void Close() {
    if (run_->json) {
      *output_ << (isFirst_ ? "" : "\n  ")
               << "],\n  \"failures\": " << Indented(JsonText(failures_), "  ") << "\n}\n";
    }
  }

 private:
  const FileRun* run_;
  std::ostream* output_;
  bool isFirst_ = true;
  Json failures_ = Json::array();
};

/// The answer for a file; only a fault where there is none.
struct Outcome {
  std::optional<std::string> text;
  std::vector<std::string> faults;
  bool isFailure = false;
};

Outcome TryFile(const FileRun& run, const std::string& path) {
  try {
    Answer answer = run.answer(path, run.json);
    const bool isFailure = answer.isFailure || !answer.faults.empty();
    return {std::move(answer.text), std::move(answer.faults), isFailure};
  } catch (...) {
    return {std::nullopt, {ReasonOfCurrentException()}, true};
  }
}

}  // namespace

void ReportFailure(const std::string& path, std::string_view reason) {
  std::cerr << "tev: " + VisibleText(path) + ": " + VisibleText(reason) + '\n' << std::flush;
}

Status RunOverFiles(const FileRun& run, std::ostream& output) {
  Progress progress(run.files.size());
  Envelope envelope(run, output);
  Status status = Status::Done;
  for (std::size_t i = 0; i < run.files.size() && output.good(); ++i) {
    const std::string& path = run.files[i];
    progress.Show(i, path);
    const Outcome outcome = TryFile(run, path);
    progress.Clear();
    if (outcome.text) {
      envelope.Add(path, *outcome.text);
    }
    for (const std::string& fault : outcome.faults) {
      ReportFailure(path, fault);
      envelope.AddFailure(path, fault);
    }
    status = outcome.isFailure ? Status::FileFailed : status;
  }
  envelope.Close();
  return status;
}
