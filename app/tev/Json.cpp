// Values of models in JSON.

#include "tev/Json.h"

#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

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
  Json operator()(float value) const { return JsonOf(value); }
  Json operator()(double value) const { return value; }
  Json operator()(const std::string& value) const { return value; }
};

}  // namespace

std::string JsonText(const Json& json) {
  // Outside of texts there is nothing but ASCII that prints.
  return EscapedForJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

Json JsonOf(float value) {
  if (!std::isfinite(value)) {
    return nullptr;
  }
  // A float as a double has digits that nobody stored: 0.100000001490116 for 0.1.
  std::array<char, 32> shortest{};
  auto* const end = std::to_chars(shortest.data(), shortest.data() + shortest.size(), value).ptr;
  double number = 0;
  std::from_chars(shortest.data(), end, number);
  return number;
}

Json JsonOf(const AttributeValue& value) { return value.Visit(ToJson()); }

Json JsonOf(const LbtUtil::AttributeMap& attributes) {
  Json list = Json::array();
  for (const auto& [name, value] : attributes) {
    list.push_back({{"name", name}, {"type", TypeOf(value)}, {"value", JsonOf(value)}});
  }
  return list;
}
