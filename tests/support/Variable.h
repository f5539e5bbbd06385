#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Attributes.h"

namespace tevtest {

/// Variable types that readers treat apart; every type above 11 is a result.
inline constexpr std::uint32_t kCoordinates = 1;
inline constexpr std::uint32_t kConnectivity = 4;
inline constexpr std::uint32_t kPolylength = 9;
inline constexpr std::uint32_t kIds = 12;
inline constexpr std::uint32_t kScalarResult = 13;
inline constexpr std::uint32_t kVectorResult = 14;

/// Numbers as 4-byte elements, bit for bit.
[[nodiscard]] std::string ElementBytes(std::span<const float> values);
[[nodiscard]] std::string ElementBytes(std::span<const std::uint32_t> values);

/// The stored form of row-major 4-byte elements: one plane for each of the "width" components, and
/// in each plane first byte 0 of every element, then byte 1, byte 2, byte 3. Elements left over by
/// the width and bytes left over by the element size follow as they are; width 0 changes nothing.
[[nodiscard]] std::string Shuffle(std::string_view elements, std::uint8_t width);

/// One variable of a geometry: its entry in the light data, its bytes in the heavy data and its
/// attributes. What is not set follows from the rest.
struct Variable {
  std::string name{};
  std::uint32_t type = kScalarResult;
  std::uint8_t width = 1;
  std::string elements{};  ///< row-major, not shuffled

  std::uint8_t linked =
      0;  ///< the byte as stored; with any but 0 the link is written, not the data
  std::uint32_t linkNodeId = 0;
  std::uint32_t linkVariableIndex = 0;

  std::array<std::uint8_t, 3> flags{};
  std::array<float, 2> values{};
  std::uint8_t furtherFlag = 0;
  AttributeSet attributes{};

  std::optional<bool> shuffled{};                ///< else by the geometry's version
  std::optional<std::string> heavyBytes{};       ///< in place of the stored elements
  std::optional<std::uint32_t> byteCount{};      ///< in place of the number of stored bytes
  std::optional<std::uint64_t> heavyPosition{};  ///< in place of where they are stored

  static Variable Floats(std::string_view name, std::uint32_t type, std::uint8_t width,
                         std::span<const float> values, AttributeSet attributes = {});
  static Variable Floats(std::string_view name, std::uint32_t type, std::uint8_t width,
                         std::initializer_list<float> values, AttributeSet attributes = {});
  static Variable Uints(std::string_view name, std::uint32_t type, std::uint8_t width,
                        std::span<const std::uint32_t> values, AttributeSet attributes = {});
  static Variable Uints(std::string_view name, std::uint32_t type, std::uint8_t width,
                        std::initializer_list<std::uint32_t> values, AttributeSet attributes = {});
  /// Shares the data of variable "variableIndex" of the geometry whose id is "nodeId".
  static Variable Link(std::string_view name, std::uint32_t type, std::uint32_t nodeId,
                       std::uint32_t variableIndex, AttributeSet attributes = {});

  /// The bytes for the heavy data, shuffled if "shuffledByVersion" and nothing else is set.
  [[nodiscard]] std::string StoredBytes(bool shuffledByVersion) const;
};

}  // namespace tevtest
