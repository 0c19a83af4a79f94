# Installs the headers, the shared library, a CMake package
# (find_package(robocomm) -> robocomm::robocomm) and a pkg-config file. The
# components are the Debian packages: runtime (the library a robot needs),
# development (what a host program is built with) and tools.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS robocomm EXPORT robocommTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT robocommTargets NAMESPACE robocomm::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm COMPONENT development)

configure_package_config_file(cmake/robocommConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/robocommConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/robocommConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/robocomm COMPONENT development)

# Relative to the .pc file, so an installed tree can be moved.
file(RELATIVE_PATH PKGCONFIG_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/robocomm.pc.in ${CMAKE_CURRENT_BINARY_DIR}/robocomm.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/robocomm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
