#pragma once

#include <string>
#include <vector>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Tev/Node.h"

namespace LbtTev {

/// A program that wrote or modified the file.
struct ModifierInfo {
  bool operator==(const ModifierInfo&) const = default;

  std::string unstored;  ///< not in the file
  std::string applicationName;
  std::string applicationVersion;
  std::string tevVersion;
  std::string date;
  std::string unreported;  ///< in the file, without a meaning here
  std::string userName;
  std::string comment;
};

/// Reads one self-describing record: recordSize (u32, counted from its own first
/// byte; absent where LbtLbf::tev_file_version is "0.1", "0.1a", "0.1b" or "0.2"),
/// version (string), then the fields of that version. What a sized record holds
/// beyond the known fields is skipped.
///
///   Material      diffuse 4, specular 4, emissive 3, ambient 3 and shininess 1 floats;
///                 unless version is "0.1" materialFactor (float); unless it is "0.1"
///                 or "0.2" materialFlag (1 byte)
///   ModifierInfo  seven strings, applicationName to comment, in every version
///
/// Throws "Unknown Version" for a sized record that is shorter than its fields or whose size
/// takes its end beyond 32 bits, and
/// "Out of Bounds" where the block ends too early.
template <class T>
void CopyFromBlock_Versioned(LbtLbf::Block& block, T& value);

template <>
void CopyFromBlock_Versioned<Material>(LbtLbf::Block& block, Material& material);
template <>
void CopyFromBlock_Versioned<ModifierInfo>(LbtLbf::Block& block, ModifierInfo& modifier);

}  // namespace LbtTev

namespace LbtLbf {

/// Reads a u32 count and that many records of programs. Where the records run out,
/// the vector keeps the count as its length, or, where that is absurd for a block of this
/// size, ends with the record that is not whole.
template <>
void CopyFromBlock<LbtTev::ModifierInfo>(Block& block,
                                         std::vector<LbtTev::ModifierInfo>& modifiers);

}  // namespace LbtLbf
