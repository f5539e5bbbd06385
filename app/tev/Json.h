#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "Lbt/Util/AttributeValue.h"

/// JSON whose objects keep the order in which their members were added.
using Json = nlohmann::ordered_json;

/// The text of a value on one line. Texts are escaped as JSON demands, and so is what might
/// control a terminal, with U+FFFD for what is no valid UTF-8; a number that is not finite is null.
[[nodiscard]] std::string JsonText(const Json& json);

/// The value of an attribute. A float becomes the shortest number that reads back as it.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeValue& value);
[[nodiscard]] Json JsonOf(float value);

/// Attributes as a list of {"name", "type", "value"}, since no two names of one set need
/// stay different where U+FFFD stands for what is not valid in them.
[[nodiscard]] Json JsonOf(const LbtUtil::AttributeMap& attributes);
