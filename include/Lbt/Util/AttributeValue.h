#pragma once

#include <boost/variant.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>

#include "Lbt/Util/NumberText.h"

namespace LbtUtil {

/// The value of a named attribute: an unsigned integer, a single-precision
/// number, a text or a double-precision number.
class AttributeValue {
 public:
  /// What a value is. The values are the type codes stored in files.
  enum class Kind : std::uint8_t { UnsignedInteger = 0, Float = 1, Text = 2, Double = 3 };

  /// Characters of a text that are kept.
  static constexpr std::size_t kTextSize = 256;

  /// The unsigned integer 0.
  AttributeValue() = default;
  AttributeValue(unsigned int value) : value_(value) {}
  AttributeValue(float value) : value_(value) {}
  AttributeValue(double value) : value_(value) {}
  /// The first kTextSize characters of "text", up to the first NUL.
  AttributeValue(std::string_view text) : value_(std::string(KeptText(text))) {}
  AttributeValue(const std::string& text) : AttributeValue(std::string_view(text)) {}
  AttributeValue(const char* text) : AttributeValue(std::string_view(text)) {}

  /// What the value is.
  [[nodiscard]] Kind GetKind() const { return static_cast<Kind>(value_.which()); }

  /// The value as text: numbers as a C++ output stream writes them by default.
  [[nodiscard]] std::string GetAttributeString() const;

  /// Calls "take" with the same text as a std::string_view, which holds during the call.
  template <class Take>
  void WithText(const Take& take) const {
    Visit([&take](const auto& value) {
      if constexpr (std::is_arithmetic_v<std::decay_t<decltype(value)>>) {
        take(Lbt::Util::NumberText(value).View());
      } else {
        take(std::string_view(value));
      }
    });
  }

  /// Calls "visitor" with the value itself: an unsigned int, float, std::string or double.
  template <class Visitor>
  [[nodiscard]] decltype(auto) Visit(const Visitor& visitor) const {
    return boost::apply_visitor(visitor, value_);
  }

  /// What a value keeps of a text.
  [[nodiscard]] static std::string_view KeptText(std::string_view text);

  /// Whether the value is of the text kind and reads "text".
  [[nodiscard]] bool IsText(std::string_view text) const;

 private:
  boost::variant<unsigned int, float, std::string, double> value_;
};

/// Attributes by name, in byte order of the names.
using AttributeMap = std::map<std::string, AttributeValue>;

}  // namespace LbtUtil
