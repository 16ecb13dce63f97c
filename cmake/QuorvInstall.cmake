# Install rules: library, headers, tool, pkg-config file and CMake package. The tool and the CMake package find the
# library relative to themselves; pkg-config has to be told a prefix, or what it prints hides that of the system.
include(CMakePackageConfigHelpers)

install(TARGETS quorv
  EXPORT quorvTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" NAMELINK_SKIP COMPONENT runtime)
install(TARGETS quorv
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" NAMELINK_ONLY COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/quorv"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development FILES_MATCHING PATTERN "*.h")

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/quorv")
install(EXPORT quorvTargets NAMESPACE quorv:: DESTINATION "${package_dir}" COMPONENT development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/quorvConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/quorvConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/quorvConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/quorvConfig.cmake" "${PROJECT_BINARY_DIR}/quorvConfigVersion.cmake"
  DESTINATION "${package_dir}" COMPONENT development)

# The prefix is known when it is installed only.
set(prefix "@prefix@")
configure_file("${CMAKE_CURRENT_LIST_DIR}/quorv.pc.in" "${PROJECT_BINARY_DIR}/quorv.pc.in" @ONLY)
install(CODE "set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
  configure_file(\"${PROJECT_BINARY_DIR}/quorv.pc.in\" \"${PROJECT_BINARY_DIR}/quorv.pc\" @ONLY)"
  COMPONENT development)
install(FILES "${PROJECT_BINARY_DIR}/quorv.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(TARGET quorv_tool)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_FULL_BINDIR}" OUTPUT_VARIABLE lib_from_bin)
  set_target_properties(quorv_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
  install(TARGETS quorv_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/man/quorv.1"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
  install(FILES "${PROJECT_SOURCE_DIR}/tools/completion/quorv.bash"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME quorv COMPONENT tool)
endif()
