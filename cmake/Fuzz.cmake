# Fuzzing. With the tests, each target of fuzz/targets/ becomes a program that replays files, run on
# everything in fuzz/corpus/ and fuzz/regressions/. With TEVINFO_BUILD_FUZZERS (clang), each becomes
# a fuzzer as well.

option(TEVINFO_BUILD_FUZZERS "Build the fuzzers (needs clang)" OFF)

set(fuzzDir "${PROJECT_SOURCE_DIR}/fuzz")
file(GLOB fuzzTargets CONFIGURE_DEPENDS "${fuzzDir}/targets/*.cpp")
file(GLOB fuzzSeeds CONFIGURE_DEPENDS "${fuzzDir}/corpus/*" "${fuzzDir}/regressions/*.tev")

# Makes program "name" of a target's source and further sources.
function(tevinfo_fuzz_program name source)
  add_executable(${name} "${source}" "${fuzzDir}/Target.cpp" "${fuzzDir}/MemoryFile.cpp" ${ARGN})
  tevinfo_own_code(${name})
  target_include_directories(${name} PRIVATE "${fuzzDir}")
  target_link_libraries(${name} PRIVATE lbt_report lbt_check lbt_analysis test_support)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/fuzz")
endfunction()

add_custom_target(fuzzers)
foreach(source IN LISTS fuzzTargets)
  get_filename_component(target "${source}" NAME_WE)
  tevinfo_fuzz_program(replay_${target} "${source}" "${fuzzDir}/Replay.cpp")
  if(fuzzSeeds)
    add_test(NAME fuzz.replay_${target} COMMAND replay_${target} ${fuzzSeeds})
  endif()
  if(TEVINFO_BUILD_FUZZERS)
    tevinfo_fuzz_program(fuzz_${target} "${source}" "${fuzzDir}/LibFuzzer.cpp"
      "${fuzzDir}/ContainerMutator.cpp" "${fuzzDir}/ContainerParts.cpp")
    target_link_options(fuzz_${target} PRIVATE -fsanitize=fuzzer)
    set_target_properties(fuzz_${target} PROPERTIES EXCLUDE_FROM_ALL ON)
    add_dependencies(fuzzers fuzz_${target})
  endif()
endforeach()

add_executable(make_corpus EXCLUDE_FROM_ALL "${fuzzDir}/MakeCorpus.cpp")
tevinfo_own_code(make_corpus)
target_link_libraries(make_corpus PRIVATE test_support)

# What changes files for the fuzzers has tests of its own.
add_library(fuzz_mutator STATIC EXCLUDE_FROM_ALL "${fuzzDir}/ContainerMutator.cpp"
  "${fuzzDir}/ContainerParts.cpp")
tevinfo_own_code(fuzz_mutator)
target_include_directories(fuzz_mutator PUBLIC "${fuzzDir}")
target_link_libraries(fuzz_mutator PUBLIC test_support)
tevinfo_tests(fuzz fuzz_mutator)
