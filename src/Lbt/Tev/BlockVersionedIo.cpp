#include "Lbt/Tev/BlockVersionedIo.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Log/Raise.h"
#include "StoredFloats.h"

namespace LbtTev {

namespace {

using Lbt::Util::Exception;
using LbtLbf::Block;
using LbtLbf::CopyFromBlock;
using LbtLbf::NumberFromBlock;

/// Whether records carry their size: not yet in the first container versions.
bool AreRecordsSized() {
  const std::string_view version = LbtLbf::tev_file_version;
  return version != "0.1" && version != "0.1a" && version != "0.1b" && version != "0.2";
}

void ReadFloats(Block& block, std::span<float> floats) {
  DecodeFloats(block.Get(static_cast<std::uint32_t>(floats.size_bytes())), floats);
}

void ReadFields(Block& block, Material& material, std::string_view version) {
  constexpr std::size_t kStoredColours = 3;  // alpha is not stored
  ReadFloats(block, material.diffuse);
  ReadFloats(block, material.specular);
  ReadFloats(block, std::span(material.emissive).first(kStoredColours));
  ReadFloats(block, std::span(material.ambient).first(kStoredColours));
  CopyFromBlock(block, material.shininess);
  if (version == "0.1") {
    return;
  }
  CopyFromBlock(block, material.materialFactor);
  if (version == "0.2") {
    return;
  }
  CopyFromBlock(block, material.materialFlag);
}

void ReadFields(Block& block, ModifierInfo& modifier, std::string_view /*version*/) {
  CopyFromBlock(block, modifier.applicationName);
  CopyFromBlock(block, modifier.applicationVersion);
  CopyFromBlock(block, modifier.tevVersion);
  CopyFromBlock(block, modifier.date);
  CopyFromBlock(block, modifier.unreported);
  CopyFromBlock(block, modifier.userName);
  CopyFromBlock(block, modifier.comment);
}

/// Steps over what a newer writer added to a record.
void FinishSizedRecord(Block& block, std::uint64_t end) {
  if (block.GetPosition() < end) {
    block.SetPosition(end);
  } else if (block.GetPosition() > end) {
    constexpr unsigned long kLine = 184;  // fixed: part of the text that users know
    Lbt::Log::Raise(Exception::ErrorType::UnknownVersion, "Unknown Version",
                    "include/Lbt/Tev/BlockVersionedIo", kLine);
  }
}

template <class T>
void ReadRecord(Block& block, T& value) {
  const std::uint64_t start = block.GetPosition();
  const bool isSized = AreRecordsSized();
  const std::uint32_t recordSize = isSized ? NumberFromBlock<std::uint32_t>(block) : 0;
  std::string version;
  CopyFromBlock(block, version);
  ReadFields(block, value, version);
  if (isSized) {
    FinishSizedRecord(block, start + recordSize);
  }
}

}  // namespace

template <>
void CopyFromBlock_Versioned<Material>(Block& block, Material& material) {
  ReadRecord(block, material);
}

template <>
void CopyFromBlock_Versioned<ModifierInfo>(Block& block, ModifierInfo& modifier) {
  ReadRecord(block, modifier);
}

}  // namespace LbtTev

namespace LbtLbf {

namespace {

/// Bytes of a modifier record whose strings are all empty.
constexpr std::uint32_t kShortestRecord = 8 * sizeof(std::uint32_t);

}  // namespace

template <>
void CopyFromBlock<LbtTev::ModifierInfo>(Block& block,
                                         std::vector<LbtTev::ModifierInfo>& modifiers) {
  const auto count = NumberFromBlock<std::uint32_t>(block);
  modifiers.resize(std::min<std::size_t>(modifiers.size(), count));
  std::size_t read = 0;
  try {
    for (; read < count; ++read) {
      if (read == modifiers.size()) {
        modifiers.emplace_back();
      }
      LbtTev::CopyFromBlock_Versioned(block, modifiers[read]);
    }
  } catch (const Lbt::Util::Exception&) {
    const std::uint32_t mostKept = Detail::MostKept(block.GetSize(), kShortestRecord);
    modifiers.resize(Detail::KeptLength(count, read, mostKept));
    throw;
  }
}

}  // namespace LbtLbf
