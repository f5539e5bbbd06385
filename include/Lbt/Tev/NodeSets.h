#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Tev/Node.h"
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

  [[nodiscard]] std::string GetType() const override { return "NodeSets"; }

  /// Reads the sets from the heavy data at heavyDataPosition: name offsets (setCount +
  /// 1), one string with all names, member offsets (setCount + 1), and the first and
  /// the second values of all members.
  ///
  /// Throws "Out of Bounds" ("Not enough bytes in the block") where a list is shorter
  /// than the sets or their offsets need, where sets that overlap would hold more
  /// members than the shorter list of values does, or where names that overlap would
  /// hold over a mebibyte more than all names do; std::out_of_range for a name that
  /// starts after the end of all names; and what reading streams throws.
  void Load(ModelStream& heavy);
  /// The same from the stream of this name.
  void LoadDataBlocks(LbtLbf::LbFile& file, std::string_view heavyDataBlockName);

  std::vector<NodeSet> sets;
  unsigned int setCount = 0;
  unsigned long heavyDataPosition = 0;  ///< byte of the heavy data stream
  unsigned int reservedCount = 0;       ///< carried, without a meaning here
  LbtUtil::AttributeMap attributes;
};

}  // namespace LbtTev
