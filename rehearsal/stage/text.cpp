#include "rehearsal/stage/text.h"

#include <windows.h>

#include <algorithm>
#include <climits>

namespace stage {

namespace {

int lengthOf(std::size_t size) {
  return size > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(size);
}

std::string narrow(std::wstring_view wide, unsigned codePage) {
  if (wide.empty()) return {};
  const int length = WideCharToMultiByte(codePage, 0, wide.data(), lengthOf(wide.size()),
                                         nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(codePage, 0, wide.data(), lengthOf(wide.size()), bytes.data(), length,
                      nullptr, nullptr);
  return bytes;
}

}  // namespace

std::wstring toWide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), lengthOf(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), lengthOf(utf8.size()), wide.data(), length);
  return wide;
}

std::string toUtf8(std::wstring_view wide) { return narrow(wide, CP_UTF8); }

std::filesystem::path pathOf(std::string_view utf8) {
  return std::filesystem::path(toWide(utf8)).make_preferred();
}

std::string textOf(const std::filesystem::path& path) {
  std::filesystem::path copy = path;
  return toUtf8(copy.make_preferred().wstring());
}

std::string toAnsi(std::string_view utf8) { return narrow(toWide(utf8), CP_ACP); }

unsigned ansiCodePage() { return GetACP(); }

bool isUtf8(std::string_view bytes) {
  return bytes.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                                              lengthOf(bytes.size()), nullptr, 0) > 0;
}

bool isPlainAscii(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

bool isLike(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t wanted = 0;
  std::size_t star = std::string_view::npos;
  std::size_t retry = 0;
  while (at < text.size()) {
    if (wanted < pattern.size() && pattern[wanted] == '*') {
      star = wanted++;
      retry = at;
    } else if (wanted < pattern.size() && pattern[wanted] == text[at]) {
      ++wanted;
      ++at;
    } else if (star != std::string_view::npos) {
      wanted = star + 1;
      at = ++retry;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', wanted) == std::string_view::npos;
}

}  // namespace stage
