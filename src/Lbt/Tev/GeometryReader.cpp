// Reads geometry records of all versions.

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <utility>

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TreeRecord.h"

namespace LbtTev {

namespace {

/// Variables for which room is made ahead of reading them; a file may claim any number.
constexpr unsigned int kMostReserved = 256;

Geometry::VariableType MaskedType(unsigned int code) {
  constexpr unsigned int kNoType = 0xFFFFFFFF;
  constexpr unsigned int kLowByte = 0xFF;
  return static_cast<Geometry::VariableType>(code == kNoType ? code : code & kLowByte);
}

/// What a variable takes, and leaves behind where the list of variables grows.
constexpr std::uint64_t kMemoryOfAVariable = 2 * sizeof(Geometry::VarStruct);
/// What its loader takes, and its entry among the positions.
constexpr std::uint64_t kMemoryOfALoader = 2 * sizeof(DataLoader) + sizeof(std::string) + 64;

/// Reads the variables of one geometry.
class VariableReader {
 public:
  VariableReader(ModelStreams& streams, std::string_view version, AttributeSetCache* cache)
      : streams_(&streams),
        cache_(cache),
        isReadAtOnce_(Holds(version, RecordPart::GeometryDataAtOnce)),
        hasWidePositions_(Holds(version, RecordPart::GeometryWidePositions)),
        hasFlags_(Holds(version, RecordPart::GeometryFlags)),
        hasFurtherFlag_(Holds(version, RecordPart::GeometryFurtherFlag)),
        hasAttributes_(Holds(version, RecordPart::GeometryAttributes)) {}

  void Read(Geometry& geometry, unsigned int idOffset) {
    Geometry::VarStruct variable;
    unsigned int type = 0;
    streams_->light.Get(variable.name, type, variable.isLinked);
    variable.variableType = MaskedType(type);
    if (variable.isLinked) {
      streams_->light.Get(variable.linkNodeId, variable.linkVariableIndex);
      variable.linkNodeId = ShiftedLink(variable.linkNodeId, idOffset);
    } else {
      ReadOwnData(geometry, variable);
    }
    SkipFlag();
    AttemptAttributes(variable);
    if (variable.isLinked) {
      variable.attributes.clear();
      variable.storageAttributes.clear();
    }
    Add(geometry, variable);
  }

  void ReadOld(Geometry& geometry) {
    Geometry::VarStruct variable;
    unsigned int type = 0;
    streams_->light.Get(variable.name, type);
    variable.variableType = static_cast<Geometry::VariableType>(type);
    ReadSize(variable.array);
    if (hasFlags_) {
      ReadFlags(variable.array);
    }
    if (hasFurtherFlag_) {
      SkipFlag();
    }
    if (hasAttributes_) {
      AttemptAttributes(variable);
    }
    const auto position = Light<unsigned int>();
    streams_->Attempt(*streams_->heavy, [&] { streams_->heavy->RequirePosition(position); });
    variable.array.CreateDataLoader(streams_->heavy, position, false);
    Add(geometry, variable);
  }

 private:
  /// Records may all have the same light data: what comes of it is counted, since it takes several
  /// times its memory.
  void Add(Geometry& geometry, Geometry::VarStruct& variable) {
    streams_->light.ChargeMemory(kMemoryOfAVariable + (variable.isLinked ? 0 : kMemoryOfALoader));
    geometry.variables.push_back(std::move(variable));
  }

  template <class T>
  [[nodiscard]] T Light() {
    T value{};
    streams_->light.Get(value);
    return value;
  }

  void SkipFlag() { static_cast<void>(Light<bool>()); }

  void ReadSize(NumericArray& array) {
    unsigned int byteSize = 0;
    streams_->light.Get(byteSize, array.width);
    array.byteSize = byteSize;
    array.hasData = byteSize != 0;
  }

  void ReadFlags(NumericArray& array) {
    streams_->light.Get(array.firstFlag, array.secondFlag, array.firstValue, array.secondValue,
                        array.thirdFlag);
  }

  void ReadOwnData(Geometry& geometry, Geometry::VarStruct& variable) {
    ReadSize(variable.array);
    ReadFlags(variable.array);
    const unsigned long position =
        hasWidePositions_ ? Light<unsigned long>() : Light<unsigned int>();
    variable.array.ownPosition = position;
    if (isReadAtOnce_) {
      streams_->Attempt(*streams_->heavy, [&] { ReadData(position, variable.array); });
    } else {
      geometry.heavyDataPositions[variable.name] = position;
    }
  }

  /// Takes data that no loader will fetch later; what another variable has taken before is shared.
  void ReadData(unsigned long position, NumericArray& array) {
    auto& known = streams_->dataReadAtOnce[{position, array.byteSize}];
    if (known == nullptr) {
      streams_->heavy->Seek(position);
      const auto bytes = streams_->heavy->GetBytes(array.byteSize);
      known = boost::make_shared<const std::vector<unsigned char>>(bytes.begin(), bytes.end());
    }
    array.storedBytes = known;
  }

  void AttemptAttributes(Geometry::VarStruct& variable) {
    streams_->Attempt(streams_->attributes, [&] { ReadAttributes(variable); });
  }

  /// Sets that were decoded before are taken from the cache, where there is one.
  void ReadAttributes(Geometry::VarStruct& variable) {
    set_.Read(streams_->attributes);
    if (cache_ == nullptr) {
      Decode(variable);
      return;
    }
    if (const auto* known = cache_->Find(set_.Bytes()); known != nullptr) {
      variable.isVibration = known->isVibration;
      variable.attributes = known->attributes;
      variable.storageAttributes = known->storageAttributes;
    } else {
      Decode(variable);
      cache_->Keep(set_.Bytes(),
                   {variable.isVibration, variable.attributes, variable.storageAttributes});
    }
  }

  void Decode(Geometry::VarStruct& variable) {
    LbtUtil::AttributeMap attributes;
    set_.AddTo(attributes);
    Geometry::ProcessAttributes(variable, std::move(attributes));
  }

  ModelStreams* streams_;
  AttributeSetCache* cache_;
  LbtUtil::StoredAttributeSet set_;
  bool isReadAtOnce_;
  bool hasWidePositions_;
  bool hasFlags_;
  bool hasFurtherFlag_;
  bool hasAttributes_;
};

/// Reads as many variables as there are, each with "readOne". Where that fails, nobody knows how
/// many attribute sets were still to be read.
template <class ReadOne>
void ReadVariables(ModelStreams& streams, std::string_view version, Geometry& geometry,
                   ReadOne readOne) {
  const auto readAll = [&] {
    unsigned int count = 0;
    streams.light.Get(count);
    geometry.variables.reserve(std::min(count, kMostReserved));
    for (unsigned int i = 0; i < count; ++i) {
      readOne();
    }
  };
  if (Holds(version, RecordPart::GeometryAttributes)) {
    streams.Attempt(streams.light, readAll, {&streams.attributes});
  } else {
    streams.Attempt(streams.light, readAll);
  }
}

StreamNames NamesOf(std::string_view light, std::string_view heavy, std::string_view attributes) {
  StreamNames names;
  names.light = light;
  names.heavy = heavy;
  names.attributes = attributes;
  return names;
}

}  // namespace

void Geometry::Read(ModelStreams& streams, std::string_view version, unsigned int idOffset,
                    AttributeSetCache* cache) {
  if (!Holds(version, RecordPart::GeometryLinks)) {
    ReadOld(streams, version, cache);
    return;
  }
  VariableReader reader(streams, version, cache);
  ReadVariables(streams, version, *this, [&] { reader.Read(*this, idOffset); });
}

void Geometry::ReadOld(ModelStreams& streams, std::string_view version, AttributeSetCache* cache) {
  VariableReader reader(streams, version, cache);
  ReadVariables(streams, version, *this, [&] { reader.ReadOld(*this); });
}

void Geometry::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                      std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                      std::string_view version, unsigned int idOffset) {
  ModelStreams streams(file, NamesOf(lightDataBlockName, heavyDataBlockName, attributesBlockName));
  Read(streams, version, idOffset);
}

void Geometry::ReadVc_l05(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                          std::string_view heavyDataBlockName, std::string_view attributesBlockName,
                          std::string_view version) {
  ModelStreams streams(file, NamesOf(lightDataBlockName, heavyDataBlockName, attributesBlockName));
  ReadOld(streams, version);
}

}  // namespace LbtTev
