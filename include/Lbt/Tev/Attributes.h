#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Util/AttributeValue.h"
#include "Lbt/Util/SharedAttributes.h"

namespace LbtUtil {

/// An attribute set as it is stored: six lists, each a value of its own. Names (strings), type
/// codes (bytes), unsigned integers (u32), floats, doubles, texts (strings). The value of a name is
/// the next unused one of its kind; an unknown type code repeats the kind before it, or at the
/// start means an unsigned integer.
///
/// What was read stays in its block, and is valid until the next seek in its stream. One object
/// reads one set after another.
class StoredAttributeSet {
 public:
  /// Reads the next set of a stream. Throws what reading the stream throws.
  void Read(LbtTev::ModelStream& stream);

  /// The stored bytes of the whole set; none where they do not lie in one block.
  [[nodiscard]] std::string_view Bytes() const { return bytes_; }

  /// Puts the attributes into a map; a name that is there gets the new value. Throws "Out of
  /// Bounds" ("Not enough bytes in the block") where a list is shorter than the names need.
  void AddTo(AttributeMap& attributes);

 private:
  /// The values of one kind, taken one after another.
  template <class List>
  struct Queue {
    [[nodiscard]] typename List::value_type Next();

    List values{};
    std::size_t next = 0;
  };

  [[nodiscard]] AttributeValue NextValue(AttributeValue::Kind kind);

  std::vector<std::string_view> names_;
  LbtLbf::StoredList<unsigned char> types_;
  Queue<LbtLbf::StoredList<unsigned int>> uintValues_;
  Queue<LbtLbf::StoredList<float>> floatValues_;
  Queue<LbtLbf::StoredList<double>> doubleValues_;
  Queue<std::vector<std::string_view>> textValues_;
  std::string_view bytes_;
};

/// Reads the next attribute set of a stream into "attributes"; see StoredAttributeSet.
void ReadAttributes(LbtTev::ModelStream& stream, AttributeMap& attributes);

/// The same for the stream "blockName" of a file.
void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes);

}  // namespace LbtUtil

namespace LbtTev {

/// Lets texts be looked up in hashed containers without making strings of them.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

/// What variables have got from attribute sets, by the stored bytes of the set: the same bytes
/// need not be decoded again, and the variables share one map. Holds some short sets only, so
/// that it stays small whatever a file has, and gives up where sets hardly ever come again.
class AttributeSetCache {
 public:
  AttributeSetCache() = default;
  ~AttributeSetCache() = default;
  AttributeSetCache(const AttributeSetCache&) = delete;
  AttributeSetCache& operator=(const AttributeSetCache&) = delete;

  /// What Geometry::ProcessAttributes makes of a set.
  struct Result {
    bool isVibration = false;
    LbtUtil::SharedAttributes attributes;
    LbtUtil::SharedAttributes storageAttributes{};
  };

  /// What came of a set with these bytes, or null; valid until the next call of Keep.
  [[nodiscard]] const Result* Find(std::string_view storedSet);

  /// Keeps what came of a set. One without bytes is not kept, nor is a long one.
  void Keep(std::string_view storedSet, Result result);

 private:
  using Results = std::unordered_map<std::string, Result, TextHash, std::equal_to<>>;

  [[nodiscard]] bool IsOfUse(std::string_view storedSet) const;

  Results results_;
  const Results::value_type* last_ = nullptr;  // found last; elements do not move
  std::size_t hits_ = 0;                       // since the cache was empty
  bool hasGivenUp_ = false;
};

}  // namespace LbtTev
