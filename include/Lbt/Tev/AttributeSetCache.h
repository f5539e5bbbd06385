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
  using Results = std::unordered_map<std::string, Result, Lbt::Util::TextHash, std::equal_to<>>;

  [[nodiscard]] bool IsOfUse(std::string_view storedSet) const;

  Results results_;
  const Results::value_type* last_ = nullptr;  // found last; elements do not move
  std::size_t hits_ = 0;                       // since the cache was empty
  bool hasGivenUp_ = false;
};

}  // namespace LbtTev
