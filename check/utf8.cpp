#include "check/utf8.h"

#include <algorithm>

namespace launcher::check {
namespace {

constexpr unsigned char kFirstContinuation = 0x80;
constexpr unsigned char kLastContinuation = 0xBF;

/// What may follow a first byte: how many bytes, and the range of the first of them, which
/// rules out overlong forms, surrogates and what lies beyond Unicode.
struct Follow {
  std::size_t count;
  unsigned char low = kFirstContinuation;
  unsigned char high = kLastContinuation;
};

constexpr std::size_t kNoCharacter = 4;

Follow followOf(unsigned char first) {
  if (first < 0x80) return {0};
  if (first >= 0xC2 && first <= 0xDF) return {1};
  if (first == 0xE0) return {2, 0xA0, kLastContinuation};
  if (first == 0xED) return {2, kFirstContinuation, 0x9F};
  if (first >= 0xE1 && first <= 0xEF) return {2};
  if (first == 0xF0) return {3, 0x90, kLastContinuation};
  if (first >= 0xF1 && first <= 0xF3) return {3};
  if (first == 0xF4) return {3, kFirstContinuation, 0x8F};
  return {kNoCharacter};
}

bool isBetween(char byte, unsigned char low, unsigned char high) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= low && value <= high;
}

}  // namespace

bool isUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const Follow follow = followOf(static_cast<unsigned char>(bytes[at]));
    if (follow.count == kNoCharacter || follow.count >= bytes.size() - at) return false;
    for (std::size_t i = 1; i <= follow.count; ++i) {
      const bool fits = i == 1 ? isBetween(bytes[at + i], follow.low, follow.high)
                               : isBetween(bytes[at + i], kFirstContinuation, kLastContinuation);
      if (!fits) return false;
    }
    at += 1 + follow.count;
  }
  return true;
}

bool isAscii(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool isSameName(std::string_view one, std::string_view other) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&lower](char a, char b) { return lower(a) == lower(b); });
}

std::string readable(std::string_view bytes, TextConverter ansiToUtf8) {
  return isUtf8(bytes) ? std::string(bytes) : ansiToUtf8(std::string(bytes));
}

std::string readableLines(std::string_view bytes, TextConverter ansiToUtf8) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size() - 1) + 1;
    text += readable(bytes.substr(at, end - at), ansiToUtf8);
    at = end;
  }
  return text;
}

}  // namespace launcher::check
