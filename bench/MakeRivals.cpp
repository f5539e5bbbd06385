// Writes the values and the tree of a model in another format, for the programs that TevInfo is
// compared with:
//
//   bench_rivals hdf5|netcdf MODEL OUTPUT

#include <exception>
#include <iostream>
#include <string_view>

#include "Lbt/Tev/OpenModel.h"
#include "Rivals.h"

int main(int argc, char** argv) {
  const std::string_view format = argc == 4 ? argv[1] : "";
  if (format != "hdf5" && format != "netcdf") {
    std::cerr << "usage: bench_rivals hdf5|netcdf MODEL OUTPUT\n";
    return 1;
  }
  try {
    LbtTev::Tree tree;
    LbtTev::OpenModel(tree, argv[2]);
    (format == "hdf5" ? bench::WriteHdf5 : bench::WriteNetcdf)(tree, argv[3]);
  } catch (const std::exception& exception) {
    std::cerr << "bench_rivals: " << exception.what() << '\n';
    return 1;
  }
}
