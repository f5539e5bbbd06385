# The layers of the library, from the bottom to the top. Each links only the one below it and sees
# only the headers of its own and of those below: the headers stand in one include/ tree, so each
# layer gets an include root of its own in the build tree, with a link to each of its headers. An
# include that points upwards therefore does not compile. The rooms on top stand side by side: all
# link the uppermost layer, and none sees another; "exchange" and "view" stand on one of them, side
# by side as well.

find_package(Boost REQUIRED)
find_package(ZLIB REQUIRED)

set(layersInOrder util log lbf adt tev)
set(roomsOnTop report check analysis)
set(TEVINFO_LAYERS ${layersInOrder} ${roomsOnTop} exchange view)
set(TEVINFO_DIR_util Lbt/Util)
set(TEVINFO_DIR_log Lbt/Log)
set(TEVINFO_DIR_lbf Lbt/Lbf)
set(TEVINFO_DIR_adt Lbt/Adt)
set(TEVINFO_DIR_tev Lbt/Tev)
set(TEVINFO_DIR_report Lbt/Tev/TevInfo)
set(TEVINFO_DIR_check Lbt/Tev/Check)
set(TEVINFO_DIR_analysis Lbt/Tev/Analysis)
set(TEVINFO_DIR_exchange Lbt/Tev/Exchange)
set(TEVINFO_DIR_view Lbt/Tev/View)

# Makes "root"/"dir" hold a link to each of the given headers and nothing else.
function(tevinfo_stage_headers root dir)
  file(MAKE_DIRECTORY "${root}/${dir}")
  file(GLOB stale LIST_DIRECTORIES false "${root}/${dir}/*")
  foreach(header IN LISTS ARGN)
    get_filename_component(name "${header}" NAME)
    set(link "${root}/${dir}/${name}")
    list(REMOVE_ITEM stale "${link}")
    file(CREATE_LINK "${header}" "${link}" SYMBOLIC)
  endforeach()
  if(stale)
    file(REMOVE ${stale})
  endif()
endfunction()

# Compiles each header of a layer alone, on demand (target "check_headers").
function(tevinfo_check_headers layer dir)
  set(sources)
  foreach(header IN LISTS ARGN)
    get_filename_component(name "${header}" NAME_WE)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/header_checks/${layer}/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${dir}/${name}.h\"\n")
    list(APPEND sources "${source}")
  endforeach()
  if(sources)
    add_library(check_headers_${layer} OBJECT EXCLUDE_FROM_ALL ${sources})
    target_link_libraries(check_headers_${layer} PRIVATE lbt_${layer})
    tevinfo_own_code(check_headers_${layer})
    add_dependencies(check_headers check_headers_${layer})
  endif()
endfunction()

function(tevinfo_layer layer below)
  set(dir ${TEVINFO_DIR_${layer}})
  set(target lbt_${layer})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${dir}/*.cpp")
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/include/${dir}/*.h")
  set(root "${CMAKE_CURRENT_BINARY_DIR}/layers/${layer}")
  tevinfo_stage_headers("${root}" ${dir} ${headers})

  tevinfo_library(${target} ${sources})
  set(scope ${${target}_SCOPE})
  add_library(TevInfo::${layer} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${layer})
  if(TEVINFO_UNITY AND sources)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
  endif()
  target_include_directories(${target} ${scope}
    "$<BUILD_INTERFACE:${root}>")
  if(below)
    target_link_libraries(${target} ${scope} lbt_${below})
  endif()
  set(${target}_SCOPE ${scope} PARENT_SCOPE)
  tevinfo_check_headers(${layer} ${dir} ${headers})
endfunction()

add_custom_target(check_headers)
set(TEVINFO_LAYER_TARGETS)
set(below "")
foreach(layer IN LISTS layersInOrder)
  tevinfo_layer(${layer} "${below}")
  list(APPEND TEVINFO_LAYER_TARGETS lbt_${layer})
  set(below ${layer})
endforeach()
foreach(room IN LISTS roomsOnTop)
  tevinfo_layer(${room} "${below}")
  list(APPEND TEVINFO_LAYER_TARGETS lbt_${room})
endforeach()
foreach(room IN ITEMS exchange view)
  tevinfo_layer(${room} analysis)
  list(APPEND TEVINFO_LAYER_TARGETS lbt_${room})
endforeach()

# Their loops run over millions of numbers. -O3 makes wide instructions of them, also of roots where
# these need not set errno.
set_source_files_properties("${PROJECT_SOURCE_DIR}/src/Lbt/Tev/Analysis/Arrays.cpp"
  "${PROJECT_SOURCE_DIR}/src/Lbt/Tev/Analysis/Statistics.cpp" PROPERTIES
  COMPILE_OPTIONS "$<$<CONFIG:Release>:-O3>;-fno-math-errno")

target_link_libraries(lbt_util ${lbt_util_SCOPE} Boost::headers)
target_link_libraries(lbt_lbf ${lbt_lbf_SCOPE} ZLIB::ZLIB)
find_package(Threads REQUIRED)
target_link_libraries(lbt_analysis ${lbt_analysis_SCOPE} Threads::Threads)

# HDF5 is loaded when it is used, by the name that programs linked with it would have: only its headers
# are needed here. Without them there are two formats less.
find_path(HDF5_HEADERS hdf5.h PATH_SUFFIXES hdf5/serial)
find_library(HDF5_BINARY NAMES hdf5_serial hdf5)
mark_as_advanced(HDF5_HEADERS HDF5_BINARY)
target_link_libraries(lbt_exchange ${lbt_exchange_SCOPE} ${CMAKE_DL_LIBS})
if(HDF5_HEADERS AND HDF5_BINARY)
  file(REAL_PATH "${HDF5_BINARY}" hdf5Library)
  string(REGEX MATCH "[^/]+\\.so\\.[0-9]+" hdf5Library "${hdf5Library}")
  target_include_directories(lbt_exchange SYSTEM PRIVATE "${HDF5_HEADERS}")
  target_compile_definitions(lbt_exchange PRIVATE "TEVINFO_HDF5_LIBRARY=\"${hdf5Library}\"")
endif()

# So is cairo, for pictures.
find_path(CAIRO_HEADERS cairo.h PATH_SUFFIXES cairo)
find_library(CAIRO_BINARY NAMES cairo)
mark_as_advanced(CAIRO_HEADERS CAIRO_BINARY)
target_link_libraries(lbt_view ${lbt_view_SCOPE} ${CMAKE_DL_LIBS})
if(CAIRO_HEADERS AND CAIRO_BINARY)
  file(REAL_PATH "${CAIRO_BINARY}" cairoLibrary)
  string(REGEX MATCH "[^/]+\\.so\\.[0-9]+" cairoLibrary "${cairoLibrary}")
  target_include_directories(lbt_view SYSTEM PRIVATE "${CAIRO_HEADERS}")
  target_compile_definitions(lbt_view PRIVATE "TEVINFO_CAIRO_LIBRARY=\"${cairoLibrary}\"")
endif()
