// Writes the answers on all files of a run in the form that is asked for.

#include "tev/Answers.h"

#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "tev/VisibleText.h"

namespace {

/// What is open around the members of an ENTRY.
constexpr std::size_t kDepthInDocument = 3;
constexpr std::size_t kDepthInLine = 1;

constexpr std::string_view kHint = " (\"tev check\" tells more)";

std::string FormatOf(const std::string& verb) { return "tev." + verb + "/1"; }

/// How a failure reads on standard error.
std::string LineOf(const Failure& failure) {
  return failure.Code() == FailureCode::Damaged
             ? "damaged: " + std::string(failure.what()) + std::string(kHint)
             : failure.what();
}

}  // namespace

AnswerWriter::AnswerWriter(Style style, AnswerOutput& output, Progress& progress)
    : style_(std::move(style)),
      output_(&output),
      progress_(&progress),
      waitingStream_(&waiting_),
      heldStream_(&held_) {
  waitingStream_.exceptions(std::ios::badbit);  // else a lack of memory would only cut the answer
  heldStream_.exceptions(std::ios::badbit);
}

void AnswerWriter::BeginFile(const std::string& path) {
  path_ = path;
  isTextBegun_ = false;
  blamed_ = path;
  areFilesTold_ = false;
  missing_.clear();
  missingWritten_ = 0;
  missingCount_ = 0;
  lost_ = {};
  failure_.reset();
  told_ = Told::OnStandardError;
  hasFacts_ = true;
  nothing_.reset();
  ClearFacts();
}

void AnswerWriter::ClearFacts() {
  facts_.reset();
  held_.Clear();
  heldStream_.clear();
}

void AnswerWriter::BeginText() {
  if (isTextBegun_) {
    return;
  }
  if (output_->Columns()) {
    progress_->Hold();  // or the lines would mix
  } else {
    progress_->Clear();
  }
  if (style_.form == Form::Csv && isFirstText_) {
    output_->Stream() << style_.csvHeading << '\n';
  } else if (style_.form == Form::Text && style_.layout == TextLayout::Sections) {
    output_->Stream() << (isFirstText_ ? "" : "\n") << VisibleText(path_) << '\n';
  }
  isTextBegun_ = true;
  isFirstText_ = false;
}

void AnswerWriter::WriteMissing() {
  if (style_.form == Form::Text && style_.layout == TextLayout::Sections) {
    for (; missingWritten_ < missing_.size(); ++missingWritten_) {
      output_->Stream() << "  INCOMPLETE: " << VisibleText(missing_[missingWritten_].what) << '\n';
    }
  }
}

std::ostream& AnswerWriter::Text() {
  const bool isFirst = !isTextBegun_;
  BeginText();
  if (isFirst) {
    WriteMissing();
  }
  return output_->Stream();
}

void AnswerWriter::AddCsvRow(std::vector<std::string> cells) {
  const auto commas = std::count(style_.csvHeading.begin(), style_.csvHeading.end(), ',');
  cells.resize(static_cast<std::size_t>(commas) + 1);
  WriteCsvRow(Text(), cells);
}

void AnswerWriter::TellNone(const std::string& what) {
  Text() << "  No " << what << (IsComplete() ? "" : " that can be read") << '\n';
}

JsonWriter& AnswerWriter::Facts() {
  if (!facts_) {
    const bool isLine = style_.form == Form::JsonLines;
    facts_.emplace(heldStream_, isLine ? JsonLayout::OneLine : JsonLayout::Indented,
                   isLine ? kDepthInLine : kDepthInDocument);
  }
  return *facts_;
}

void AnswerWriter::Blame(const std::string& file) {
  blamed_ = file;
  areFilesTold_ = true;
}

void AnswerWriter::AddMissing(std::string what, std::size_t count) {
  missing_.push_back({blamed_, std::move(what)});
  missingCount_ += count;
}

void AnswerWriter::Fail(const Failure& failure, Told told) {
  if (!failure_) {
    failure_ = failure;
    failedFile_ = blamed_;
    told_ = told;
  }
}

void AnswerWriter::FailWithoutFacts(const Failure& failure) {
  hasFacts_ = false;
  ClearFacts();
  failure_ = failure;
  failedFile_ = blamed_;
  told_ = Told::OnStandardError;
}

void AnswerWriter::TellOfNothing(const std::string& why) {
  ClearFacts();
  nothing_ = why;
}

std::optional<Failure> AnswerWriter::GetFailure() const {
  if (failure_ || missing_.empty()) {
    return failure_;
  }
  const std::size_t others = missingCount_ - 1;
  return Failure(
      FailureCode::Damaged,
      missing_.front().what + (others == 0 ? "" : ", and " + std::to_string(others) + " more"));
}

const std::string& AnswerWriter::FailedFile() const {
  return failure_ || missing_.empty() ? failedFile_ : missing_.front().file;
}

std::string AnswerWriter::TextInJson(const std::string& file, const std::string& text) const {
  return file == path_ ? text : file + ": " + text;
}

void AnswerWriter::WriteFailure(const Failure& failure, JsonWriter& json) const {
  json.OpenObject();
  json.Member("code", NameOf(failure.Code()));
  json.Member("message", TextInJson(FailedFile(), failure.what()));
  if (areFilesTold_) {
    json.Member("file", FailedFile());
  }
  json.Close();
}

void AnswerWriter::WriteHead(JsonWriter& json) {
  json.Member("file", path_);
  json.Key("failure");
  if (const auto failure = GetFailure()) {
    WriteFailure(*failure, json);
  } else {
    json.Value(nullptr);
  }
  json.Member("complete", IsComplete());
  json.Key("missing");
  json.OpenList();
  for (const Loss& loss : missing_) {
    json.Value(TextInJson(loss.file, loss.what));
  }
  json.Close();
}

void AnswerWriter::BeginDocument() {
  if (!document_) {
    document_.emplace(EntryStream());
    document_->OpenObject();
    document_->Member("format", FormatOf(style_.verb));
    document_->Key("files");
    document_->OpenList();
  }
}

/// Where an entry goes.
std::ostream& AnswerWriter::EntryStream() {
  if (nothing_ && !isBegun_) {
    return waitingStream_;
  }
  if (!isBegun_) {
    isBegun_ = true;
    waiting_.CopyTo(output_->Stream());
    if (document_) {
      document_->GoOnIn(output_->Stream());
    }
  }
  return output_->Stream();
}

void AnswerWriter::WriteEntry() {
  while (facts_ && facts_->Depth() > 0) {
    facts_->Close();
  }
  progress_->Clear();
  const bool isLine = style_.form == Form::JsonLines;
  std::ostream& stream = EntryStream();
  std::optional<JsonWriter> line;
  if (isLine) {
    line.emplace(stream, JsonLayout::OneLine);
  } else {
    BeginDocument();
  }
  JsonWriter& json = isLine ? *line : *document_;
  json.OpenObject();
  if (isLine) {
    json.Member("format", FormatOf(style_.verb));
  }
  WriteHead(json);
  if (nothing_) {
    json.Member("noMatch", *nothing_);
  }
  held_.CopyTo(stream);
  json.Close();
  if (isLine) {
    stream << '\n';
  }
}

/// Where the answer itself has no place for it.
std::vector<std::string> AnswerWriter::MissingTexts(std::size_t most) const {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < std::min(most, missing_.size()); ++i) {
    texts.push_back(missing_[i].what);
  }
  if (texts.size() < missing_.size()) {
    texts.push_back("and " + std::to_string(missingCount_ - texts.size()) + " more");
  }
  return texts;
}

void AnswerWriter::TellEachMissing() const {
  constexpr std::size_t kMost = 10;
  const std::size_t told = std::min(kMost, missing_.size());
  for (std::size_t i = 0; i < told; ++i) {
    const bool isLast = i + 1 == missing_.size();
    ReportFailure(missing_[i].file,
                  "damaged: " + missing_[i].what + (isLast ? std::string(kHint) : ""));
  }
  if (told < missing_.size()) {
    ReportFailure(path_, "damaged: and " + std::to_string(missingCount_ - told) + " more" +
                             std::string(kHint));
  }
}

void AnswerWriter::TellFailure() const {
  if (style_.isQuiet) {
    return;
  }
  const bool isInAnswer = style_.form != Form::Csv && style_.layout == TextLayout::Sections;
  if (!failure_ && missing_.size() > 1 && !IsJson() && !isInAnswer) {
    TellEachMissing();
  } else if (const auto failure = GetFailure(); failure && told_ == Told::OnStandardError) {
    ReportFailure(FailedFile(), LineOf(*failure));
  } else if (nothing_) {
    ReportFailure(path_, *nothing_);
  }
}

void AnswerWriter::EndFile() {
  const std::optional<Failure> failure = GetFailure();
  if (IsJson()) {
    WriteEntry();
  } else if (isTextBegun_) {
    WriteMissing();
  } else if (style_.form == Form::Csv && failure) {
    AddCsvRow({path_, std::string(NameOf(failure->Code())), "false"});
  }
  output_->Flush();
  progress_->Clear();
  TellFailure();
  hasFailed_ = hasFailed_ || failure;
}

void AnswerWriter::Close() {
  if (style_.form == Form::Csv && isFirstText_) {
    output_->Stream() << style_.csvHeading << '\n';
  }
  if (style_.form == Form::JsonDocument) {
    BeginDocument();
    document_->Close();
    document_->Close();
    output_->Stream() << '\n';
  }
}

void ReportFailure(const std::string& path, std::string_view reason) {
  std::cerr << "tev: " + VisibleText(path) + ": " + VisibleText(reason) + '\n' << std::flush;
}

void WriteCsvRow(std::ostream& stream, const std::vector<std::string>& cells) {
  const char* separator = "";
  for (const std::string& text : cells) {
    const std::string cell = ValidText(text);
    stream << separator;
    separator = ",";
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
      stream << cell;
      continue;
    }
    stream << '"';
    for (const char c : cell) {
      stream << (c == '"' ? "\"\"" : std::string_view(&c, 1));
    }
    stream << '"';
  }
  stream << '\n';
}
