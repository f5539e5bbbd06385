#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtUtil {

/// Reads attribute sets, one after another, and keeps the memory of its list of names
/// between them. Each set is read as ReadAttributesFromLbf does.
class AttributeSetReader {
 public:
  void Read(LbtLbf::LbFile& file, std::string_view blockName, AttributeMap& attributes);

 private:
  /// The values of one kind, which stay in their block, taken one after another.
  template <class List>
  struct Queue {
    void Clear() {
      values = {};
      next = 0;
    }
    [[nodiscard]] typename List::value_type Next();

    List values;
    std::size_t next = 0;
  };

  void ReadLists(LbtLbf::LbFile& file, std::string_view blockName);
  [[nodiscard]] AttributeValue NextValue(AttributeValue::Kind kind);

  std::vector<std::string_view> names_;
  Queue<LbtLbf::StoredList<unsigned char>> types_;
  Queue<LbtLbf::StoredList<unsigned int>> uintValues_;
  Queue<LbtLbf::StoredList<float>> floatValues_;
  Queue<LbtLbf::StoredList<double>> doubleValues_;
  Queue<std::vector<std::string_view>> textValues_;
};

/// Reads one attribute set of a stream into "attributes"; a name that is there gets
/// the new value. A set is six lists, each a value of its own: names (strings), type
/// codes (bytes), unsigned integers (u32), floats, doubles, texts (strings). The
/// value of a name is the next unused one of its kind; an unknown type code repeats
/// the kind before it, or at the start means an unsigned integer.
///
/// Throws "Out of Bounds" ("Not enough bytes in the block") where a list is shorter
/// than the names need, and what reading streams throws.
void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes);

}  // namespace LbtUtil
