#include "core/file_io.h"

#include <cstdio>
#include <memory>

namespace launcher {
namespace {

constexpr long long kTooLarge = 1LL << 31;

struct FileCloser {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File openFile(const std::string& path, const char* mode) {
  return File(std::fopen(path.c_str(), mode));
}

std::string readUpTo(std::FILE* file, std::size_t bytes) {
  std::string text(bytes, '\0');
  text.resize(std::fread(text.data(), 1, bytes, file));
  return text;
}

#if defined(_WIN32)
long long sizeFrom(std::FILE* file, int origin) {
  return _fseeki64(file, 0, origin) == 0 ? _ftelli64(file) : 0;
}
#else
long long sizeFrom(std::FILE* file, int origin) {
  return std::fseek(file, 0, origin) == 0 ? std::ftell(file) : 0;
}
#endif

/// Size of an open file by seeking to its end, and back to its start.
std::size_t sizeOf(std::FILE* file) {
  const long long size = sizeFrom(file, SEEK_END);
  (void)sizeFrom(file, SEEK_SET);
  return size > 0 && size < kTooLarge ? static_cast<std::size_t>(size) : 0;
}

}  // namespace

std::optional<std::string> readFile(const std::string& path) {
  const File file = openFile(path, "rb");
  if (!file) return std::nullopt;
  return readUpTo(file.get(), sizeOf(file.get()));
}

std::string readWholeFile(const std::string& path) { return readFile(path).value_or(""); }

std::optional<std::string> readFileStart(const std::string& path, std::size_t bytes) {
  const File file = openFile(path, "rb");
  if (!file) return std::nullopt;
  return readUpTo(file.get(), bytes);
}

bool opensForReading(const std::string& path) { return openFile(path, "rb") != nullptr; }

bool writeWholeFile(const std::string& path, std::string_view bytes) {
  const File file = openFile(path, "wb");
  if (!file) return false;
  (void)std::fwrite(bytes.data(), 1, bytes.size(), file.get());
  return true;
}

}  // namespace launcher
