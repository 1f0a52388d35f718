#pragma once

// A picture in memory to paint on, and the picture as text.

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "card/canvas.h"

namespace launcher::card {

/// A black picture; the vector ends exactly where the picture does, so that writing outside
/// is noticed.
struct Picture {
  Picture(int w, int h)
      : width(w),
        height(h),
        pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)),
        canvas(pixels.data(), w, h) {}
  [[nodiscard]] std::uint32_t at(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
  [[nodiscard]] std::size_t painted() const {
    return pixels.size() -
           static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), 0U));
  }
  int width;
  int height;
  std::vector<std::uint32_t> pixels;
  Canvas canvas;
};

/// One number for all pixels (FNV-1a): equal pictures have equal ones.
inline std::uint64_t fingerprint(const Picture& picture) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const std::uint32_t pixel : picture.pixels) {
    for (int shift = 0; shift < 32; shift += 8) {
      hash = (hash ^ ((pixel >> shift) & 0xFF)) * 0x100000001B3U;
    }
  }
  return hash;
}

/// Each pixel as the letter of its colour, '+' for a colour without one.
inline std::string drawn(const Picture& picture,
                         const std::vector<std::pair<std::uint32_t, char>>& letters) {
  std::string text = "\n";
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const auto known = std::find_if(letters.begin(), letters.end(), [&](const auto& letter) {
        return letter.first == picture.at(x, y);
      });
      text += known == letters.end() ? '+' : known->second;
    }
    text += '\n';
  }
  return text;
}

/// White on black by thirds: '.', '+' and '#'.
inline std::string inThirds(const Picture& picture) {
  std::string text = "\n";
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const std::uint32_t light = picture.at(x, y) & 0xFF;
      text += light < 85 ? '.' : light < 170 ? '+' : '#';
    }
    text += '\n';
  }
  return text;
}

}  // namespace launcher::card
