// Writes and reads the values of a model with netCDF.

#include <netcdf.h>

#include <algorithm>
#include <array>

#include "Rivals.h"

namespace bench {

namespace {

using LbtTev::Geometry;

void Check(int status) { Require(status == NC_NOERR, nc_strerror(status)); }

const Geometry& OnlyGeometry(const LbtTev::Tree& tree) {
  const Geometry* found = nullptr;
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (const auto* geometry = dynamic_cast<const Geometry*>(entry.data)) {
      Require(found == nullptr, "looking for one geometry");
      found = geometry;
    }
  }
  Require(found != nullptr, "looking for a geometry");
  return *found;
}

/// The result name alone: a netCDF name has no control characters.
std::string NameOf(const Geometry::VarStruct& variable) {
  std::string name = variable.name.substr(0, variable.name.find('\x1e'));
  std::ranges::replace(name, ' ', '_');
  return name;
}

/// A file that is being written.
class NetcdfFile {
 public:
  explicit NetcdfFile(const std::string& path) {
    Check(nc_create(path.c_str(), NC_NETCDF4 | NC_CLOBBER, &id_));
  }
  ~NetcdfFile() { nc_close(id_); }
  NetcdfFile(const NetcdfFile&) = delete;
  NetcdfFile& operator=(const NetcdfFile&) = delete;

  int AddDimension(const char* name, std::size_t size) {
    int dimension = 0;
    Check(nc_def_dim(id_, name, size, &dimension));
    return dimension;
  }

  void AddVariable(const Geometry::VarStruct& variable, std::array<int, 2> dimensions) {
    const std::array<std::size_t, 2> chunk{kChunkItems, variable.array.width};
    int variableId = 0;
    Check(nc_def_var(id_, NameOf(variable).c_str(), NC_FLOAT, variable.array.width == 1 ? 1 : 2,
                     dimensions.data(), &variableId));
    Check(nc_def_var_chunking(id_, variableId, NC_CHUNKED, chunk.data()));
    Check(nc_def_var_deflate(id_, variableId, 1, 1, kLevel));
    const std::vector<float> values = Load(variable);
    Check(nc_put_var_float(id_, variableId, values.data()));
    std::vector<float> stored(values.size());
    Check(nc_get_var_float(id_, variableId, stored.data()));
    Require(stored == values, "reading the values back from netCDF");
  }

  void Flush() { Check(nc_sync(id_)); }

 private:
  int id_ = 0;
};

}  // namespace

void WriteNetcdf(const LbtTev::Tree& tree, const std::string& path) {
  const Geometry& geometry = OnlyGeometry(tree);
  const LbtTev::NumericArray& first = geometry.variables.at(0).array;
  NetcdfFile file(path);
  const int items = file.AddDimension("node", first.GetNumElements() / first.width);
  const int components = file.AddDimension("component", 3);
  for (const Geometry::VarStruct& variable : geometry.variables) {
    file.AddVariable(variable, {items, components});
  }
  file.Flush();
}

}  // namespace bench
