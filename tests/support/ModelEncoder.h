#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Nodes.h"

namespace tevtest {

inline constexpr std::string_view kTree = "Tev Tree";
inline constexpr std::string_view kLightData = "Light Data";
inline constexpr std::string_view kHeavyData = "Heavy Data";
inline constexpr std::string_view kAttributes = "Attributes";
inline constexpr std::string_view kResources = "Resources";
inline constexpr std::string_view kGlobalInformation = "Global Information";

/// The uncompressed bytes of one named stream and the offsets at which its records end.
struct Stream {
  std::string bytes{};
  std::vector<std::size_t> recordEnds{};

  /// Appends a record and returns the offset at which it starts. Nothing is noted for no bytes.
  std::size_t Append(std::string_view record);
};

using Streams = std::map<std::string, Stream, std::less<>>;

/// Encodes nodes into the streams of the model layer. Positions that the records hold are offsets
/// into those streams.
class ModelEncoder {
 public:
  /// Reads "nodes" only while encoding; "streams" may hold bytes that come before the model's own.
  ModelEncoder(const std::vector<NodeSpec>& nodes, bool wideOffsets, Streams& streams);

  /// Sets every light data position that a node does not fix itself to 0: read on from here.
  void KeepReadingOn() { readOn_ = true; }

  /// Writes the records of the nodes in the order of "order".
  void Encode(const std::vector<NodeRef>& order);

 private:
  struct Links {
    std::uint32_t parent = 0, previousSibling = 0, nextSibling = 0, firstChild = 0, lastChild = 0;
  };

  [[nodiscard]] std::uint32_t IdOf(NodeRef node) const;
  [[nodiscard]] std::vector<Links> LinkAll() const;
  [[nodiscard]] std::string TreeRecord(NodeRef node, const Links& links,
                                       std::uint64_t lightPosition) const;

  /// The light data of a node; its other data go to their streams on the way.
  std::string Content(const NodeSpec& node, const GroupContent& group);
  std::string Content(const NodeSpec& node, const ShapeContent& shape);
  std::string Content(const NodeSpec& node, const GeometryContent& geometry);
  std::string Content(const NodeSpec& node, const NodeSetsContent& sets);
  std::string Content(const NodeSpec& node, const FutureContent& future);
  std::string Content(const NodeSpec& node, const std::monostate& nothing);

  std::string NewVariable(const std::string& version, const Variable& variable);
  std::string OldVariable(const std::string& version, const Variable& variable);

  Stream& To(std::string_view name);

  const std::vector<NodeSpec>& nodes_;
  bool wideOffsets_;
  bool readOn_ = false;
  Streams& streams_;
};

}  // namespace tevtest
