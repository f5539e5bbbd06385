#pragma once

#include <boost/shared_ptr.hpp>
#include <compare>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/ModelStreams.h"
#include "Lbt/Util/StoredNumbers.h"

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

  /// The same from a block that has been inflated elsewhere, which has all of the data from its
  /// cursor on. Counts as a read of the stream.
  template <class T>
  void LoadFrom(LbtLbf::Block& block, std::vector<T>& out) const;

  /// The bytes of the numbers as such a block has them, valid as long as it is. Counts as a read.
  [[nodiscard]] std::span<const unsigned char> StoredIn(LbtLbf::Block& block) const;

  /// The same for numbers at another place.
  [[nodiscard]] DataLoader At(unsigned long position) const;

  [[nodiscard]] unsigned long GetPosition() const { return position_; }
  [[nodiscard]] unsigned long GetByteSize() const { return byteSize_; }
  [[nodiscard]] bool IsShuffled() const { return shuffled_; }
  [[nodiscard]] unsigned int GetDataType() const { return dataType_; }

  /// In the order of where the data lies and how it is stored: equal ones load the same.
  // The checks take what the compiler makes of it for conversions.
  // NOLINTNEXTLINE(readability-implicit-bool-conversion, modernize-use-nullptr)
  friend auto operator<=>(const DataLoader& a, const DataLoader& b) = default;

 private:
  template <class T>
  void RequireType() const;
  template <class T>
  void Decode(std::span<const unsigned char> stored, std::vector<T>& out) const;

  std::shared_ptr<ModelStream> stream_;
  unsigned long position_;
  unsigned long byteSize_;
  unsigned char width_;
  bool shuffled_;
  unsigned int dataType_;
};

extern template void DataLoader::LoadTo<float>(std::vector<float>& out) const;
extern template void DataLoader::LoadTo<unsigned int>(std::vector<unsigned int>& out) const;
extern template void DataLoader::LoadFrom<float>(LbtLbf::Block& block,
                                                 std::vector<float>& out) const;
extern template void DataLoader::LoadFrom<unsigned int>(LbtLbf::Block& block,
                                                        std::vector<unsigned int>& out) const;

/// The numbers of a variable: how many, and a shared loader that fetches them from
/// the file. Copies share the loader.
class NumericArray final {
 public:
  /// Components per item: 1 for scalars, 3 for vectors.
  [[nodiscard]] unsigned char GetWidth() const { return width; }

  /// How many elements of 4 bytes there are.
  [[nodiscard]] unsigned long GetNumElements() const { return byteSize / LbtUtil::kElementSize; }

  /// Makes the loader for the data at byte "position" of a stream, unless there is one.
  void CreateDataLoader(std::shared_ptr<ModelStream> stream, unsigned long position, bool shuffled);
  /// The same for the stream "blockName" of a file.
  void CreateDataLoader(LbtLbf::LbFile& file, const std::string& blockName, unsigned long position,
                        bool shuffled);

  /// Where the numbers begin that the variable's own record tells of, and a loader of those.
  /// "loader", which there must be, loads those of the last variable of the same name in its
  /// geometry.
  [[nodiscard]] unsigned long OwnPosition() const;
  [[nodiscard]] DataLoader OwnLoader() const { return loader->At(OwnPosition()); }

  /// Copies the whole elements of "storedBytes", which there must be, to "out". They are stored as
  /// they are in memory: such records shuffle nothing.
  template <class T>
  void CopyStoredTo(std::vector<T>& out) const {
    out.resize(storedBytes->size() / sizeof(T));
    if (!out.empty()) {
      std::memcpy(out.data(), storedBytes->data(), out.size() * sizeof(T));
    }
  }

  // Ordered for size: models have many arrays.
  unsigned long byteSize = 0;
  boost::shared_ptr<DataLoader> loader;
  /// The data itself where the file's record version has it read at once; such an
  /// array has no loader.
  boost::shared_ptr<const std::vector<unsigned char>> storedBytes;
  static constexpr unsigned long kNoPosition = static_cast<unsigned long>(-1);
  unsigned long ownPosition = kNoPosition;  ///< that its record tells; none: that of the loader
  unsigned int dataType = 0;  ///< element type of an array made in memory; files have none
  unsigned char width = 1;
  bool hasData = false;

  // Carried from the file, without a meaning here.
  bool firstFlag = false;
  bool secondFlag = false;
  float firstValue = 0;
  float secondValue = 0;
  bool thirdFlag = false;
};

}  // namespace LbtTev
