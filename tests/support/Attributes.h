#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tevtest {

/// One named value of an attribute set. Its value decides in which of the four lists it is stored;
/// its code says which list the reader is to look into, and may disagree.
struct Attribute {
  using Value = std::variant<std::uint32_t, float, std::string, double>;

  std::string name{};
  Value value{};
  std::uint8_t code = 0;

  static Attribute Uint(std::string_view name, std::uint32_t value);
  static Attribute Float(std::string_view name, float value);
  static Attribute Text(std::string_view name, std::string_view value);
  static Attribute Double(std::string_view name, double value);
  /// Any type code, known or not, with the value stored as its own kind is.
  static Attribute Coded(std::string_view name, std::uint8_t code, Value value);
};

/// The attributes of one group or variable: six lists, in this order: names, type codes, unsigned
/// numbers, single-precision numbers, double-precision numbers, texts. A list that is set here is
/// written in place of the one that the items give.
class AttributeSet {
 public:
  AttributeSet() = default;
  AttributeSet(std::initializer_list<Attribute> list) : items(list) {}

  [[nodiscard]] std::string Encode() const;

  std::vector<Attribute> items;
  std::optional<std::vector<std::string>> names;
  std::optional<std::vector<std::uint8_t>> types;
  std::optional<std::vector<std::uint32_t>> uints;
  std::optional<std::vector<float>> floats;
  std::optional<std::vector<double>> doubles;
  std::optional<std::vector<std::string>> texts;
};

}  // namespace tevtest
