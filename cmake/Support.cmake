# What writes Tev files for tests and benchmarks. It shares no code with the product, so a fault there
# cannot hide here.

include_guard(GLOBAL)

file(GLOB supportSources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/support/*.cpp")
tevinfo_library(test_support ${supportSources})
target_include_directories(test_support ${test_support_SCOPE} "${PROJECT_SOURCE_DIR}/tests")
target_link_libraries(test_support ${test_support_SCOPE} ZLIB::ZLIB)

# Makes the models that benchmarks run on and that counts are taken of; built on demand.
add_executable(bench_models EXCLUDE_FROM_ALL "${PROJECT_SOURCE_DIR}/bench/MakeModels.cpp")
tevinfo_own_code(bench_models)
target_link_libraries(bench_models PRIVATE test_support)
