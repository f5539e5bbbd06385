#include "tev/JsonWriter.h"

#include <nlohmann/json.hpp>

namespace {

constexpr std::size_t kIndent = 2;

}  // namespace

JsonWriter::~JsonWriter() {
  while (!closers_.empty()) {
    Close();
  }
}

void JsonWriter::BreakLine() {
  *output_ << '\n';
  for (std::size_t i = 0; i < kIndent * closers_.size(); ++i) {
    *output_ << ' ';
  }
}

void JsonWriter::BeginValue() {
  if (!isKeyed_ && !closers_.empty()) {
    *output_ << (isEmpty_ ? "" : ",");
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

void JsonWriter::Value(const Json& value) { ValueText(JsonText(value)); }

void JsonWriter::ValueText(std::string_view text) {
  const std::string indented = Indented(text, std::string(kIndent * closers_.size(), ' '));
  BeginValue();
  *output_ << indented;
}
