// JSON: the texts of values, and documents written piece by piece.

#include "tev/Json.h"

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/VisibleText.h"

using LbtUtil::AttributeValue;

namespace {

const char* TypeOf(const AttributeValue& value) {
  switch (value.GetKind()) {
    case AttributeValue::Kind::UnsignedInteger:
      return "unsigned integer";
    case AttributeValue::Kind::Float:
      return "float";
    case AttributeValue::Kind::Text:
      return "text";
    case AttributeValue::Kind::Double:
      return "double";
  }
  return "";
}

/// Picks the form by the type of an attribute's value.
struct ToJson {
  Json operator()(unsigned int value) const { return value; }
  Json operator()(float value) const { return static_cast<double>(value); }
  Json operator()(double value) const { return value; }
  Json operator()(const std::string& value) const { return value; }
};

}  // namespace

std::string JsonText(const Json& json) {
  if (json.is_number_float()) {
    const double number = json.get<double>();
    if (number == 0 && std::signbit(number)) {
      return "-0.0";  // readers take "-0" for an integer, which has no sign then
    }
    return std::isfinite(number) ? NumberText(number) : "null";
  }
  if (json.is_number_unsigned()) {
    return std::to_string(json.get<std::uint64_t>());
  }
  if (json.is_string() && IsPlainInJson(json.get_ref<const std::string&>())) {
    return '"' + json.get_ref<const std::string&>() + '"';
  }
  // Outside of texts there is nothing but ASCII that prints.
  return EscapedForJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string ValidText(const std::string& text) {
  return IsPlainInJson(text) ? text : Json::parse(JsonText(text)).get<std::string>();
}

Json JsonOf(const AttributeValue& value) { return value.Visit(ToJson()); }

Json JsonOf(const LbtUtil::AttributeMap& attributes) {
  Json list = Json::array();
  for (const auto& [name, value] : attributes) {
    list.push_back({{"name", LbtTev::Analysis::ShownName(name)},
                    {"type", TypeOf(value)},
                    {"value", JsonOf(value)}});
  }
  return list;
}

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
