#pragma once

#include <cstdint>
#include <span>

#include "card/palette.h"

namespace launcher::card {

struct Point {
  float x = 0;
  float y = 0;
};

/// Edges in pixels; right and bottom lie outside.
struct Box {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;

  [[nodiscard]] int width() const { return right - left; }
  [[nodiscard]] int height() const { return bottom - top; }
};

/// A piece of a drawn line: straight from `from` to `to`, or, with a radius,
/// the arc around `from` that begins at `angle` and turns by `sweep` (degrees,
/// clockwise, 0 pointing right).
struct Stroke {
  Point from;
  Point to;
  float radius = 0;
  float angle = 0;
  float sweep = 0;
};

[[nodiscard]] Stroke line(Point from, Point to);
[[nodiscard]] Stroke arc(Point center, float radius, float angle, float sweep);

/// Draws smooth shapes into pixels that somebody else owns: one 32-bit word a
/// pixel (0x00RRGGBB), rows from top to bottom. Everything is clipped; an empty
/// box (of no width or height, or less) paints nothing.
///
/// Shapes are described by their distance to a pixel's middle, and the distance
/// decides how much of the pixel is covered: the same picture on every machine,
/// at every scale, without a graphics library.
class Canvas {
 public:
  Canvas(std::uint32_t* pixels, int width, int height)
      : pixels_(pixels), width_(width), height_(height) {}

  void fill(const Box& box, Color color);
  void fillRounded(const Box& box, float radius, Color color, float opacity = 1);
  void strokeRounded(const Box& box, float radius, float thickness, Color color);
  void fillCircle(Point center, float radius, Color color, float opacity = 1);
  /// All strokes as one line of that thickness with round ends.
  void draw(std::span<const Stroke> strokes, float thickness, Color color);

 private:
  template <typename Distance>
  void paint(const Box& bounds, Color color, float opacity, const Distance& distance);

  std::uint32_t* pixels_;
  int width_;
  int height_;
};

}  // namespace launcher::card
