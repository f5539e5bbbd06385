# One test program for each folder of tests/ that has sources, and the helpers that they share.

find_package(GTest REQUIRED)
include(GoogleTest)

include(Support)
target_link_libraries(test_support ${test_support_SCOPE} GTest::gtest)

# With coverage counters, a program writes files of its own when it ends. The helpers that start and
# limit programs have none, and hand on those of the children that they end.
set(hasCounters OFF)
if(CMAKE_CXX_FLAGS MATCHES "--coverage")
  set(hasCounters ON)
  target_compile_options(test_support PRIVATE -fno-profile-arcs -fno-test-coverage)
  target_compile_definitions(test_support PRIVATE TEVTEST_COUNTED)
endif()

# Spares time where it is spent most: in reading the test framework's headers over and over, and in
# optimising code that runs once. What is tested is built as ever.
function(tevinfo_build_fast target)
  target_compile_options(${target} PRIVATE -O0)
  if(CMAKE_CXX_FLAGS MATCHES "fuzzer-no-link")
    target_compile_options(${target} PRIVATE -fno-sanitize=fuzzer-no-link)
  endif()
  # What Boost has its users define: precompiled headers are only taken where all is defined alike.
  target_compile_definitions(${target} PRIVATE BOOST_ALL_NO_LIB)
  get_property(owner GLOBAL PROPERTY TEVINFO_PRECOMPILED_FOR_TESTS)
  if(owner)
    target_precompile_headers(${target} REUSE_FROM ${owner})
  else()
    target_precompile_headers(${target} PRIVATE
      <gtest/gtest.h> <filesystem> <functional> <map> <sstream> <string> <vector>)
    set_property(GLOBAL PROPERTY TEVINFO_PRECOMPILED_FOR_TESTS ${target})
  endif()
endfunction()

# Seconds on the clock after which a test counts as one that hangs. Far above what any takes, for a
# busy machine makes no test fail: what may take long has a bound of its processor time, or counts
# its work.
set(hang 1800)

# Under a sanitizer or with counters a test program takes longer to start and to end than most of its
# tests to run, so that these go in groups there. GTEST_FILTER picks single ones.
function(tevinfo_test_groups folder)
  set(groups 8)
  set(leaks "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/leaks.txt:print_suppressions=0")
  math(EXPR last "${groups} - 1")
  foreach(group RANGE ${last})
    add_test(NAME "${folder}.${group}" COMMAND test_${folder})
    set_tests_properties("${folder}.${group}" PROPERTIES
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${groups};GTEST_SHARD_INDEX=${group};${leaks}")
    if(NOT folder STREQUAL "sweep")  # which is long where it is run as a whole: that says so itself
      set_tests_properties("${folder}.${group}" PROPERTIES TIMEOUT ${hang})
    endif()
  endforeach()
endfunction()

# The tests that run no program, on demand.
add_custom_target(unit_tests)

# Makes the test program of tests/"folder". Further arguments: what it links of the product.
function(tevinfo_tests folder)
  set(target test_${folder})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${target} ${sources})
  tevinfo_own_code(${target})
  tevinfo_build_fast(${target})
  if(NOT folder MATCHES "^(run|sweep|layout)$")
    add_dependencies(unit_tests ${target})
  endif()
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/tests")
  target_link_libraries(${target} PRIVATE test_support GTest::gtest_main ${ARGN})
  target_compile_definitions(${target} PRIVATE
    "TEVINFO_SOURCE_DIR=\"${PROJECT_SOURCE_DIR}\""
    "TEVINFO_EXAMPLES_DIR=\"${PROJECT_SOURCE_DIR}/examples\"")
  if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    # Some tests limit the address space or replace malloc, which sanitizers need for themselves.
    target_compile_definitions(${target} PRIVATE TEVTEST_SANITIZED)
  endif()
  if(hasCounters)
    # Some tests leave a run no descriptor or no room in files, which its counters need at its end.
    target_compile_definitions(${target} PRIVATE TEVTEST_COUNTED)
  endif()
  if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=" OR hasCounters)
    tevinfo_test_groups(${folder})
  else()
    gtest_discover_tests(${target}
      TEST_PREFIX "${folder}."
      DISCOVERY_MODE PRE_TEST
      DISCOVERY_TIMEOUT ${hang}
      PROPERTIES TIMEOUT ${hang})
  endif()
endfunction()

foreach(layer IN LISTS TEVINFO_LAYERS)
  tevinfo_tests(${layer} lbt_${layer})
endforeach()

set(programLibraries)
foreach(library tevinfo_app tev_app)
  if(TARGET ${library})
    list(APPEND programLibraries ${library})
  endif()
endforeach()
tevinfo_tests(app ${programLibraries})

tevinfo_tests(sweep ${programLibraries})
tevinfo_tests(layout)
tevinfo_tests(run)
if(CMAKE_CXX_FLAGS MATCHES "undefined")
  # Nothing of the product is compiled into it.
  target_compile_options(test_run PRIVATE -fno-sanitize=undefined,float-cast-overflow)
endif()
if(TARGET test_run AND TEVINFO_PROGRAMS)
  add_dependencies(test_run ${TEVINFO_PROGRAMS})
  foreach(program IN LISTS TEVINFO_PROGRAMS)
    string(TOUPPER ${program} name)
    target_compile_definitions(test_run PRIVATE "${name}_PROGRAM=\"$<TARGET_FILE:${program}>\"")
  endforeach()
endif()

# A library that makes single calls fail, for tests that load it into the programs. A sanitizer has
# an allocator and an fread of its own in that place, so these tests are left out there.
if(TARGET test_run AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  add_library(fault_preload MODULE "${PROJECT_SOURCE_DIR}/tests/run/preload/Faults.cpp")
  tevinfo_own_code(fault_preload)
  target_link_libraries(fault_preload PRIVATE ${CMAKE_DL_LIBS})
  # A counted malloc may be called in place of the compiler's own idea of it.
  target_compile_options(fault_preload PRIVATE -fno-builtin)
  if(hasCounters)
    target_compile_options(fault_preload PRIVATE -fno-profile-arcs -fno-test-coverage)
    target_compile_definitions(fault_preload PRIVATE TEVTEST_COUNTED)
  endif()
  add_dependencies(test_run fault_preload)
  target_compile_definitions(test_run PRIVATE "FAULT_PRELOAD=\"$<TARGET_FILE:fault_preload>\"")
endif()

# The scripts of the page, without a browser.
find_program(NODE_PROGRAM NAMES node nodejs)
mark_as_advanced(NODE_PROGRAM)
if(NODE_PROGRAM)
  add_test(NAME view.scripts COMMAND "${NODE_PROGRAM}" --test "${PROJECT_SOURCE_DIR}/view/tests")
  set_tests_properties(view.scripts PROPERTIES TIMEOUT ${hang})
else()
  message(WARNING "node is missing: the scripts of the page are not tested without a browser")
endif()

# What an installation is good for depends on no compiler flags, so the Release build alone tries it.
if(TEVINFO_INSTALL AND CMAKE_BUILD_TYPE STREQUAL "Release")
  add_test(NAME install.project_outside COMMAND "${CMAKE_COMMAND}"
    "-DBUILD=${CMAKE_CURRENT_BINARY_DIR}" "-DWORK=${CMAKE_CURRENT_BINARY_DIR}/install_test"
    "-DGENERATOR=${CMAKE_GENERATOR}" "-DCOMPILER=${CMAKE_CXX_COMPILER}"
    "-DEXAMPLES=${PROJECT_SOURCE_DIR}/examples"
    -P "${PROJECT_SOURCE_DIR}/tests/install/check.cmake")
  set_tests_properties(install.project_outside PROPERTIES LABELS install TIMEOUT ${hang})
endif()
