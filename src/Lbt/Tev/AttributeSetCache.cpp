// Keeps what attribute sets were decoded to.

#include "Lbt/Tev/AttributeSetCache.h"

#include <utility>

namespace LbtTev {

namespace {

constexpr std::size_t kLongestSet = 1024;
constexpr std::size_t kMostSets = 1024;

}  // namespace

bool AttributeSetCache::IsOfUse(std::string_view storedSet) const {
  return !hasGivenUp_ && !storedSet.empty() && storedSet.size() <= kLongestSet;
}

const AttributeSetCache::Result* AttributeSetCache::Find(std::string_view storedSet) {
  if (!IsOfUse(storedSet)) {
    return nullptr;
  }
  if (last_ == nullptr || last_->first != storedSet) {
    const auto found = results_.find(storedSet);
    last_ = found == results_.end() ? nullptr : &*found;
  }
  hits_ += last_ == nullptr ? 0 : 1;
  return last_ == nullptr ? nullptr : &last_->second;
}

void AttributeSetCache::Keep(std::string_view storedSet, Result result) {
  if (!IsOfUse(storedSet)) {
    return;
  }
  if (results_.size() == kMostSets) {
    hasGivenUp_ = hits_ < kMostSets;
    results_.clear();
    last_ = nullptr;
    hits_ = 0;
    if (hasGivenUp_) {
      return;
    }
  }
  results_.insert_or_assign(std::string(storedSet), std::move(result));
}

}  // namespace LbtTev
