# Run by cpack once the packages are made (CPACK_POST_BUILD_SCRIPTS).
# The library and its development files differ between architectures only
# below lib/<triplet>, so dpkg may install several architectures of them side
# by side once they say "Multi-Arch: same", a field CPack cannot write: each
# is unpacked, given the field and packed again.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  get_filename_component(name "${deb}" NAME)
  if(NOT name MATCHES "^(librobocomm0|librobocomm-dev)_.*\\.deb$")
    continue()
  endif()
  set(tree "${deb}.tree")
  file(REMOVE_RECURSE "${tree}")
  execute_process(COMMAND dpkg-deb -R "${deb}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${tree}/DEBIAN/control" control)
  string(REGEX REPLACE "(Architecture: [^\n]*\n)" "\\1Multi-Arch: same\n" control "${control}")
  file(WRITE "${tree}/DEBIAN/control" "${control}")
  execute_process(COMMAND dpkg-deb --root-owner-group --build "${tree}" "${deb}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${tree}")
endforeach()
