# kov_leave_out_unused(<target>): leaves out every function that nothing in the program calls.
#
# --gc-sections alone does not do it here: GNU ld's own script keeps all unwind tables, and a
# table keeps its function, so of each file of the launcher's libraries that a program needs
# it gets all functions. With a script that does not insist on the tables, those of functions
# that stay are there all the same, and those of the others become empty entries, which come
# first in the sorted table and fit no address. lld needs no such help.
function(kov_leave_out_unused target)
  if(NOT MINGW OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
  endif()
  execute_process(COMMAND ${CMAKE_LINKER} --verbose
    OUTPUT_VARIABLE script COMMAND_ERROR_IS_FATAL ANY)
  # The script stands between two lines of "=".
  string(REGEX REPLACE "^.*\n====*\n(.*)\n====*\n.*$" "\\1" script "${script}")
  string(REGEX REPLACE "KEEP *\\((\\*\\(\\.pdata\\*\\))\\)" "\\1" script "${script}")
  set(file ${CMAKE_CURRENT_BINARY_DIR}/leave_out_unused.ld)
  file(CONFIGURE OUTPUT ${file} CONTENT "${script}" @ONLY)
  target_link_options(${target} PRIVATE -Wl,-T,${file})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${file})
endfunction()
