#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// Named sets of nodes of the mesh.
class NodeSets final : public Node {
 public:
  /// One set.
  struct NodeSet {
    std::string name;
    std::vector<std::pair<unsigned int, unsigned int>> members;
  };

  /// Sets that copies share, as nodes do whose sets are stored in the same place. Reads like the
  /// vector that it stands for and is changed as a whole.
  class SetList {
   public:
    using value_type = NodeSet;
    using const_iterator = std::vector<NodeSet>::const_iterator;

    SetList() : SetList(std::vector<NodeSet>()) {}
    SetList(std::vector<NodeSet> sets)
        : sets_(std::make_shared<const std::vector<NodeSet>>(std::move(sets))) {}
    SetList(std::initializer_list<NodeSet> sets) : SetList(std::vector<NodeSet>(sets)) {}

    [[nodiscard]] const_iterator begin() const { return sets_->begin(); }
    [[nodiscard]] const_iterator end() const { return sets_->end(); }
    [[nodiscard]] std::size_t size() const { return sets_->size(); }
    [[nodiscard]] bool empty() const { return sets_->empty(); }
    [[nodiscard]] const NodeSet& operator[](std::size_t index) const { return (*sets_)[index]; }
    /// Throws std::out_of_range.
    [[nodiscard]] const NodeSet& at(std::size_t index) const { return sets_->at(index); }

    /// Whether both stand for the same sets in memory.
    [[nodiscard]] bool IsSharedWith(const SetList& other) const { return sets_ == other.sets_; }

   private:
    std::shared_ptr<const std::vector<NodeSet>> sets_;
  };

  [[nodiscard]] std::string GetType() const override { return std::string(NodeType::kNodeSets); }

  /// Reads the sets from the heavy data at heavyDataPosition: name offsets (setCount +
  /// 1), one string with all names, member offsets (setCount + 1), and the first and
  /// the second values of all members.
  ///
  /// Throws "Out of Bounds" ("Not enough bytes in the block") where a list is shorter
  /// than the sets or their offsets need, std::out_of_range for a name that starts after
  /// the end of all names, and what reading streams throws. Sets may overlap: each name
  /// and member counts towards the request.
  void LoadSets(ModelStream& heavy);
  /// The same from the stream of this name.
  void LoadDataBlocks(LbtLbf::LbFile& file, std::string_view heavyDataBlockName);

  SetList sets;
  unsigned int setCount = 0;
  unsigned long heavyDataPosition = 0;  ///< byte of the heavy data stream
  unsigned int reservedCount = 0;       ///< carried, without a meaning here
  LbtUtil::AttributeMap attributes;
};

}  // namespace LbtTev
