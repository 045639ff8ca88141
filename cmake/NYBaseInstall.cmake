# Installs the library, its public headers, a CMake package (find_package(NYBase)) and nybase.pc.
include(CMakePackageConfigHelpers)

install(TARGETS nybase EXPORT NYBaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/nybase/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nybase
  FILES_MATCHING PATTERN "*.h" PATTERN "posix" EXCLUDE PATTERN "internal" EXCLUDE)
install(EXPORT NYBaseTargets NAMESPACE NYBase:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/NYBase)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/NYBaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/NYBaseConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/NYBase)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/NYBaseConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/NYBaseConfig.cmake ${PROJECT_BINARY_DIR}/NYBaseConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/NYBase)

# The .pc file finds its prefix relative to its own folder, so that `cmake --install --prefix X`
# (which does not reconfigure) still yields a correct file.
file(RELATIVE_PATH NYBASE_PC_TO_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
configure_file(${PROJECT_SOURCE_DIR}/cmake/nybase.pc.in ${PROJECT_BINARY_DIR}/nybase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/nybase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(NYBASE_BUILD_TOOLS)
  install(TARGETS nybase_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
