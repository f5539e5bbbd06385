// Writes attribute sets.

#include "Attributes.h"

#include <utility>

#include "ByteWriter.h"

namespace tevtest {
namespace {

template <typename T>
std::vector<T> ValuesOf(const std::vector<Attribute>& items) {
  std::vector<T> values;
  for (const Attribute& item : items) {
    if (const T* value = std::get_if<T>(&item.value))
      values.push_back(*value);
  }
  return values;
}

std::vector<std::string> NamesOf(const std::vector<Attribute>& items) {
  std::vector<std::string> names;
  for (const Attribute& item : items)
    names.push_back(item.name);
  return names;
}

std::vector<std::uint8_t> CodesOf(const std::vector<Attribute>& items) {
  std::vector<std::uint8_t> codes;
  for (const Attribute& item : items)
    codes.push_back(item.code);
  return codes;
}

}  // namespace

Attribute Attribute::Uint(std::string_view name, std::uint32_t value) {
  return Coded(name, 0, value);
}

Attribute Attribute::Float(std::string_view name, float value) { return Coded(name, 1, value); }

Attribute Attribute::Text(std::string_view name, std::string_view value) {
  return Coded(name, 2, std::string(value));
}

Attribute Attribute::Double(std::string_view name, double value) { return Coded(name, 3, value); }

Attribute Attribute::Coded(std::string_view name, std::uint8_t code, Value value) {
  return {std::string(name), std::move(value), code};
}

std::string AttributeSet::Encode() const {
  return ByteWriter()
      .Texts(names.value_or(NamesOf(items)))
      .U8s(types.value_or(CodesOf(items)))
      .U32s(uints.value_or(ValuesOf<std::uint32_t>(items)))
      .F32s(floats.value_or(ValuesOf<float>(items)))
      .F64s(doubles.value_or(ValuesOf<double>(items)))
      .Texts(texts.value_or(ValuesOf<std::string>(items)))
      .Bytes();
}

}  // namespace tevtest
