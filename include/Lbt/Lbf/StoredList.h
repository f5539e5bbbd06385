#pragma once

#include <cstddef>
#include <span>

#include "Lbt/Util/LittleEndian.h"

namespace LbtLbf {

/// A list of numbers as it lies in a block, which it is valid as long as. Elements are
/// decoded when they are asked for.
template <Lbt::Util::StoredNumber T>
class StoredList {
 public:
  using value_type = T;

  /// An empty list.
  StoredList() = default;
  /// As many elements as "bytes" hold.
  explicit StoredList(std::span<const unsigned char> bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t size() const { return bytes_.size() / sizeof(T); }

  /// The element at "index", which must be below the size.
  [[nodiscard]] T operator[](std::size_t index) const {
    return Lbt::Util::FromLittleEndian<T>(bytes_.data() + index * sizeof(T));
  }

 private:
  std::span<const unsigned char> bytes_;
};

}  // namespace LbtLbf
