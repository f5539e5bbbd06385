// Reads attribute sets, those that repeat once.

#include "Lbt/Tev/Attributes.h"

#include <string>
#include <utility>

namespace LbtUtil {

template <class List>
typename List::value_type StoredAttributeSet::Queue<List>::Next() {
  return LbtTev::ElementOf(values, next++, "include/Lbt/Tev/Attributes");
}

AttributeValue StoredAttributeSet::NextValue(AttributeValue::Kind kind) {
  switch (kind) {
    case AttributeValue::Kind::UnsignedInteger:
      return uintValues_.Next();
    case AttributeValue::Kind::Float:
      return floatValues_.Next();
    case AttributeValue::Kind::Text:
      return textValues_.Next();
    case AttributeValue::Kind::Double:
      return doubleValues_.Next();
  }
  return {};
}

void StoredAttributeSet::Read(LbtTev::ModelStream& stream) {
  names_.clear();
  types_ = {};
  uintValues_.values = {};
  floatValues_.values = {};
  doubleValues_.values = {};
  textValues_.values.clear();
  const LbtLbf::Block* first = stream.FindBlock();
  const std::string_view ahead = first == nullptr ? std::string_view() : first->Peek();
  stream.Get(names_, types_, uintValues_.values, floatValues_.values, doubleValues_.values,
             textValues_.values);
  const bool isInOneBlock = first != nullptr && stream.LastBlock() == first;
  bytes_ =
      isInOneBlock ? ahead.substr(0, ahead.size() - first->GetRemaining()) : std::string_view();
}

void StoredAttributeSet::AddTo(AttributeMap& attributes) {
  uintValues_.next = floatValues_.next = doubleValues_.next = textValues_.next = 0;
  auto kind = AttributeValue::Kind::UnsignedInteger;
  for (std::size_t i = 0; i < names_.size(); ++i) {
    const unsigned char code = LbtTev::ElementOf(types_, i, "include/Lbt/Tev/Attributes");
    if (code <= static_cast<unsigned char>(AttributeValue::Kind::Double)) {
      kind = static_cast<AttributeValue::Kind>(code);
    }
    // Sets mostly have their names in order.
    attributes.insert_or_assign(attributes.end(), std::string(names_[i]), NextValue(kind));
  }
}

void ReadAttributes(LbtTev::ModelStream& stream, AttributeMap& attributes) {
  StoredAttributeSet set;
  set.Read(stream);
  set.AddTo(attributes);
}

void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes) {
  LbtTev::ModelStream stream(file, std::string(blockName));
  ReadAttributes(stream, attributes);
}

}  // namespace LbtUtil

namespace LbtTev {

namespace {

constexpr std::size_t kLongestSet = 1024;
constexpr std::size_t kMostSets = 512;

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
