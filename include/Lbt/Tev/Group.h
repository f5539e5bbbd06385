#pragma once

#include <array>
#include <string>
#include <string_view>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// A node that holds others together: a transformation and named attributes.
class Group final : public Node {
 public:
  [[nodiscard]] std::string GetType() const override { return "Group"; }
  [[nodiscard]] std::string GetVersion() const override { return "0.4"; }

  /// Reads the group's data by its record version:
  ///
  ///   "0.0a", "0.1"  nothing
  ///   "0.2"          translation, rotation, scale from the light data
  ///   "0.3"          and one attribute set
  ///   any other      and groupByte from the light data
  ///
  /// Throws what reading streams throws.
  void Read(ModelStreams& streams, std::string_view version);
  /// The same from the streams of these names.
  void ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
              std::string_view attributesBlockName, std::string_view version);

  std::array<float, 3> translation{0, 0, 0};
  std::array<float, 4> rotation{0, 0, 1, 0};  ///< axis (x, y, z), then the angle
  std::array<float, 3> scale{1, 1, 1};
  LbtUtil::AttributeMap attributes;
  unsigned char groupByte = 0;  ///< not 0 where a file may be grafted under the group
};

}  // namespace LbtTev
