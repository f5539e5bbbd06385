// Reads the results of a file that bench_rivals has written, and prints minimum, maximum and mean
// of each component: what a small program on the HDF5 library does.
//
//   bench_hdf5_statistics FILE

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

void PrintFigures(const char* name, const std::vector<float>& values, std::size_t width) {
  for (std::size_t component = 0; component < width; ++component) {
    float least = values[component];
    float most = values[component];
    double sum = 0;
    for (std::size_t i = component; i < values.size(); i += width) {
      least = std::min(least, values[i]);
      most = std::max(most, values[i]);
      sum += static_cast<double>(values[i]);
    }
    std::printf("%s %zu: %g %g %g\n", name, component, static_cast<double>(least),
                static_cast<double>(most),
                sum * static_cast<double>(width) / static_cast<double>(values.size()));
  }
}

/// Results are the data sets whose names have a step after the separator.
herr_t Visit(hid_t root, const char* name, const H5O_info_t* info, void* /*data*/) {
  if (info->type != H5O_TYPE_DATASET ||
      std::string_view(name).find('\x1e') == std::string_view::npos) {
    return 0;
  }
  const hid_t dataset = H5Dopen2(root, name, H5P_DEFAULT);
  const hid_t space = H5Dget_space(dataset);
  std::array<hsize_t, 2> size{1, 1};
  H5Sget_simple_extent_dims(space, size.data(), nullptr);
  std::vector<float> values(size[0] * size[1]);
  const herr_t read =
      H5Dread(dataset, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
  if (read >= 0 && !values.empty()) {
    PrintFigures(name, values, size[1]);
  }
  H5Sclose(space);
  H5Dclose(dataset);
  return read;
}

}  // namespace

int main(int argc, char** argv) {
  const hid_t file = argc == 2 ? H5Fopen(argv[1], H5F_ACC_RDONLY, H5P_DEFAULT) : -1;
  if (file < 0) {
    std::fputs("usage: bench_hdf5_statistics FILE\n", stderr);
    return 1;
  }
  const herr_t visited = H5Ovisit1(file, H5_INDEX_NAME, H5_ITER_NATIVE, Visit, nullptr);
  H5Fclose(file);
  return visited < 0 ? 1 : 0;
}
