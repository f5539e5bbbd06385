# The Python package: a compiled module, and the files of python/tev beside it as links, so that
# "build/python" can be put on Python's path and shows every edit at once.

set(TEVINFO_PYTHON "/usr/bin/python3" CACHE FILEPATH "The interpreter that the module is for")
set(Python_EXECUTABLE "${TEVINFO_PYTHON}")
find_package(Python 3.9 REQUIRED COMPONENTS Interpreter Development.Module)
set(PYBIND11_FINDPYTHON ON)
find_package(pybind11 2.10 REQUIRED)

set(packageDir "${PROJECT_SOURCE_DIR}/python/tev")
set(packageOutput "${CMAKE_CURRENT_BINARY_DIR}/python/tev")

file(GLOB moduleSources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/python/src/*.cpp")
pybind11_add_module(tev_python MODULE NO_EXTRAS ${moduleSources})
tevinfo_own_code(tev_python)
target_link_libraries(tev_python PRIVATE tev_app)
target_compile_definitions(tev_python PRIVATE "TEVINFO_VERSION=\"${PROJECT_VERSION}\"")
# What the libraries define is no business of other modules in the same interpreter.
target_link_options(tev_python PRIVATE -Wl,--exclude-libs,ALL)
set_target_properties(tev_python PROPERTIES
  OUTPUT_NAME _native
  LIBRARY_OUTPUT_DIRECTORY "${packageOutput}")

file(GLOB packageFiles CONFIGURE_DEPENDS "${packageDir}/*.py" "${packageDir}/*.pyi"
  "${packageDir}/py.typed")
file(MAKE_DIRECTORY "${packageOutput}")
foreach(file IN LISTS packageFiles)
  get_filename_component(name "${file}" NAME)
  file(CREATE_LINK "${file}" "${packageOutput}/${name}" SYMBOLIC)
endforeach()

install(TARGETS tev_python LIBRARY DESTINATION tev COMPONENT python EXCLUDE_FROM_ALL)
install(FILES ${packageFiles} "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION tev COMPONENT python EXCLUDE_FROM_ALL)

if(NOT TEVINFO_BUILD_TESTS)
  return()
endif()

# An environment of its own, which sees the packages of the system and the package of this build; for
# developers, too: build/python/venv/bin/python.
set(environment "${CMAKE_CURRENT_BINARY_DIR}/python/venv")
set(environmentPython "${environment}/bin/python")
set(pathFile
  "${environment}/lib/python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}/site-packages/tev.pth")
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/python/tev.pth" "${CMAKE_CURRENT_BINARY_DIR}/python\n")
add_custom_command(OUTPUT "${pathFile}"
  COMMAND "${Python_EXECUTABLE}" -m venv --clear --system-site-packages --without-pip
    "${environment}"
  COMMAND "${CMAKE_COMMAND}" -E copy "${CMAKE_CURRENT_BINARY_DIR}/python/tev.pth" "${pathFile}"
  VERBATIM)
add_custom_target(python_environment ALL DEPENDS "${pathFile}")
add_dependencies(python_environment tev_python)

include(Support)
add_executable(python_models "${PROJECT_SOURCE_DIR}/tests/sweep/python/WriteModels.cpp"
  "${PROJECT_SOURCE_DIR}/tests/sweep/Mutants.cpp")
tevinfo_own_code(python_models)
target_link_libraries(python_models PRIVATE test_support)

file(GLOB pythonTests CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/python/tests/test_*.py")
set(pythonTestEnvironment
  "PYTHONDONTWRITEBYTECODE=1"
  "TEV_PROGRAM=$<TARGET_FILE:tev>"
  "TEVINFO_BUILD=${CMAKE_CURRENT_BINARY_DIR}"
  "TEVINFO_EXAMPLES=${PROJECT_SOURCE_DIR}/examples"
  "TEVINFO_MODEL_WRITER=$<TARGET_FILE:python_models>"
  "TEVINFO_PACKAGE=${packageOutput}")
foreach(test IN LISTS pythonTests)
  get_filename_component(name "${test}" NAME_WE)
  string(REGEX REPLACE "^test_" "python." name "${name}")
  add_test(NAME "${name}" COMMAND "${environmentPython}" -m pytest -q "${test}")
  set_tests_properties("${name}" PROPERTIES
    LABELS python ENVIRONMENT "${pythonTestEnvironment}" TIMEOUT 1800)
endforeach()
