# What is installed. Nothing in it depends on where it is: the prefix can be moved as a whole.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS zarn_utility EXPORT zarn_utility
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/zarn_utility.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES NOTICE.md docs/formats.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# CMake package
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/zarn_utility)
install(EXPORT zarn_utility NAMESPACE zarn:: FILE zarn_utility-targets.cmake DESTINATION ${package_directory})
configure_package_config_file(cmake/zarn_utility-config.cmake.in zarn_utility-config.cmake
  INSTALL_DESTINATION ${package_directory} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(zarn_utility-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/zarn_utility-config.cmake ${PROJECT_BINARY_DIR}/zarn_utility-config-version.cmake
  DESTINATION ${package_directory})

# pkg-config file
set(pkgconfig_directory ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${pkgconfig_directory} OUTPUT_VARIABLE libdir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY ${pkgconfig_directory} OUTPUT_VARIABLE includedir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${pkgconfig_directory} OUTPUT_VARIABLE prefix)
configure_file(cmake/zarn_utility.pc.in zarn_utility.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zarn_utility.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Command-line tool
if(ZARN_UTILITY_BUILD_TOOL)
  install(TARGETS zarn-utility RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_BINARY_DIR}/tools/zarn-utility.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
