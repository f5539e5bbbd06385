#include "Lbt/Tev/Attributes.h"

#include <utility>

#include "Lbt/Log/Raise.h"

namespace LbtUtil {

namespace {

[[noreturn]] void RaiseTooShort() {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                  "include/Lbt/Tev/Attributes");
}

}  // namespace

template <class T>
void AttributeSetReader::Queue<T>::Read(LbtLbf::LbFile& file, std::string_view blockName) {
  values.clear();
  next = 0;
  file.Get(blockName, values);
}

template <class T>
const T& AttributeSetReader::Queue<T>::Next() {
  if (next == values.size()) {
    RaiseTooShort();
  }
  return values[next++];
}

AttributeValue AttributeSetReader::NextValue(AttributeValue::Kind kind) {
  switch (kind) {
    case AttributeValue::Kind::UnsignedInteger:
      return uintValues_.Next();
    case AttributeValue::Kind::Float:
      return floatValues_.Next();
    case AttributeValue::Kind::Text:
      return textValues_.Next();
    case AttributeValue::Kind::Double:
      return doubleValues_.Next();
  }
  return {};
}

void AttributeSetReader::Read(LbtLbf::LbFile& file, std::string_view blockName,
                              AttributeMap& attributes) {
  names_.clear();
  file.Get(blockName, names_);
  types_.Read(file, blockName);
  uintValues_.Read(file, blockName);
  floatValues_.Read(file, blockName);
  doubleValues_.Read(file, blockName);
  textValues_.Read(file, blockName);

  auto kind = AttributeValue::Kind::UnsignedInteger;
  for (std::string& name : names_) {
    const unsigned char code = types_.Next();
    if (code <= static_cast<unsigned char>(AttributeValue::Kind::Double)) {
      kind = static_cast<AttributeValue::Kind>(code);
    }
    attributes.insert_or_assign(std::move(name), NextValue(kind));
  }
}

void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes) {
  AttributeSetReader().Read(file, blockName, attributes);
}

}  // namespace LbtUtil
