#include "Lbt/Tev/Attributes.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Log/Raise.h"

namespace LbtUtil {

namespace {

[[noreturn]] void RaiseTooShort() {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                  "include/Lbt/Tev/Attributes");
}

/// The values of one kind, taken one after another.
template <class T>
class Queue {
 public:
  void Read(LbtLbf::LbFile& file, std::string_view blockName) { file.Get(blockName, values_); }

  [[nodiscard]] const T& Next() {
    if (next_ == values_.size()) {
      RaiseTooShort();
    }
    return values_[next_++];
  }

 private:
  std::vector<T> values_;
  std::size_t next_ = 0;
};

struct StoredSet {
  std::vector<std::string> names;
  Queue<unsigned char> types;
  Queue<unsigned int> uintValues;
  Queue<float> floatValues;
  Queue<double> doubleValues;
  Queue<std::string> textValues;
};

StoredSet ReadSet(LbtLbf::LbFile& file, std::string_view blockName) {
  StoredSet set;
  file.Get(blockName, set.names);
  set.types.Read(file, blockName);
  set.uintValues.Read(file, blockName);
  set.floatValues.Read(file, blockName);
  set.doubleValues.Read(file, blockName);
  set.textValues.Read(file, blockName);
  return set;
}

AttributeValue NextValue(StoredSet& set, AttributeValue::Kind kind) {
  switch (kind) {
    case AttributeValue::Kind::UnsignedInteger:
      return set.uintValues.Next();
    case AttributeValue::Kind::Float:
      return set.floatValues.Next();
    case AttributeValue::Kind::Text:
      return set.textValues.Next();
    case AttributeValue::Kind::Double:
      return set.doubleValues.Next();
  }
  return {};
}

}  // namespace

void ReadAttributesFromLbf(LbtLbf::LbFile& file, std::string_view blockName,
                           AttributeMap& attributes) {
  StoredSet set = ReadSet(file, blockName);
  auto kind = AttributeValue::Kind::UnsignedInteger;
  for (std::string& name : set.names) {
    const unsigned char code = set.types.Next();
    if (code <= static_cast<unsigned char>(AttributeValue::Kind::Double)) {
      kind = static_cast<AttributeValue::Kind>(code);
    }
    attributes.insert_or_assign(std::move(name), NextValue(set, kind));
  }
}

}  // namespace LbtUtil
