#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Lbt/Util/SharedAttributes.h"
#include "Lbt/Util/TextHash.h"

namespace LbtTev {

/// What variables have got from attribute sets, by the stored bytes of the set: the same bytes
/// need no second reading, and the variables share one map. Holds some short sets only, so
/// that it stays small whatever a file has.
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

  /// The attribute set that "bytes" start with, as it is stored; none where it is too long to
  /// be kept or does not lie in them as a whole.
  [[nodiscard]] static std::string_view StoredSet(std::string_view bytes);

  /// What came of a set with these bytes, or null; valid until the next call of Keep.
  [[nodiscard]] const Result* Find(std::string_view storedSet);

  /// Keeps what came of a set; none is not kept.
  void Keep(std::string_view storedSet, Result result);

 private:
  using Results = std::unordered_map<std::string, Result, Lbt::Util::TextHash, std::equal_to<>>;

  Results results_;
  const Results::value_type* last_ = nullptr;  // found last; elements do not move
};

}  // namespace LbtTev
