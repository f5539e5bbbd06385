#include "Lbt/Tev/AttributeSetCache.h"

#include <cstdint>
#include <utility>

#include "Lbt/Util/LittleEndian.h"

namespace LbtTev {

namespace {

constexpr std::size_t kLongestSet = 1024;
constexpr std::size_t kMostSets = 1024;

/// Steps over stored lists in bytes that may end anywhere.
class Stepper {
 public:
  explicit Stepper(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t Passed() const { return passed_; }

  /// Whether there was a whole list of numbers to step over.
  [[nodiscard]] bool PassNumbers(std::size_t width) {
    std::uint32_t count = 0;
    return PassCount(count) && PassBytes(count * std::uint64_t{width});
  }

  /// Whether there was a whole list of strings to step over.
  [[nodiscard]] bool PassTexts() {
    std::uint32_t count = 0;
    bool isWhole = PassCount(count);
    for (std::uint32_t i = 0; i < count && isWhole; ++i) {
      isWhole = PassNumbers(1);
    }
    return isWhole;
  }

 private:
  [[nodiscard]] bool PassCount(std::uint32_t& count) {
    const void* start = bytes_.data() + passed_;
    if (!PassBytes(sizeof count)) {
      return false;
    }
    count = Lbt::Util::FromLittleEndian<std::uint32_t>(static_cast<const unsigned char*>(start));
    return true;
  }

  [[nodiscard]] bool PassBytes(std::uint64_t length) {
    if (length > bytes_.size() - passed_) {
      return false;
    }
    passed_ += length;
    return true;
  }

  std::string_view bytes_;
  std::size_t passed_ = 0;
};

}  // namespace

std::string_view AttributeSetCache::StoredSet(std::string_view bytes) {
  Stepper stepper(bytes.substr(0, kLongestSet));
  const bool isWhole = stepper.PassTexts() && stepper.PassNumbers(1) && stepper.PassNumbers(4) &&
                       stepper.PassNumbers(4) && stepper.PassNumbers(8) && stepper.PassTexts();
  return isWhole ? bytes.substr(0, stepper.Passed()) : std::string_view();
}

const AttributeSetCache::Result* AttributeSetCache::Find(std::string_view storedSet) {
  if (last_ == nullptr || last_->first != storedSet) {
    const auto found = results_.find(storedSet);
    last_ = found == results_.end() ? nullptr : &*found;
  }
  return last_ == nullptr ? nullptr : &last_->second;
}

void AttributeSetCache::Keep(std::string_view storedSet, Result result) {
  if (storedSet.empty()) {
    return;
  }
  if (results_.size() == kMostSets) {
    results_.clear();
    last_ = nullptr;
  }
  results_.insert_or_assign(std::string(storedSet), std::move(result));
}

}  // namespace LbtTev
