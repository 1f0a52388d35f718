# Cross-compiles Windows programs (64-bit) with clang and lld, on the headers, the C++
# library and the runtime of Debian's MinGW-w64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-w64-windows-gnu)
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_AR x86_64-w64-mingw32-ar)
set(CMAKE_RANLIB x86_64-w64-mingw32-ranlib)

# Debian's folder of GCC ends in the kind of threads ("12-posix"), so clang does not find it
# and would search this machine's own headers instead.
execute_process(
  COMMAND x86_64-w64-mingw32-g++-posix -print-libgcc-file-name
  OUTPUT_VARIABLE gcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET gcc PARENT_PATH gcc)
set(system /usr/x86_64-w64-mingw32)
# After clang's own headers, as GCC's order is.
set(headers "--start-no-unused-arguments -nostdlibinc --end-no-unused-arguments \
-idirafter ${system}/include")
set(CMAKE_C_FLAGS_INIT "${headers}")
set(CMAKE_CXX_FLAGS_INIT "-isystem ${gcc}/include/c++ \
-isystem ${gcc}/include/c++/x86_64-w64-mingw32 -isystem ${gcc}/include/c++/backward ${headers}")
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-fuse-ld=lld -rtlib=libgcc -stdlib=libstdc++ -B${gcc} -B${system}/lib -L${gcc} -L${system}/lib")

set(CMAKE_FIND_ROOT_PATH ${system})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
