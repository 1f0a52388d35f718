# kov_warnings: the warnings that every target of this project builds with.
add_library(kov_warnings INTERFACE)
if(MSVC)
  target_compile_options(kov_warnings INTERFACE /W4 /WX /utf-8 /permissive-)
  target_compile_definitions(kov_warnings INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(kov_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wformat=2 -Wformat-security -Wnon-virtual-dtor -Wold-style-cast
    -Wcast-qual -Woverloaded-virtual -Wundef -Werror)
endif()
if(WIN32)
  target_compile_definitions(kov_warnings INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE
    WINVER=0x0A00 _WIN32_WINNT=0x0A00)
endif()
