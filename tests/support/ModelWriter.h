#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ContainerWriter.h"
#include "ModelEncoder.h"
#include "Nodes.h"

namespace tevtest {

/// How a stream is cut into blocks and how these are stored.
struct StreamLayout {
  enum class Split { OneBlock, BlockPerRecord, AtCuts };
  enum class Packing { Raw, Compressed, Alternating };  ///< Alternating begins with a raw block

  Split split = Split::OneBlock;
  Packing packing = Packing::Raw;
  std::vector<std::size_t> cuts{};  ///< ascending offsets into the stream, for AtCuts
  bool emptyBlocks = false;         ///< one block without bytes between any two
};

/// Builds a whole model file in memory: the tree, its nodes' data and the container around them.
///
/// Nodes are added parents first and come back as a NodeRef; At() gives access to everything that
/// is stored of one. Streams that hold nothing are left out of the file, except for the tree.
class ModelWriter {
 public:
  NodeRef AddGroup(std::string_view name, NodeRef under, AttributeSet attributes = {},
                   std::string_view version = "0.4");
  /// With a default material, but for versions "0.0a" and "0.1", whose readers expect none.
  NodeRef AddShape(std::string_view name, NodeRef under, std::string_view version = "0.2");
  NodeRef AddGeometry(std::string_view name, NodeRef under, std::string_view version = "0.7");
  NodeRef AddNodeSets(std::string_view name, NodeRef under, std::vector<NodeSet> sets);
  /// A node of any other type with size-prefixed light data.
  NodeRef AddFuture(std::string_view type, std::string_view name, NodeRef under,
                    std::string_view lightBytes);
  /// A record without a type and without data.
  NodeRef AddEmpty(std::string_view name, NodeRef under);
  NodeRef Add(NodeSpec node);

  /// Appends a variable to a geometry and returns its index there.
  std::uint32_t AddVariable(NodeRef geometry, Variable variable);
  ModelWriter& AddModifier(ModifierRecord modifier);
  /// Writes the modifier list with this count, also without any modifier.
  ModelWriter& SetModifierCount(std::uint32_t count);

  [[nodiscard]] NodeSpec& At(NodeRef node) { return nodes_.at(node - 1); }
  [[nodiscard]] Variable& VariableAt(NodeRef geometry, std::size_t index);
  [[nodiscard]] ModifierRecord& ModifierAt(std::size_t index) { return modifiers_.at(index); }

  /// The version of the file; from 0.7 on, light data positions are 64 bits wide.
  ModelWriter& SetFileVersion(std::string_view version);
  ModelWriter& SetWideOffsets(bool wide);
  /// Leaves light data positions at 0 where a node does not set its own.
  ModelWriter& KeepReadingOn();
  /// The order of the records; nodes may be left out or repeated.
  ModelWriter& SetRecordOrder(std::vector<NodeRef> order);

  ModelWriter& SetLayout(std::string_view stream, StreamLayout layout);
  /// For every stream without a layout of its own.
  ModelWriter& SetLayoutOfOthers(StreamLayout layout);
  /// Bytes at the start of a stream, before anything of the model; positions count them.
  ModelWriter& SetPrefix(std::string_view stream, std::string_view bytes);
  /// The bytes of a whole stream in place of the encoded ones, which StreamBytes() gives.
  ModelWriter& ReplaceStream(std::string_view stream, std::string_view bytes);
  ModelWriter& LeaveOut(std::string_view stream);
  /// The named streams first, in this order, then the others in theirs.
  ModelWriter& SetStreamOrder(std::vector<std::string> order);
  /// Deals out the streams' blocks in turn, one of each.
  ModelWriter& Interleave();

  [[nodiscard]] std::string StreamBytes(std::string_view stream) const;
  /// Where the "nth" record of a stream begins in it, counted from 0; what has no bytes is none.
  [[nodiscard]] std::size_t RecordStart(std::string_view stream, std::size_t nth) const;
  [[nodiscard]] ContainerWriter ToContainer() const;
  [[nodiscard]] std::string Build() const { return ToContainer().Build().bytes; }

 private:
  [[nodiscard]] Streams Encode() const;
  [[nodiscard]] std::vector<std::string> StreamOrder() const;
  [[nodiscard]] std::vector<BlockSpec> BlocksOf(const std::string& name,
                                                const Stream& stream) const;

  std::vector<NodeSpec> nodes_;
  std::vector<ModifierRecord> modifiers_;
  std::optional<std::uint32_t> modifierCount_;
  std::string fileVersion_ = "1.3";
  std::optional<bool> wideOffsets_;
  bool readOn_ = false;
  bool interleave_ = false;
  std::optional<std::vector<NodeRef>> recordOrder_;
  std::map<std::string, StreamLayout, std::less<>> layouts_;
  StreamLayout layoutOfOthers_;
  std::map<std::string, std::string, std::less<>> prefixes_;
  std::map<std::string, std::string, std::less<>> replacements_;
  std::vector<std::string> leftOut_;
  std::vector<std::string> streamOrder_;
};

}  // namespace tevtest
