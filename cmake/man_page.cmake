# robocomm_add_man_page(TARGET DESCRIPTION)
# The installed program TARGET's manual page, made by help2man from its
# --help when it is built, and installed with the tools. A cross-built
# program runs in the build's emulator for that. The version is the
# project's: the tools' --version names the library beside the program,
# which help2man would take for the program's name.
find_program(HELP2MAN help2man REQUIRED)

function(robocomm_add_man_page target description)
  # Sanitized builds make no packages, and their programs' checks at exit
  # (leaks) could fail the page, not the program.
  if(ROBOCOMM_SANITIZE OR ROBOCOMM_TSAN)
    return()
  endif()
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${target}.1)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  # help2man runs its argument through the shell, so the emulator and the
  # program go in as one.
  string(STRIP "${emulator} $<TARGET_FILE:${target}>" program)
  add_custom_command(OUTPUT ${page}.gz
    COMMAND ${HELP2MAN} --no-info --version-string=${PROJECT_VERSION} --name=${description} --output=${page} ${program}
    COMMAND gzip -9nf ${page}
    DEPENDS ${target}
    COMMENT "Making the manual page of ${target}"
    VERBATIM)
  add_custom_target(${target}-man-page ALL DEPENDS ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()
