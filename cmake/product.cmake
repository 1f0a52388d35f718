# kov_flags: what the product's own code and everything that links it share.
add_library(kov_flags INTERFACE)
target_link_libraries(kov_flags INTERFACE kov_warnings)

# kov_lean: how the product's own code is compiled for Windows. Linked privately: tests
# and the stage use exceptions.
add_library(kov_lean INTERFACE)
set(kov_lean_options
  -Os -D_FORTIFY_SOURCE=2 -ffunction-sections -fdata-sections -fstack-protector-strong
  -fno-exceptions -fno-threadsafe-statics)

if(MINGW)
  target_compile_options(kov_lean INTERFACE ${kov_lean_options})
  # For tests: the toolchain's own library of the stack protector. Programs that ship
  # bring toolchain/stack_guard_win.cpp, which makes the linker leave it out.
  target_link_libraries(kov_flags INTERFACE ssp)
elseif(KOV_FUZZ)
  target_compile_options(kov_flags INTERFACE
    -O1 -g -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
  target_link_options(kov_flags INTERFACE -fsanitize=address,undefined)
elseif(KOV_SANITIZE)
  # A test's own code takes twice as long to compile at -O1, and is about as fast.
  target_compile_options(kov_flags INTERFACE
    $<IF:$<BOOL:$<TARGET_PROPERTY:KOV_IS_TEST>>,-O0,-O1> -g1
    -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize-recover=all)
  # An index beyond a text's end is within its memory, so that only the library sees it.
  target_compile_definitions(kov_flags INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:KOV_IS_TEST>>>:_GLIBCXX_ASSERTIONS>)
  target_link_options(kov_flags INTERFACE -fsanitize=address,undefined)
elseif(KOV_COVERAGE)
  # Clang counts by the source's own conditions: what the compiler adds for exceptions and
  # destructors is no branch there. The tests count as well: of a function in a header the
  # linker keeps one body, which may be theirs.
  target_compile_options(kov_flags INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(kov_flags INTERFACE -fprofile-instr-generate)
endif()

# How a program that ships is linked: one file, nothing but Windows' own DLLs,
# with the hardening that the toolchain offers.
add_library(kov_ship INTERFACE)
if(MINGW)
  target_link_options(kov_ship INTERFACE
    -municode -static -s
    -Wl,--gc-sections -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va
    -Wl,--no-insert-timestamp)
endif()
