#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string_view>

#include "Lbt/Lbf/Index.h"
#include "Lbt/Tev/TreeRecord.h"

namespace LbtTev {

/// What could not be read while a model was loaded. Refers to what is valid while the observer is
/// told of it.
struct LoadFailure {
  enum class Part : std::uint8_t {
    Index,              ///< nothing else can be read then
    GlobalInformation,  ///< some of the modifiers may have been read
    RecordCount,        ///< of the tree; no record is read
    Record,             ///< of the tree; no further record is read
    NodeData,           ///< the node has what was read of it until then
    NodeSets,           ///< the node has no sets
  };

  Part part{};
  std::size_t record = 0;       ///< of Record and NodeData: its number in the file, from 0 on
  unsigned int nodeId = 0;      ///< of NodeData and NodeSets, as in the tree
  std::string_view nodeName{};  ///< the same
  std::string_view stream{};    ///< what was read from
  std::uint64_t position = 0;   ///< the byte of the stream at which its cursor stood in the end
  std::optional<LbtLbf::NumberedBlock> refusedBlock{};  ///< the one that zlib refused
  /// What was thrown; where this follows from a failure that was told of before, the exception of
  /// that one.
  const std::exception* exception = nullptr;
  bool isConsequence = false;
};

/// Who wants to know how far the loading of a model is derives from this.
class LoadObserver {
 public:
  LoadObserver() = default;
  virtual ~LoadObserver() = default;
  LoadObserver(const LoadObserver&) = delete;
  LoadObserver& operator=(const LoadObserver&) = delete;

  /// How many tree records there are to be has been read. Below 0 it is as 0: none is read.
  virtual void OnRecordCount(int /*count*/) {}

  /// A tree record has been read; the data of its node comes next.
  virtual void OnRecord(const TreeRecord& record) = 0;

  /// The data of that record's node has been read, and the node is in the tree.
  virtual void OnNode() = 0;

  /// Node sets have been read from these bytes of the heavy data: those that are stored in the same
  /// place once.
  virtual void OnNodeSets(std::uint64_t /*start*/, std::uint64_t /*end*/) {}

  /// Something could not be read. Returns whether to go on with what can still be read; else the
  /// exception is thrown, as it is where nobody observes. A stream that is read front to back is
  /// not read any further after its first failure: what should come from it is as in a file that
  /// lacks it, and each node that is read without it is told of as a consequence. Light data goes
  /// on at the next record that says where its own lies.
  [[nodiscard]] virtual bool OnFailure(const LoadFailure& /*failure*/) { return false; }
};

}  // namespace LbtTev
