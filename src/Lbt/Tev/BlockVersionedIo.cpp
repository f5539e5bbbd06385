// Reads the records of materials and modifiers, which carry their versions.

#include "Lbt/Tev/BlockVersionedIo.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev {

namespace {

using Lbt::Util::Exception;
using LbtLbf::Block;
using LbtLbf::CopyFromBlock;
using LbtLbf::NumberFromBlock;

void ReadFields(Block& block, Material& material, std::string_view version) {
  constexpr std::size_t kStoredColours = 3;  // alpha is not stored
  CopyFromBlock(block, std::span<float>(material.diffuse));
  CopyFromBlock(block, std::span<float>(material.specular));
  CopyFromBlock(block, std::span(material.emissive).first(kStoredColours));
  CopyFromBlock(block, std::span(material.ambient).first(kStoredColours));
  CopyFromBlock(block, material.shininess);
  if (Holds(version, RecordPart::MaterialFactor)) {
    CopyFromBlock(block, material.materialFactor);
  }
  if (Holds(version, RecordPart::MaterialFlag)) {
    CopyFromBlock(block, material.materialFlag);
  }
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
void FinishSizedRecord(Block& block, std::uint32_t end) {
  if (block.GetPosition() < end) {
    block.SetPosition(std::uint64_t{end});
  } else if (block.GetPosition() > end) {
    constexpr unsigned long kLine = 184;  // fixed: part of the text that users know
    Lbt::Log::Raise(Exception::ErrorType::UnknownVersion, "Unknown Version",
                    "include/Lbt/Tev/BlockVersionedIo", kLine);
  }
}

template <class T>
void ReadRecord(Block& block, T& value) {
  const std::uint32_t start = block.GetPosition();
  const bool isSized = Holds(LbtLbf::tev_file_version, RecordPart::RecordSize);
  const std::uint32_t recordSize = isSized ? NumberFromBlock<std::uint32_t>(block) : 0;
  std::string version;
  CopyFromBlock(block, version);
  ReadFields(block, value, version);
  if (isSized) {
    // In 32 bits: a size that wraps ends its record before its fields.
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
