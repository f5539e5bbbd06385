#include "Lbt/Tev/Attributes.h"

#include <string>

#include "Lbt/Lbf/StreamReader.h"
#include "TooShort.h"

namespace LbtUtil {

template <class List>
typename List::value_type AttributeSetReader::Queue<List>::Next() {
  if (next == values.size()) {
    LbtTev::RaiseTooShort("include/Lbt/Tev/Attributes");
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

void AttributeSetReader::ReadLists(LbtLbf::LbFile& file, std::string_view blockName) {
  names_.clear();
  types_.Clear();
  uintValues_.Clear();
  floatValues_.Clear();
  doubleValues_.Clear();
  textValues_.Clear();
  LbtLbf::StreamReader(file, blockName)
      .Get(names_, types_.values, uintValues_.values, floatValues_.values, doubleValues_.values,
           textValues_.values);
}

void AttributeSetReader::Read(LbtLbf::LbFile& file, std::string_view blockName,
                              AttributeMap& attributes) {
  ReadLists(file, blockName);
  auto kind = AttributeValue::Kind::UnsignedInteger;
  for (const std::string_view name : names_) {
    const unsigned char code = types_.Next();
    if (code <= static_cast<unsigned char>(AttributeValue::Kind::Double)) {
      kind = static_cast<AttributeValue::Kind>(code);
    }
    // Sets mostly have their names in order.
    attributes.insert_or_assign(attributes.end(), std::string(name), NextValue(kind));
  }
}

void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes) {
  AttributeSetReader().Read(file, blockName, attributes);
}

}  // namespace LbtUtil
