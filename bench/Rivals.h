#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Tree.h"

namespace bench {

/// The deflate level of the models' blocks.
inline constexpr int kLevel = 6;

/// Items of a chunk. One of three components takes 768 KiB, which both libraries keep in memory
/// as they come, so that none inflates a chunk twice.
inline constexpr std::size_t kChunkItems = 65536;

/// Writes the tree of a model as HDF5: a group for each node, a data set with its attributes for
/// each variable. Data sets of at least one chunk are chunked, shuffled and deflated. Reads all
/// values back and throws std::runtime_error where they differ or anything fails.
void WriteHdf5(const LbtTev::Tree& tree, const std::string& path);

/// Writes the variables of a model's only geometry as netCDF-4, in the same way.
void WriteNetcdf(const LbtTev::Tree& tree, const std::string& path);

/// Throws where a call of a C library failed.
inline void Require(bool good, const char* what) {
  if (!good) {
    throw std::runtime_error(std::string(what) + " failed");
  }
}

/// The values of a variable.
inline std::vector<float> Load(const LbtTev::Geometry::VarStruct& variable) {
  std::vector<float> values;
  variable.array.loader->LoadTo(values);
  return values;
}

}  // namespace bench
