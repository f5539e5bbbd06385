#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "Lbt/Util/AttributeValue.h"

/// JSON whose objects keep the order in which their members were added.
using Json = nlohmann::ordered_json;

/// The text of a value on one line. Texts are escaped as JSON demands, and so is what might
/// control a terminal, with U+FFFD for what is no valid UTF-8. Numbers have as few digits as they
/// can be read back from; one that is not finite is null.
[[nodiscard]] std::string JsonText(const Json& json);

/// The value of an attribute. A float becomes the double that it is.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeValue& value);

template <class T>
[[nodiscard]] Json JsonOrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

/// Attributes as a list of {"name", "type", "value"}, since no two names of one set need
/// stay different where U+FFFD stands for what is not valid in them.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeMap& attributes);
