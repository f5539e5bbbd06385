// The value of an attribute as text.

#include "Lbt/Util/AttributeValue.h"

#include "Lbt/Util/NumberText.h"

namespace LbtUtil {

std::string AttributeValue::GetAttributeString() const {
  return boost::apply_visitor([](const auto& value) { return Lbt::Util::ToString(value); }, value_);
}

bool AttributeValue::IsText(std::string_view text) const {
  const auto* held = boost::get<std::string>(&value_);
  return held != nullptr && *held == text;
}

std::string_view AttributeValue::KeptText(std::string_view text) {
  text = text.substr(0, kTextSize);
  return text.substr(0, text.find('\0'));
}

}  // namespace LbtUtil
