// Compiled and linked as the launcher is, this overruns a buffer:
//
//     overrun.exe copy <bytes>    copies so many bytes into 16 that are no part of the stack
//     overrun.exe stack <bytes>   writes so many bytes into 16 of the stack
//
// It ends with 0 when nothing has stopped it.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

constexpr std::size_t kBufferBytes = 16;

char target[kBufferBytes];
char room[4096];  // after the target, so that an overrun does no harm of its own

[[gnu::noinline]] char copy(const char* source, std::size_t bytes) {
  std::memcpy(target, source, bytes);
  return target[0];
}

[[gnu::noinline]] char writeOnStack(std::size_t bytes) {
  char buffer[kBufferBytes];
  volatile char* const at = buffer;
  for (std::size_t i = 0; i < bytes; ++i) at[i] = 1;
  return at[0];
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 3) return 2;
  const std::size_t bytes = std::wcstoul(arguments[2], nullptr, 10);
  const char* const source = room;
  const bool onStack = std::wcscmp(arguments[1], L"stack") == 0;
  const volatile char last = onStack ? writeOnStack(bytes) : copy(source, bytes);
  return last == 2 ? 3 : 0;
}
