# Benchmarks: the programs that bench/run.py runs beside the products. They need the libraries of
# what they compare with, so they are built only on demand.

foreach(library HDF5 NETCDF)
  string(TOLOWER ${library} name)
  find_path(${library}_HEADERS ${name}.h PATH_SUFFIXES hdf5/serial REQUIRED)
  find_library(${library}_BINARY NAMES ${name}_serial ${name} REQUIRED)
  mark_as_advanced(${library}_HEADERS ${library}_BINARY)
endforeach()
find_package(benchmark REQUIRED)
find_package(fmt REQUIRED)
find_package(Threads REQUIRED)

include(Support)

set(benchDir "${PROJECT_SOURCE_DIR}/bench")
add_custom_target(benchmarks)
add_dependencies(benchmarks products bench_models)
if(TARGET tev_python)
  add_dependencies(benchmarks tev_python)
endif()

# Makes program "name" of bench/"source". Further arguments: what it links.
function(tevinfo_benchmark name source)
  add_executable(${name} "${benchDir}/${source}")
  tevinfo_own_code(${name})
  target_link_libraries(${name} PRIVATE ${ARGN})
  add_dependencies(benchmarks ${name})
endfunction()

tevinfo_benchmark(bench_measure Measure.cpp)
tevinfo_benchmark(bench_budget Budget.cpp lbt_report)
tevinfo_benchmark(bench_rivals MakeRivals.cpp lbt_report "${HDF5_BINARY}" "${NETCDF_BINARY}")
target_sources(bench_rivals PRIVATE "${benchDir}/Hdf5Rival.cpp" "${benchDir}/NetcdfRival.cpp")
target_include_directories(bench_rivals SYSTEM PRIVATE "${HDF5_HEADERS}" "${NETCDF_HEADERS}")
tevinfo_benchmark(bench_hdf5_statistics Hdf5Statistics.cpp "${HDF5_BINARY}")
target_include_directories(bench_hdf5_statistics SYSTEM PRIVATE "${HDF5_HEADERS}")
tevinfo_benchmark(bench_stream_dump StreamDump.cpp lbt_report)
tevinfo_benchmark(bench_inflate Inflate.cpp lbt_lbf)
tevinfo_benchmark(bench_numbers Numbers.cpp lbt_util benchmark::benchmark fmt::fmt)
tevinfo_benchmark(bench_container Container.cpp lbt_tev test_support benchmark::benchmark)
tevinfo_benchmark(bench_verify_numbers VerifyNumbers.cpp lbt_util Threads::Threads)

# Calls nothing of the library, but starts with the same shared libraries as the programs do.
tevinfo_benchmark(bench_start Start.cpp tevinfo_app)
target_link_options(bench_start PRIVATE -Wl,--no-as-needed)
