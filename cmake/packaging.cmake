# Debian packages of the three install components, built with `cpack -G DEB`
# in a build folder: librobocomm0, librobocomm-dev and robocomm-tools, for the
# machine the folder builds for (amd64 natively, arm64 with the aarch64
# toolchain). Library dependencies come from dpkg-shlibdeps.
set(CPACK_PACKAGE_NAME robocomm)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "robocomm developers <robocomm-dev@users.noreply.github.com>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Debug information stays in the build folder, not on the robot.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL runtime development tools)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME librobocomm0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The library's package states its ABI in a shlibs file and has dpkg run
# ldconfig through a trigger. CPack's own shlibs and dependency steps would
# add maintainer scripts calling ldconfig instead, so this package's
# dependencies come from dpkg-shlibdeps at packaging time (below).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS OFF)
file(WRITE ${CMAKE_BINARY_DIR}/debian/shlibs "librobocomm 0 librobocomm0 (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/debian/shlibs ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME librobocomm-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The headers include jsoncpp's; the CMake package and the pkg-config file
# look for jsoncpp and libcrypto 3 through pkg-config.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libjsoncpp-dev, libssl-dev (>= 3), pkg-config")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME robocomm-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION misc)
# The tools' link to librobocomm0 is a component dependency; dpkg-shlibdeps
# finds the library in the package being built.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})

# dpkg names the target machine after Debian's architecture, and a cross
# build's dependencies are read with that machine's objdump and libraries.
execute_process(COMMAND dpkg-architecture -t ${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
  OUTPUT_VARIABLE ROBOCOMM_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ROBOCOMM_DEB_ARCH})
endif()
# Read by cpack before it makes the packages, the library built by then.
configure_file(cmake/debian/cpack-project.cmake.in ${CMAKE_BINARY_DIR}/debian/cpack-project.cmake.in @ONLY)
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/debian/cpack-project.cmake INPUT ${CMAKE_BINARY_DIR}/debian/cpack-project.cmake.in)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/debian/cpack-project.cmake)

# Each package's copyright and changelog, where Debian looks for them. Only
# in the packages: an install of the build tree has no Debian package names.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX REPLACE "^.*\n(Permission is hereby granted)" "\\1" license "${license}")
string(STRIP "${license}" license)
# A DEP-5 licence text: lines indented, empty ones a lone dot.
string(REPLACE "\n\n" "\n.\n" license "${license}")
string(REPLACE "\n" "\n " license "${license}")
set(LICENSE_TEXT " ${license}")
configure_file(cmake/debian/copyright.in ${CMAKE_BINARY_DIR}/debian/copyright @ONLY)
# The changelog's date is the commit's: packages built from one commit hold
# the same changelog, whenever and for whichever architecture they are built.
execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C
                  git -C ${PROJECT_SOURCE_DIR} log -1 "--format=%cd" "--date=format:%a, %d %b %Y %H:%M:%S %z"
  OUTPUT_VARIABLE CHANGELOG_DATE OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE git_status ERROR_QUIET)
if(NOT git_status EQUAL 0 OR NOT CHANGELOG_DATE)
  string(TIMESTAMP CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
endif()
configure_file(cmake/debian/changelog.in ${CMAKE_BINARY_DIR}/debian/changelog @ONLY)
execute_process(COMMAND gzip -9n -c ${CMAKE_BINARY_DIR}/debian/changelog
  OUTPUT_FILE ${CMAKE_BINARY_DIR}/debian/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component runtime development tools)
  string(TOUPPER ${component} upper)
  install(FILES ${CMAKE_BINARY_DIR}/debian/copyright ${CMAKE_BINARY_DIR}/debian/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
cpack_add_component(runtime DISPLAY_NAME "robocomm shared library"
  DESCRIPTION "Link between a mobile service robot's control program and its operator tools.\nThe shared library a robot's control program loads: a TCP server for one\noperator client, AES-128-CBC enciphered JSON commands handed to the program\nthrough per-command mailboxes, firmware updates, log bundles, an encrypted\nmap-edit file and a factory jig link over UDP.")
cpack_add_component(development DEPENDS runtime DISPLAY_NAME "robocomm development files"
  DESCRIPTION "Development files of robocomm, the robot's link to its operator tools.\nHeader, CMake package (find_package(robocomm)) and pkg-config file for\nbuilding a robot control program against librobocomm.")
cpack_add_component(tools DEPENDS runtime DISPLAY_NAME "robocomm tools"
  DESCRIPTION "Operator client and simulated robot for robocomm.\nrobocomm-client drives a robot from the command line, robocomm-demo-host\nsimulates a robot and is the example of a host program.")
