#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <utility>

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/Geometry.h"

namespace LbtTev {

namespace {

/// Where the parts of a geometry record lie, and what reads its attribute sets.
struct Source {
  LbtLbf::LbFile& file;
  std::string_view light;
  std::string_view heavy;
  std::string_view attributes;
  std::string_view version;
  LbtUtil::AttributeSetReader attributeReader{};

  template <class T>
  [[nodiscard]] T Light(T value = T{}) const {
    file.Get(light, value);
    return value;
  }
};

/// Variables for which room is made ahead of reading them; a file may claim any number.
constexpr unsigned int kMostReserved = 256;

/// The flags and values that every record with them has in this order.
void ReadFlagsAndValues(Source& source, NumericArray& array) {
  array.firstFlag = source.Light<bool>();
  array.secondFlag = source.Light<bool>();
  array.firstValue = source.Light<float>();
  array.secondValue = source.Light<float>();
  array.thirdFlag = source.Light<bool>();
}

void ReadSize(Source& source, NumericArray& array) {
  array.byteSize = source.Light<unsigned int>();
  array.hasData = array.byteSize != 0;
  array.width = source.Light<unsigned char>(array.width);
}

Geometry::VariableType MaskedType(unsigned int code) {
  constexpr unsigned int kNoType = 0xFFFFFFFF;
  constexpr unsigned int kLowByte = 0xFF;
  return static_cast<Geometry::VariableType>(code == kNoType ? code : code & kLowByte);
}

/// Like all ids of a grafted file; a link to nothing stays one.
unsigned int ReadLink(const Source& source, unsigned int idOffset) {
  const auto nodeId = source.Light<unsigned int>();
  return nodeId == 0 ? 0 : nodeId + idOffset;
}

/// Takes the data of a version "0.5" variable, which no loader will fetch later.
void ReadDataAtOnce(Source& source, unsigned long position, NumericArray& array) {
  source.file.SetBlockPosition(source.heavy, position);
  const auto bytes = source.file.GetBytes(source.heavy, array.byteSize);
  array.storedBytes =
      boost::make_shared<const std::vector<unsigned char>>(bytes.begin(), bytes.end());
}

void ReadOwnData(Source& source, Geometry& geometry, const std::string& name, NumericArray& array) {
  ReadSize(source, array);
  ReadFlagsAndValues(source, array);
  const unsigned long position =
      source.version == "0.7" ? source.Light<unsigned long>() : source.Light<unsigned int>();
  if (source.version == "0.5") {
    ReadDataAtOnce(source, position, array);
  } else {
    geometry.heavyDataPositions[name] = position;
  }
}

void ReadVariable(Source& source, Geometry& geometry, unsigned int idOffset) {
  auto name = source.Light<std::string>();
  const Geometry::VariableType type = MaskedType(source.Light<unsigned int>());
  const bool isLinked = source.Light<bool>();
  NumericArray array;
  unsigned int linkNodeId = 0;
  unsigned int linkVariableIndex = 0;
  if (isLinked) {
    linkNodeId = ReadLink(source, idOffset);
    linkVariableIndex = source.Light<unsigned int>();
  } else {
    ReadOwnData(source, geometry, name, array);
  }
  static_cast<void>(source.Light<bool>());
  LbtUtil::AttributeMap attributes;
  source.attributeReader.Read(source.file, source.attributes, attributes);

  Geometry::VarStruct& variable =
      geometry
          .variables[geometry.Add(std::move(name), type, std::move(array), std::move(attributes))];
  if (isLinked) {
    variable.isLinked = true;
    variable.linkNodeId = linkNodeId;
    variable.linkVariableIndex = linkVariableIndex;
    variable.attributes.clear();
  }
}

void ReadOldVariable(Source& source, Geometry& geometry) {
  const bool hasFlags = source.version != "0.1" && source.version != "0.0a";
  const bool hasFurtherFlag = hasFlags && source.version != "0.2";
  const bool hasAttributes = hasFurtherFlag && source.version != "0.3";
  auto name = source.Light<std::string>();
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
    source.attributeReader.Read(source.file, source.attributes, attributes);
  }
  const unsigned long position = source.Light<unsigned int>();
  source.file.SetBlockPosition(source.heavy, position);
  array.CreateDataLoader(source.file, std::string(source.heavy), position, false);
  geometry.Add(std::move(name), type, std::move(array), std::move(attributes));
}

}  // namespace

void Geometry::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                      std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                      std::string_view version, unsigned int idOffset) {
  if (version != "0.5" && version != "0.6" && version != "0.7") {
    ReadVc_l05(file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version);
    return;
  }
  Source source{file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version};
  const auto count = source.Light<unsigned int>();
  variables.reserve(std::min(count, kMostReserved));
  for (unsigned int i = 0; i < count; ++i) {
    ReadVariable(source, *this, idOffset);
  }
}

void Geometry::ReadVc_l05(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                          std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                          std::string_view version) {
  Source source{file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version};
  const auto count = source.Light<unsigned int>();
  variables.reserve(std::min(count, kMostReserved));
  for (unsigned int i = 0; i < count; ++i) {
    ReadOldVariable(source, *this);
  }
}

}  // namespace LbtTev
