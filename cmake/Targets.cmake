# What every target of the project has in common.

# Compiles "target" as this project's own code: the language level, and warnings as errors. A
# library without sources passes on only the language level.
function(tevinfo_own_code target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_compile_features(${target} INTERFACE cxx_std_20)
    return()
  endif()
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Werror)
endfunction()

# Makes a static library of the given sources, or an interface library where there are none. Sets
# "<target>_SCOPE" to the keyword for what it links and includes.
function(tevinfo_library target)
  if(ARGN)
    add_library(${target} STATIC ${ARGN})
    # A module of Python links them. Nobody replaces functions of theirs, so that they are inlined as
    # in any program.
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    set(scope PUBLIC)
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  tevinfo_own_code(${target})
  set(${target}_SCOPE ${scope} PARENT_SCOPE)
endfunction()
