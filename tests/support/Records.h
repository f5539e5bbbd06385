#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tevtest {

/// How a versioned record is wrapped: its size (counted from the size field on), its version text,
/// its fields, and whatever a newer writer may have put after them.
struct Envelope {
  bool sized = true;                          ///< with a size field, as in all but the oldest files
  std::optional<std::uint32_t> recordSize{};  ///< in place of the true size
  std::string trailing{};                     ///< bytes after the known fields, counted in the size

  [[nodiscard]] std::string Wrap(std::string_view version, std::string_view fields) const;
};

/// A shape's material. Version "0.1" writes five fields, "0.2" the factor too, any other the flag
/// as well.
struct MaterialRecord {
  std::string version = "0.3";
  std::array<float, 4> diffuse{0.5F, 0.5F, 0.5F, 1.0F};
  std::array<float, 4> specular{0.25F, 0.25F, 0.25F, 1.0F};
  std::array<float, 3> emissive{0.0F, 0.0F, 0.0F};
  std::array<float, 3> ambient{0.125F, 0.125F, 0.125F};
  float shininess = 8.0F;
  float factor = 0.75F;
  std::uint8_t flag = 1;
  Envelope envelope{};

  [[nodiscard]] std::string Encode() const;
};

/// A program that wrote or changed the file; the same seven texts in every version.
struct ModifierRecord {
  std::string version = "0.7";
  std::string applicationName{};
  std::string applicationVersion{};
  std::string tevVersion{};
  std::string date{};
  std::string unreported{};
  std::string userName{};
  std::string comment{};
  Envelope envelope{};

  [[nodiscard]] std::string Encode() const;
};

/// The modifier list: a u32 count ("count" in place of the true one) and the records.
[[nodiscard]] std::string EncodeModifiers(const std::vector<ModifierRecord>& modifiers,
                                          const std::optional<std::uint32_t>& count);

/// One named set of number pairs.
struct NodeSet {
  std::string name{};
  std::vector<std::pair<std::uint32_t, std::uint32_t>> members{};
};

/// The heavy data of a node-sets node: name offsets, all names as one text, member offsets, first
/// values, second values. A list that is set here is written in place of the one the sets give.
struct NodeSetLists {
  std::vector<NodeSet> sets{};
  std::optional<std::vector<std::uint32_t>> nameOffsets{};
  std::optional<std::string> allNames{};
  std::optional<std::vector<std::uint32_t>> memberOffsets{};
  std::optional<std::vector<std::uint32_t>> firstValues{};
  std::optional<std::vector<std::uint32_t>> secondValues{};

  [[nodiscard]] std::string Encode() const;
};

}  // namespace tevtest
