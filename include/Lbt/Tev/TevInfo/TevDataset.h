#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace LbtTev::Report {

/// A sequence of numbers that its copies share until one of them is changed. Reads like the vector
/// that it stands for.
template <class T>
class SharedValues {
 public:
  using value_type = T;
  using const_iterator = typename std::vector<T>::const_iterator;

  /// No values.
  SharedValues() = default;
  SharedValues(std::vector<T> values)
      : values_(values.empty() ? nullptr : std::make_shared<std::vector<T>>(std::move(values))) {}
  SharedValues(std::initializer_list<T> values) : SharedValues(std::vector<T>(values)) {}

  /// The vector itself; valid until this sequence is changed.
  [[nodiscard]] const std::vector<T>& Vector() const {
    static const std::vector<T> kNone;
    return values_ == nullptr ? kNone : *values_;
  }
  operator const std::vector<T>&() const { return Vector(); }

  /// The values to be changed, which no copy shares from then on until one is made.
  [[nodiscard]] std::vector<T>& Change() {
    if (values_ == nullptr || values_.use_count() > 1) {
      values_ = std::make_shared<std::vector<T>>(Vector());
    }
    return *values_;
  }

  [[nodiscard]] const_iterator begin() const { return Vector().begin(); }
  [[nodiscard]] const_iterator end() const { return Vector().end(); }
  [[nodiscard]] const T* data() const { return Vector().data(); }
  [[nodiscard]] std::size_t size() const { return Vector().size(); }
  [[nodiscard]] bool empty() const { return Vector().empty(); }
  [[nodiscard]] const T& operator[](std::size_t index) const { return Vector()[index]; }
  /// Throws std::out_of_range.
  [[nodiscard]] const T& at(std::size_t index) const { return Vector().at(index); }

  void push_back(T value) { Change().push_back(value); }
  void reserve(std::size_t capacity) { Change().reserve(capacity); }
  void resize(std::size_t size, T value = {}) { Change().resize(size, value); }
  void clear() { values_.reset(); }

  /// Whether both stand for the same values in memory; equal values need not.
  [[nodiscard]] bool IsSharedWith(const SharedValues& other) const {
    return values_ == other.values_;
  }

  friend bool operator==(const SharedValues& a, const SharedValues& b) {
    return a.IsSharedWith(b) || a.Vector() == b.Vector();
  }

 private:
  std::shared_ptr<std::vector<T>> values_;
};

}  // namespace LbtTev::Report

/// The numbers of one geometry variable, as the data dump prints them.
struct TevDataset {
  /// Which of the two sequences holds the values.
  static constexpr unsigned int kIntegers = 0;
  static constexpr unsigned int kFloats = 1;

  /// How many values there are.
  [[nodiscard]] std::size_t size() const {
    if (kind == kIntegers) {
      return intValues.size();
    }
    return kind == kFloats ? floatValues.size() : 0;
  }

  std::string group;     ///< part name of the variable's shape: the analysis
  std::string result;    ///< result name
  std::string instance;  ///< instance name; empty where there is none
  unsigned int kind = kFloats;
  bool flag = true;  ///< carried, without a meaning here
  LbtTev::Report::SharedValues<float> floatValues;
  LbtTev::Report::SharedValues<unsigned int> intValues;
  std::vector<std::string> names;  ///< geometries with this data, its owner first
};
