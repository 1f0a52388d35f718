#include "tests/steps/steps.h"

#if defined(KOV_COUNT_STEPS)

#include <cstddef>

// The linker (--wrap=NAME) sends each call of NAME to __wrap_NAME, and __real_NAME is NAME
// itself. Names that begin with __asan_ are what clang calls in place of the C library.

namespace {

std::uint64_t count = 0;  // no test takes steps in two threads at once

}  // namespace

extern "C" {

void __wrap___sanitizer_cov_trace_pc();
void __wrap___sanitizer_cov_trace_pc() { ++count; }

#define KOV_COUNTED_COPY(name)                                                       \
  void* __real_##name(void* to, const void* from, std::size_t bytes);                \
  void* __wrap_##name(void* to, const void* from, std::size_t bytes);                \
  void* __wrap_##name(void* to, const void* from, std::size_t bytes) {               \
    count += bytes;                                                                  \
    return __real_##name(to, from, bytes);                                           \
  }
KOV_COUNTED_COPY(memcpy)
KOV_COUNTED_COPY(memmove)
KOV_COUNTED_COPY(__asan_memcpy)
KOV_COUNTED_COPY(__asan_memmove)
#undef KOV_COUNTED_COPY

#define KOV_COUNTED_FILL(name)                                   \
  void* __real_##name(void* to, int byte, std::size_t bytes);    \
  void* __wrap_##name(void* to, int byte, std::size_t bytes);    \
  void* __wrap_##name(void* to, int byte, std::size_t bytes) {   \
    count += bytes;                                              \
    return __real_##name(to, byte, bytes);                       \
  }
KOV_COUNTED_FILL(memset)
KOV_COUNTED_FILL(__asan_memset)
#undef KOV_COUNTED_FILL

void* __real_memchr(const void* text, int byte, std::size_t bytes);
void* __wrap_memchr(const void* text, int byte, std::size_t bytes);
void* __wrap_memchr(const void* text, int byte, std::size_t bytes) {
  void* const hit = __real_memchr(text, byte, bytes);
  const auto reached = static_cast<const char*>(hit) - static_cast<const char*>(text) + 1;
  count += hit == nullptr ? bytes : static_cast<std::size_t>(reached);
  return hit;
}

int __real_memcmp(const void* one, const void* other, std::size_t bytes);
int __wrap_memcmp(const void* one, const void* other, std::size_t bytes);
int __wrap_memcmp(const void* one, const void* other, std::size_t bytes) {
  count += bytes;
  return __real_memcmp(one, other, bytes);
}

std::size_t __real_strlen(const char* text);
std::size_t __wrap_strlen(const char* text);
std::size_t __wrap_strlen(const char* text) {
  const std::size_t length = __real_strlen(text);
  count += length;
  return length;
}

}  // extern "C"

std::uint64_t steps::taken() { return count; }

#else

std::uint64_t steps::taken() { return 0; }

#endif
