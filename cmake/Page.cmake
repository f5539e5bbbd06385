# The page of "tev view": its template, style and scripts, packed into a source of the layer "view".
# three.js is used as Debian packages it (libjs-three).

find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_path(THREE_JS_DIR three.min.js PATHS /usr/share/javascript/three
  DOC "The folder of three.js, as the package libjs-three installs it")
mark_as_advanced(THREE_JS_DIR)
if(NOT THREE_JS_DIR)
  message(FATAL_ERROR "three.js is missing: install libjs-three, or set THREE_JS_DIR")
endif()

set(viewDir "${PROJECT_SOURCE_DIR}/view")
set(pageFrame "${viewDir}/page.html" "${viewDir}/page.css" "${viewDir}/boot.js")
set(pageLibrary "${THREE_JS_DIR}/three.min.js" "${THREE_JS_DIR}/examples/js/controls/OrbitControls.js")
# In the order in which they run.
set(pageScripts numbers.js model.js surface.js scene.js facts.js chart.js picking.js panel.js)
list(TRANSFORM pageScripts PREPEND "${viewDir}/")
set(pageSource "${CMAKE_CURRENT_BINARY_DIR}/page/PageTemplate.cpp")
file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/page")

add_executable(pack_page "${viewDir}/pack.cpp")
tevinfo_own_code(pack_page)
target_link_libraries(pack_page PRIVATE ZLIB::ZLIB OpenSSL::Crypto)
add_custom_command(OUTPUT "${pageSource}"
  COMMAND pack_page "${pageSource}" ${pageFrame} ${pageLibrary} -- ${pageScripts}
  DEPENDS pack_page ${pageFrame} ${pageLibrary} ${pageScripts}
  VERBATIM)
target_sources(lbt_view PRIVATE "${pageSource}")
target_include_directories(lbt_view PRIVATE "${PROJECT_SOURCE_DIR}/src/Lbt/Tev/View")
