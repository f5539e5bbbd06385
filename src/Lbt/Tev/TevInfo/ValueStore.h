#pragma once

#include <cstddef>
#include <map>

#include "Lbt/Tev/NumericArray.h"
#include "Lbt/Tev/TevInfo/TevDataset.h"

namespace LbtTev::Report {

/// Loads the numbers of arrays. Arrays that claim the same stored data share their values, so that
/// these are loaded once and stand in memory once.
class ValueStore {
 public:
  /// Orders loaders by the data that they load; null comes first.
  struct ByStoredData {
    bool operator()(const DataLoader* a, const DataLoader* b) const {
      return a != nullptr && b != nullptr ? *a < *b : a == nullptr && b != nullptr;
    }
  };

  /// Says that "array" will be loaded once more. Values are kept for as many loads as were
  /// expected; where none were, for good.
  void Expect(const NumericArray& array);

  /// The values of "array"; none where it has no loader. Throws what loading numbers throws.
  [[nodiscard]] SharedValues<float> LoadFloats(const NumericArray& array);
  [[nodiscard]] SharedValues<unsigned int> LoadIntegers(const NumericArray& array);

  /// "floats" of "array" as whole numbers: truncated, and limited to what these can be. The copy
  /// counts towards the request of "heavy".
  [[nodiscard]] SharedValues<unsigned int> Truncate(const NumericArray& array,
                                                    const SharedValues<float>& floats,
                                                    ModelStream& heavy);

 private:
  template <class T>
  using Known = std::map<const DataLoader*, SharedValues<T>, ByStoredData>;

  template <class T>
  [[nodiscard]] SharedValues<T> Load(const DataLoader& loader);
  template <class T, class Make>
  [[nodiscard]] SharedValues<T> Find(Known<T>& known, const NumericArray& array, Make make);
  [[nodiscard]] bool IsLastLoad(const DataLoader* loader);

  Known<float> floats_;
  Known<unsigned int> integers_;
  Known<unsigned int> truncated_;
  std::map<const DataLoader*, std::size_t, ByStoredData> expected_;
};

}  // namespace LbtTev::Report
