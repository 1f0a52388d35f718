#pragma once

// A text with memory on either side of it that ends the program when it is read or written:
// what looks past the text's end, or before its beginning, is noticed to the byte. Pages
// without access do it on Linux; elsewhere an allocation of the text's own size, which says
// nothing by itself.

#include <cstddef>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace launcher {

/// Which side of the text is fenced.
enum class Fence { before, after };

class FencedText {
 public:
  FencedText(std::string_view text, Fence fence) : size_(text.size()) {
#if defined(__linux__)
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t room = (size_ / page + 1) * page;
    bytes_ = room + 2 * page;
    void* memory = mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap");
    memory_ = static_cast<char*>(memory);
    char* inner = memory_ + page;
    if (mprotect(inner, room, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("mprotect");
    text_ = fence == Fence::before ? inner : inner + room - size_;
#else
    (void)fence;
    memory_ = std::make_unique<char[]>(size_);
    text_ = memory_.get();
#endif
    if (size_ > 0) std::memcpy(text_, text.data(), size_);
  }

  FencedText(const FencedText&) = delete;
  FencedText& operator=(const FencedText&) = delete;

  ~FencedText() {
#if defined(__linux__)
    munmap(memory_, bytes_);
#endif
  }

  [[nodiscard]] std::string_view text() const { return {text_, size_}; }

 private:
  std::size_t size_;
  char* text_ = nullptr;
#if defined(__linux__)
  char* memory_ = nullptr;
  std::size_t bytes_ = 0;
#else
  std::unique_ptr<char[]> memory_;
#endif
};

}  // namespace launcher
