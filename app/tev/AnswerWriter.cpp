#include "tev/AnswerWriter.h"

#include "tev/VisibleText.h"

namespace {

/// What is open in JSON between the answers on two files.
constexpr std::size_t kDepthOfFiles = 2;

}  // namespace

AnswerWriter::AnswerWriter(const Form& form, std::ostream& output, Progress& progress)
    : output_(&output),
      progress_(&progress),
      layout_(form.layout),
      isJson_(form.json),
      writer_(output) {
  if (isJson_) {
    writer_.OpenObject();
    writer_.Member("command", form.command);
    writer_.Key("files");
    writer_.OpenList();
  }
}

void AnswerWriter::BeginFile(const std::string& path) {
  path_ = path;
  isBegun_ = false;
}

void AnswerWriter::BeginAnswer() {
  if (isBegun_) {
    return;
  }
  progress_->Clear();
  if (!isJson_ && layout_ == TextLayout::Sections) {
    *output_ << (isFirst_ ? "" : "\n") << VisibleText(path_) << '\n';
  }
  isBegun_ = true;
  isFirst_ = false;
}

void AnswerWriter::Write(std::string_view piece) {
  BeginAnswer();
  if (isJson_) {
    writer_.ValueText(piece);
  } else {
    *output_ << piece;
  }
}

JsonWriter& AnswerWriter::Object() {
  BeginAnswer();
  return writer_;
}

void AnswerWriter::EndFile() {
  while (isJson_ && writer_.Depth() > kDepthOfFiles) {
    writer_.Close();
  }
  output_->flush();
}

void AnswerWriter::AddFailure(const std::string& path, const std::string& reason) {
  if (isJson_) {
    failures_.push_back({path, reason});
  }
}

void AnswerWriter::Close() {
  if (!isJson_) {
    return;
  }
  writer_.Close();
  writer_.Key("failures");
  writer_.OpenList();
  for (const Failed& failed : failures_) {
    writer_.OpenObject();
    writer_.Member("file", failed.path);
    writer_.Member("reason", failed.reason);
    writer_.Close();
  }
  writer_.Close();
  writer_.Close();
  *output_ << '\n';
}
