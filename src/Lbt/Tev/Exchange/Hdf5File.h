#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/Exchange/NumberType.h"

namespace LbtTev::Exchange {

/// A file of HDF5 that is written. What throws throws "Write Error".
class Hdf5File {
 public:
  /// "path" is created, or emptied. HDF5 must be there (Hdf5Fault).
  explicit Hdf5File(const std::string& path);
  ~Hdf5File();
  Hdf5File(const Hdf5File&) = delete;
  Hdf5File& operator=(const Hdf5File&) = delete;

  void MakeGroup(const std::string& name);

  /// Makes a data set of "tuples" with "width" numbers each; of one dimension where the width is 0.
  /// Its chunks are shuffled and deflated at level 1.
  void MakeDataset(const std::string& name, NumberType type, std::uint64_t tuples,
                   std::size_t width = 0);
  /// Writes tuples of a data set from "first" on.
  void Write(const std::string& dataset, std::uint64_t first, std::span<const std::byte> tuples);

  /// Attributes of a group or a data set: a text in ASCII, texts in UTF-8, and whole numbers.
  void SetText(const std::string& object, const char* name, const std::string& text);
  void SetTexts(const std::string& object, const char* name, const std::vector<std::string>& texts);
  void SetNumbers(const std::string& object, const char* name,
                  const std::vector<std::int64_t>& numbers);

  /// Throws where not all has been written.
  void Close();

 private:
  std::int64_t file_ = -1;
};

}  // namespace LbtTev::Exchange
