# GoogleTest and GoogleMock, built from Debian's source package with whatever
# toolchain this build uses (the cross compiler has no binary package of them).
set(KOV_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Source tree of GoogleTest")
if(NOT KOV_FUZZ AND EXISTS ${KOV_GOOGLETEST_SOURCE}/CMakeLists.txt)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(${KOV_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  # They need no speed, and take twice as long to compile at the release's level.
  foreach(kov_target gtest gtest_main gmock gmock_main)
    target_compile_options(${kov_target} PRIVATE -O0 -g0)
  endforeach()
endif()
