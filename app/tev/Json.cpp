// Values of models in JSON.

#include "tev/Json.h"

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "tev/VisibleText.h"
#include "tev/Wording.h"

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

Json JsonOf(const AttributeValue& value) { return value.Visit(ToJson()); }

Json JsonOf(const LbtUtil::AttributeMap& attributes) {
  Json list = Json::array();
  for (const auto& [name, value] : attributes) {
    list.push_back({{"name", name}, {"type", TypeOf(value)}, {"value", JsonOf(value)}});
  }
  return list;
}
