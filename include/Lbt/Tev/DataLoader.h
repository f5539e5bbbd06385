#pragma once

#include <compare>
#include <memory>
#include <vector>

#include "Lbt/Tev/ModelStreams.h"

namespace LbtTev {

/// Knows where the bytes of a numeric array lie and how they are stored, and reads
/// them when they are wanted. Refers to the file of its stream, which must outlive it.
class DataLoader {
 public:
  DataLoader(std::shared_ptr<ModelStream> stream, unsigned long position, unsigned long byteSize,
             unsigned char width, bool shuffled, unsigned int dataType);

  /// Reads the data as elements of 4 bytes. Shuffled data is put right and, for a
  /// width w above 1, interleaved: stored are w planes of n / w elements, one per
  /// component; elements left over by the width stay as stored. Less than 4 bytes
  /// leave "out" alone, but their position must be within the stream. "out" has its new size
  /// before anything is copied; where the block has not enough bytes it keeps that size, or gets
  /// the size 1 where the block could not hold as many elements of one byte.
  ///
  /// Throws "Bad Casting" where the element type is another one, before anything is
  /// read, and what seeking and reading the stream throws.
  template <class T>
  void LoadTo(std::vector<T>& out) const;

  [[nodiscard]] unsigned long GetPosition() const { return position_; }
  [[nodiscard]] unsigned long GetByteSize() const { return byteSize_; }
  [[nodiscard]] bool IsShuffled() const { return shuffled_; }
  [[nodiscard]] unsigned int GetDataType() const { return dataType_; }

  /// In the order of where the data lies and how it is stored: equal ones load the same.
  // The checks take what the compiler makes of it for conversions.
  // NOLINTNEXTLINE(readability-implicit-bool-conversion, modernize-use-nullptr)
  friend auto operator<=>(const DataLoader& a, const DataLoader& b) = default;

 private:
  std::shared_ptr<ModelStream> stream_;
  unsigned long position_;
  unsigned long byteSize_;
  unsigned char width_;
  bool shuffled_;
  unsigned int dataType_;
};

extern template void DataLoader::LoadTo<float>(std::vector<float>& out) const;
extern template void DataLoader::LoadTo<unsigned int>(std::vector<unsigned int>& out) const;

}  // namespace LbtTev
