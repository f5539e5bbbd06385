// Writes JSON as it comes, without holding it in memory.

#include "tev/JsonWriter.h"

#include <nlohmann/json.hpp>

namespace {

constexpr std::size_t kIndent = 2;

}  // namespace

JsonWriter::~JsonWriter() {
  while (!closers_.empty() && output_->good()) {
    Close();
  }
}

void JsonWriter::BreakLine() {
  if (layout_ == JsonLayout::OneLine) {
    return;
  }
  *output_ << '\n' << std::string(kIndent * (outerDepth_ + closers_.size()), ' ');
}

void JsonWriter::BeginValue() {
  if (!isKeyed_ && outerDepth_ + closers_.size() > 0) {
    const char* separator = layout_ == JsonLayout::OneLine ? ", " : ",";
    *output_ << (isEmpty_ ? "" : separator);
    BreakLine();
  }
  isKeyed_ = false;
  isEmpty_ = false;
}

void JsonWriter::Open(std::string_view brackets) {
  BeginValue();
  *output_ << brackets.front();
  closers_ += brackets.back();
  isEmpty_ = true;
}

void JsonWriter::Close() {
  if (isKeyed_) {
    *output_ << "null";  // its value never came
    isKeyed_ = false;
  }
  const char closer = closers_.back();
  closers_.pop_back();
  if (!isEmpty_) {
    BreakLine();
  }
  *output_ << closer;
  isEmpty_ = false;
}

void JsonWriter::Key(std::string_view name) {
  const std::string text = JsonText(name);
  BeginValue();
  *output_ << text << ": ";
  isKeyed_ = true;
}

// NOLINTNEXTLINE(misc-no-recursion): the verbs' own values nest a few levels
void JsonWriter::Value(const Json& value) {
  if (!value.is_structured()) {
    const std::string text = JsonText(value);
    BeginValue();
    *output_ << text;
    return;
  }
  Open(value.is_object() ? "{}" : "[]");
  for (auto item = value.begin(); item != value.end(); ++item) {
    if (value.is_object()) {
      Key(item.key());
    }
    Value(*item);
  }
  Close();
}
