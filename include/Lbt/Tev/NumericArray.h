#pragma once

#include <boost/shared_ptr.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Lbt/Tev/DataLoader.h"
#include "Lbt/Tev/ModelStreams.h"

namespace LbtTev {

/// The numbers of a variable: how many, and a shared loader that fetches them from
/// the file. Copies share the loader.
class NumericArray final {
 public:
  /// Components per item: 1 for scalars, 3 for vectors.
  [[nodiscard]] unsigned char GetWidth() const { return width; }

  /// How many elements of 4 bytes there are.
  [[nodiscard]] unsigned long GetNumElements() const { return byteSize / 4; }

  /// Makes the loader for the data at byte "position" of a stream, unless there is one.
  void CreateDataLoader(std::shared_ptr<ModelStream> stream, unsigned long position, bool shuffled);
  /// The same for the stream "blockName" of a file.
  void CreateDataLoader(LbtLbf::LbFile& file, const std::string& blockName, unsigned long position,
                        bool shuffled);

  // Ordered for size: models have many arrays.
  unsigned long byteSize = 0;
  boost::shared_ptr<DataLoader> loader;
  /// The data itself where the file's record version has it read at once; such an
  /// array has no loader.
  boost::shared_ptr<const std::vector<unsigned char>> storedBytes;
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
