# The programs. Each is a main() on a static library of the rest of its folder, so that the tests
# reach everything but main().

# Makes the library "library" and the program "program" of app/"folder"; does nothing while the
# folder has no main.cpp. Further arguments: the rooms and packages that the library links.
function(tevinfo_program program library folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/app/${folder}/*.cpp")
  set(main "${PROJECT_SOURCE_DIR}/app/${folder}/main.cpp")
  if(NOT main IN_LIST sources)
    return()
  endif()
  list(REMOVE_ITEM sources "${main}")

  tevinfo_library(${library} ${sources})
  set(scope ${${library}_SCOPE})
  target_include_directories(${library} ${scope} "${PROJECT_SOURCE_DIR}/app")
  target_link_libraries(${library} ${scope} ${ARGN})

  add_executable(${program} "${main}")
  tevinfo_own_code(${program})
  target_link_libraries(${program} PRIVATE ${library})
  set(TEVINFO_PROGRAMS ${TEVINFO_PROGRAMS} ${program} PARENT_SCOPE)
endfunction()

set(TEVINFO_PROGRAMS)
tevinfo_program(TevInfo tevinfo_app TevInfo lbt_report)

file(GLOB companionSources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/app/tev/*.cpp")
if(companionSources)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  find_package(SQLite3 REQUIRED)
  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  tevinfo_program(tev tev_app tev lbt_report lbt_check lbt_exchange lbt_view CLI11::CLI11
    nlohmann_json::nlohmann_json SQLite::SQLite3 OpenSSL::Crypto)
  # Its headers take longer to compile than the verb that uses them.
  target_precompile_headers(tev_app PRIVATE <CLI/CLI.hpp>)
  foreach(target tev_app tev)
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "INTERFACE_LIBRARY")
      target_compile_definitions(${target} PRIVATE "TEVINFO_VERSION=\"${PROJECT_VERSION}\"")
    endif()
  endforeach()
endif()
