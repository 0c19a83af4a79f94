# Debian packages of the three install components, built with `cpack -G DEB`
# in a build folder: librobocomm0, librobocomm-dev and robocomm-tools, for the
# machine the folder builds for (amd64 natively, arm64 with the aarch64
# toolchain). Library dependencies come from dpkg-shlibdeps.
set(CPACK_PACKAGE_NAME robocomm)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "robocomm developers <robocomm@localhost>")
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
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
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
if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND dpkg-architecture -t ${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
  set(ROBOCOMM_CPACK_ENVIRONMENT ${CMAKE_BINARY_DIR}/cpack-environment.cmake)
  file(WRITE ${ROBOCOMM_CPACK_ENVIRONMENT} "set(ENV{DEB_HOST_ARCH} ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})\n")
  set(CPACK_PROJECT_CONFIG_FILE ${ROBOCOMM_CPACK_ENVIRONMENT})
endif()

include(CPack)
cpack_add_component(runtime DISPLAY_NAME "robocomm shared library"
  DESCRIPTION "Link between a mobile service robot's control program and its operator tools.\nThe shared library a robot's control program loads: a TCP server for one\noperator client, AES-128-CBC enciphered JSON commands handed to the program\nthrough per-command mailboxes, firmware updates, log bundles, an encrypted\nmap-edit file and a factory jig link over UDP.")
cpack_add_component(development DEPENDS runtime DISPLAY_NAME "robocomm development files"
  DESCRIPTION "Development files of robocomm, the robot's link to its operator tools.\nHeader, CMake package (find_package(robocomm)) and pkg-config file for\nbuilding a robot control program against librobocomm.")
cpack_add_component(tools DEPENDS runtime DISPLAY_NAME "robocomm tools"
  DESCRIPTION "Operator client and simulated robot for robocomm.\nrobocomm-client drives a robot from the command line, robocomm-demo-host\nsimulates a robot and is the example of a host program.")
