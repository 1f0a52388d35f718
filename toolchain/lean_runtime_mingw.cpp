// The launcher throws and catches nothing. These definitions stand in for those parts of
// the C++ runtime that only serve to throw: no memory left or a position that does not
// exist ends the program. Without them the runtime brings exceptions, a demangler, a
// second string class and a threads library along, more than all of the launcher itself.
#include <cstdlib>
#include <new>
#include <string>

// Memory ----------------------------------------------------------------------

void* operator new(std::size_t bytes) {
  void* memory = std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) std::abort();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

// What the containers call on misuse; <string> declares that none of these returns ---

namespace std {

void __throw_length_error(const char*) { abort(); }
void __throw_logic_error(const char*) { abort(); }
void __throw_out_of_range(const char*) { abort(); }
void __throw_out_of_range_fmt(const char*, ...) { abort(); }
void __throw_bad_alloc() { abort(); }
void __throw_bad_array_new_length() { abort(); }

}  // namespace std

// Strings ------------------------------------------------------------------------

// Since GCC 13 one function of strings is never put in line, and the library's copy of it
// comes together with functions that catch exceptions. This is the same function, compiled
// here. (All of the class at once would keep what is never called.)
#if _GLIBCXX_RELEASE >= 13
#define KOV_REPLACE(Char)                                                       \
  template void std::basic_string<Char>::_M_replace_cold(                       \
      Char*, size_type, const Char*, const size_type, const size_type)
KOV_REPLACE(char);
KOV_REPLACE(wchar_t);
#undef KOV_REPLACE
#endif
