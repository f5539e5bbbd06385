#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <utility>

#include "Lbt/Lbf/StreamReader.h"
#include "Lbt/Tev/AttributeSetCache.h"
#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/Geometry.h"

namespace LbtTev {

namespace {

/// Where the parts of a geometry record lie, and what reads its attribute sets.
struct Source {
  LbtLbf::LbFile& file;
  LbtLbf::StreamReader light;
  std::string_view heavy;
  LbtLbf::StreamReader attributes;
  std::string_view version;
  AttributeSetCache* cache;
  LbtUtil::AttributeSetReader attributeReader{};

  template <class T>
  [[nodiscard]] T Light() {
    T value{};
    light.Get(value);
    return value;
  }

  /// Readers know no block any more behind a seek.
  void SeekHeavy(unsigned long position) {
    file.SetBlockPosition(heavy, position);
    light = LbtLbf::StreamReader(file, light.GetName());
    attributes = LbtLbf::StreamReader(file, attributes.GetName());
  }
};

/// Variables for which room is made ahead of reading them; a file may claim any number.
constexpr unsigned int kMostReserved = 256;

/// Reads size and width, and whatever is stored behind them.
template <class... Further>
void ReadArray(Source& source, NumericArray& array, Further&... further) {
  unsigned int byteSize = 0;
  source.light.Get(byteSize, array.width, further...);
  array.byteSize = byteSize;
  array.hasData = byteSize != 0;
}

/// The same with the flags and values that most records have in this order.
template <class... Further>
void ReadFlaggedArray(Source& source, NumericArray& array, Further&... further) {
  ReadArray(source, array, array.firstFlag, array.secondFlag, array.firstValue, array.secondValue,
            array.thirdFlag, further...);
}

Geometry::VariableType MaskedType(unsigned int code) {
  constexpr unsigned int kNoType = 0xFFFFFFFF;
  constexpr unsigned int kLowByte = 0xFF;
  return static_cast<Geometry::VariableType>(code == kNoType ? code : code & kLowByte);
}

/// Like all ids of a grafted file; a link to nothing stays one.
unsigned int ReadLink(Source& source, unsigned int idOffset) {
  const auto nodeId = source.Light<unsigned int>();
  return nodeId == 0 ? 0 : nodeId + idOffset;
}

/// Takes the data of a version "0.5" variable, which no loader will fetch later.
void ReadDataAtOnce(Source& source, unsigned long position, NumericArray& array) {
  source.SeekHeavy(position);
  const auto bytes = source.file.GetBytes(source.heavy, array.byteSize);
  array.storedBytes =
      boost::make_shared<const std::vector<unsigned char>>(bytes.begin(), bytes.end());
}

/// A position of 32 or 64 bits.
template <class Position>
[[nodiscard]] unsigned long ReadArrayAndPosition(Source& source, NumericArray& array) {
  Position position = 0;
  ReadFlaggedArray(source, array, position);
  return position;
}

void ReadOwnData(Source& source, Geometry& geometry, const std::string& name, NumericArray& array) {
  const unsigned long position = source.version == "0.7"
                                     ? ReadArrayAndPosition<unsigned long>(source, array)
                                     : ReadArrayAndPosition<unsigned int>(source, array);
  if (source.version == "0.5") {
    ReadDataAtOnce(source, position, array);
  } else {
    geometry.heavyDataPositions[name] = position;
  }
}

/// Attribute sets that were read before are taken from the cache, where there is one.
void ReadAttributes(Source& source, Geometry::VarStruct& variable) {
  LbtLbf::Block* block = source.cache == nullptr ? nullptr : source.attributes.FindBlock();
  const std::string_view storedSet =
      block == nullptr ? std::string_view() : AttributeSetCache::StoredSet(block->Peek());
  const auto* known = storedSet.empty() ? nullptr : source.cache->Find(storedSet);
  if (known != nullptr) {
    static_cast<void>(block->GetText(static_cast<std::uint32_t>(storedSet.size())));
    variable.isVibration = known->isVibration;
    variable.attributes = known->attributes;
    variable.storageAttributes = known->storageAttributes;
    return;
  }
  LbtUtil::AttributeMap attributes;
  source.attributeReader.Read(source.file, source.attributes.GetName(), attributes);
  Geometry::ProcessAttributes(variable, std::move(attributes));
  if (!storedSet.empty()) {
    source.cache->Keep(storedSet,
                       {variable.isVibration, variable.attributes, variable.storageAttributes});
  }
}

void ReadVariable(Source& source, Geometry& geometry, unsigned int idOffset) {
  Geometry::VarStruct variable;
  unsigned int type = 0;
  source.light.Get(variable.name, type, variable.isLinked);
  variable.variableType = MaskedType(type);
  if (variable.isLinked) {
    variable.linkNodeId = ReadLink(source, idOffset);
    variable.linkVariableIndex = source.Light<unsigned int>();
  } else {
    ReadOwnData(source, geometry, variable.name, variable.array);
  }
  static_cast<void>(source.Light<bool>());
  ReadAttributes(source, variable);
  if (variable.isLinked) {
    variable.attributes.clear();
    variable.storageAttributes.clear();
  }
  geometry.variables.push_back(std::move(variable));
}

void ReadOldVariable(Source& source, Geometry& geometry) {
  const bool hasFlags = source.version != "0.1" && source.version != "0.0a";
  const bool hasFurtherFlag = hasFlags && source.version != "0.2";
  const bool hasAttributes = hasFurtherFlag && source.version != "0.3";
  Geometry::VarStruct variable;
  unsigned int type = 0;
  source.light.Get(variable.name, type);
  variable.variableType = static_cast<Geometry::VariableType>(type);
  if (hasFlags) {
    ReadFlaggedArray(source, variable.array);
  } else {
    ReadArray(source, variable.array);
  }
  if (hasFurtherFlag) {
    static_cast<void>(source.Light<bool>());
  }
  if (hasAttributes) {
    ReadAttributes(source, variable);
  }
  const unsigned long position = source.Light<unsigned int>();
  source.SeekHeavy(position);
  variable.array.CreateDataLoader(source.file, std::string(source.heavy), position, false);
  geometry.variables.push_back(std::move(variable));
}

}  // namespace

void Geometry::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                      std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                      std::string_view version, unsigned int idOffset, AttributeSetCache* cache) {
  if (version != "0.5" && version != "0.6" && version != "0.7") {
    ReadVc_l05(file, lightDataBlockName, heavyDataBlockName, attributesBlockName, version, cache);
    return;
  }
  Source source{
      file, {file, lightDataBlockName}, heavyDataBlockName, {file, attributesBlockName}, version,
      cache};
  const auto count = source.Light<unsigned int>();
  variables.reserve(std::min(count, kMostReserved));
  for (unsigned int i = 0; i < count; ++i) {
    ReadVariable(source, *this, idOffset);
  }
}

void Geometry::ReadVc_l05(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                          std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                          std::string_view version, AttributeSetCache* cache) {
  Source source{
      file, {file, lightDataBlockName}, heavyDataBlockName, {file, attributesBlockName}, version,
      cache};
  const auto count = source.Light<unsigned int>();
  variables.reserve(std::min(count, kMostReserved));
  for (unsigned int i = 0; i < count; ++i) {
    ReadOldVariable(source, *this);
  }
}

}  // namespace LbtTev
