# Installs the programs with their manual pages, completion and JSON schemas, the libraries with
# their headers, and a package for find_package(TevInfo).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/TevInfo")

install(TARGETS ${TEVINFO_LAYER_TARGETS} EXPORT TevInfoTargets
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
if(TEVINFO_PROGRAMS)
  install(TARGETS ${TEVINFO_PROGRAMS} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/Lbt"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h")

install(EXPORT TevInfoTargets NAMESPACE TevInfo:: DESTINATION "${packageDir}")
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/TevInfoConfig.cmake.in"
  "${CMAKE_CURRENT_BINARY_DIR}/TevInfoConfig.cmake"
  INSTALL_DESTINATION "${packageDir}")
write_basic_package_version_file(
  "${CMAKE_CURRENT_BINARY_DIR}/TevInfoConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/TevInfoConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/TevInfoConfigVersion.cmake"
  DESTINATION "${packageDir}")

install(FILES "${PROJECT_SOURCE_DIR}/docs/man/TevInfo.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
if("tev" IN_LIST TEVINFO_PROGRAMS)
  # The page of tev-archive is left to what brings the Python package, whose command that is.
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/man/" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
    FILES_MATCHING PATTERN "tev*.1" PATTERN "tev-archive.1" EXCLUDE)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/schema" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  install(PROGRAMS "${PROJECT_SOURCE_DIR}/tools/slurm/archive.sbatch"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  install(FILES "${PROJECT_SOURCE_DIR}/completions/tev.bash"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME tev)
  install(FILES "${PROJECT_SOURCE_DIR}/completions/_tev"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")
  install(FILES "${PROJECT_SOURCE_DIR}/completions/tev.fish"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
endif()
