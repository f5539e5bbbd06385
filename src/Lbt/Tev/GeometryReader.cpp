#include <boost/make_shared.hpp>
#include <cstdint>

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/Geometry.h"

namespace LbtTev {

namespace {

/// Where the parts of a geometry record lie.
struct Source {
  LbtLbf::LbFile& file;
  std::string_view light;
  std::string_view heavy;
  std::string_view attributes;
  std::string_view version;

  template <class T>
  [[nodiscard]] T Light(T value = T{}) const {
    file.Get(light, value);
    return value;
  }
};

/// The flags and values that every record with them has in this order.
void ReadFlagsAndValues(const Source& source, NumericArray& array) {
  array.firstFlag = source.Light<bool>();
  array.secondFlag = source.Light<bool>();
  array.firstValue = source.Light<float>();
  array.secondValue = source.Light<float>();
  array.thirdFlag = source.Light<bool>();
}

void ReadSize(const Source& source, NumericArray& array) {
  array.byteSize = source.Light<unsigned int>();
  array.hasData = array.byteSize != 0;
  array.width = source.Light<unsigned char>(array.width);
}

Geometry::VariableType MaskedType(unsigned int code) {
  constexpr unsigned int kNoType = 0xFFFFFFFF;
  constexpr unsigned int kLowByte = 0xFF;
  return static_cast<Geometry::VariableType>(code == kNoType ? code : code & kLowByte);
}

/// Takes the data of a version "0.5" variable, which no loader will fetch later.
void ReadDataAtOnce(const Source& source, unsigned long position, NumericArray& array) {
  source.file.SetBlockPosition(source.heavy, position);
  const auto bytes = source.file.GetBytes(source.heavy, array.byteSize);
  array.storedBytes =
      boost::make_shared<const std::vector<unsigned char>>(bytes.begin(), bytes.end());
}

void ReadOwnData(const Source& source, Geometry& geometry, const std::string& name,
                 NumericArray& array) {
  ReadSize(source, array);
  ReadFlagsAndValues(source, array);
  const unsigned long position = source.version == "0.7" ? source.Light<unsigned long>()
                                                         : source.Light<unsigned int>();
  if (source.version == "0.5") {
    ReadDataAtOnce(source, position, array);
  } else {
    geometry.heavyDataPositions[name] = position;
  }
}

void ReadVariable(const Source& source, Geometry& geometry, unsigned int idOffset) {
  const auto name = source.Light<std::string>();
  const Geometry::VariableType type = MaskedType(source.Light<unsigned int>());
  const bool isLinked = source.Light<bool>();
  NumericArray array;
  unsigned int linkNodeId = 0;
  unsigned int linkVariableIndex = 0;
  if (isLinked) {
    linkNodeId = source.Light<unsigned int>() + idOffset;
    linkVariableIndex = source.Light<unsigned int>();
  } else {
    ReadOwnData(source, geometry, name, array);
  }
  static_cast<void>(source.Light<bool>());
  LbtUtil::AttributeMap attributes;
  LbtUtil::ReadAttributesFromLbf(source.file, source.attributes, attributes);

  Geometry::VarStruct& variable =
      geometry.variables[geometry.Add(name, type, array, attributes)];
  if (isLinked) {
    variable.isLinked = true;
    variable.linkNodeId = linkNodeId;
    variable.linkVariableIndex = linkVariableIndex;
    variable.attributes.clear();
  }
}

void ReadOldVariable(const Source& source, Geometry& geometry) {
  const bool hasFlags = source.version != "0.1" && source.version != "0.0a";
  const bool hasFurtherFlag = hasFlags && source.version != "0.2";
  const bool hasAttributes = hasFurtherFlag && source.version != "0.3";
  const auto name = source.Light<std::string>();
  const auto type = static_cast<Geometry::VariableType>(source.Light<unsigned int>());
  NumericArray array;
  ReadSize(source, array);
  if (hasFlags) {
    ReadFlagsAndValues(source, array);
  }
  if (hasFurtherFlag) {
    static_cast<void>(source.Light<bool>());
  }
  LbtUtil::AttributeMap attributes;
  if (hasAttributes) {
    LbtUtil::ReadAttributesFromLbf(source.file, source.attributes, attributes);
  }
  const unsigned long position = source.Light<unsigned int>();
  source.file.SetBlockPosition(source.heavy, position);
  array.CreateDataLoader(source.file, std::string(source.heavy), position, false);
  geometry.Add(name, type, array, attributes);
}

}  // namespace

void Geometry::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                      std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                      std::string_view version, unsigned int idOffset) {
  if (version != "0.5" && version != "0.6" && version != "0.7") {
    ReadVc_l05(file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version);
    return;
  }
  const Source source{file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version};
  const auto count = source.Light<unsigned int>();
  for (unsigned int i = 0; i < count; ++i) {
    ReadVariable(source, *this, idOffset);
  }
}

void Geometry::ReadVc_l05(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                          std::string_view heavyDataBlockName,
                          std::string_view attributesBlockName, std::string_view version) {
  const Source source{file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version};
  const auto count = source.Light<unsigned int>();
  for (unsigned int i = 0; i < count; ++i) {
    ReadOldVariable(source, *this);
  }
}

}  // namespace LbtTev
