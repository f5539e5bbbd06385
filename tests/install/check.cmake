# Installs a build into a directory of its own, and builds and runs a project outside on what is
# there. Wants: BUILD (the build directory), WORK (a directory to empty and fill), GENERATOR,
# COMPILER, and EXAMPLES (the folder of the real models).

# Runs a command and puts what it writes to standard output into "output".
function(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE status OUTPUT_VARIABLE standardOutput ERROR_VARIABLE standardError)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nended with ${status}:\n${standardOutput}${standardError}")
  endif()
  set(output "${standardOutput}" PARENT_SCOPE)
endfunction()

function(expect_text text part)
  string(FIND "${text}" "${part}" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "\"${part}\" is missing in:\n${text}")
  endif()
endfunction()

set(prefix "${WORK}/prefix")
set(model "${EXAMPLES}/bracket.tev")
file(REMOVE_RECURSE "${WORK}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")

set(ENV{QUARLO_TEMP_PATH} "${WORK}")
run("${prefix}/bin/TevInfo" "${model}")
expect_text("${output}" "<attribute name=\"Parts\" value=\"Base (Steel), Arm (Aluminium)\"/>")
run("${prefix}/bin/tev" info "${model}")
expect_text("${output}" "Mesh      12819 nodes, 7148 elements of 10 nodes\n")

foreach(file share/man/man1/TevInfo.1 share/man/man1/tev.1 share/bash-completion/completions/tev
    share/doc/TevInfo/schema/info.schema.json include/Lbt/Lbf/Block.h)
  if(NOT EXISTS "${prefix}/${file}")
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()

include("${CMAKE_CURRENT_LIST_DIR}/packages.cmake")
expect_one_package_each("${prefix}" "${CMAKE_CURRENT_LIST_DIR}/../../debian")

run("${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}" -B "${WORK}/build" -G "${GENERATOR}"
  "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${prefix}" -DCMAKE_BUILD_TYPE=Debug)
run("${CMAKE_COMMAND}" --build "${WORK}/build")
run("${WORK}/build/consumer" "${model}")
if(NOT output MATCHES "^Base \\(Steel\\)\nArm \\(Aluminium\\)\n<lbt:metadata ")
  message(FATAL_ERROR "The project outside finds other parts:\n${output}")
endif()
expect_text("${output}" "<attribute name=\"Number of Parts\" value=\"2\"/>")

# What was built is the example that the README shows.
file(READ "${CMAKE_CURRENT_LIST_DIR}/main.cpp" example)
file(READ "${CMAKE_CURRENT_LIST_DIR}/../../README.md" readme)
expect_text("${readme}" "```cpp\n${example}```\n")

# The library that it found is the one that was installed, not one of the machine's.
file(READ "${WORK}/build/CMakeCache.txt" cache)
expect_text("${cache}" "TevInfo_DIR:PATH=${prefix}/")
