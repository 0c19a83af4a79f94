# Installs the headers, the shared library, a CMake package
# (find_package(robocomm) -> robocomm::robocomm) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS robocomm EXPORT robocommTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT robocommTargets NAMESPACE robocomm::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm)

configure_package_config_file(cmake/robocommConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/robocommConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm)

# Relative to the .pc file, so an installed tree can be moved.
file(RELATIVE_PATH PKGCONFIG_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/robocomm.pc.in ${CMAKE_CURRENT_BINARY_DIR}/robocomm.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/robocomm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
