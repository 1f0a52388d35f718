#include "card/canvas.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace launcher::card {
namespace {

constexpr float kDegree = 3.14159265F / 180;

std::uint32_t packed(Color color) {
  return static_cast<std::uint32_t>(color.red) << 16 |
         static_cast<std::uint32_t>(color.green) << 8 | color.blue;
}

std::uint32_t mixedChannel(std::uint32_t below, std::uint32_t above, int shift, float share) {
  const float from = static_cast<float>((below >> shift) & 0xFF);
  const float to = static_cast<float>((above >> shift) & 0xFF);
  return static_cast<std::uint32_t>(from + (to - from) * share + 0.5F) << shift;
}

std::uint32_t mixed(std::uint32_t below, std::uint32_t above, float share) {
  return mixedChannel(below, above, 16, share) | mixedChannel(below, above, 8, share) |
         mixedChannel(below, above, 0, share);
}

float length(float x, float y) { return std::sqrt(x * x + y * y); }

float distanceToSegment(Point point, Point from, Point to) {
  const float alongX = to.x - from.x;
  const float alongY = to.y - from.y;
  const float squared = alongX * alongX + alongY * alongY;
  float share = 0;
  if (squared > 0) {
    share = ((point.x - from.x) * alongX + (point.y - from.y) * alongY) / squared;
    share = std::clamp(share, 0.0F, 1.0F);
  }
  return length(point.x - from.x - alongX * share, point.y - from.y - alongY * share);
}

Point onCircle(Point center, float radius, float angle) {
  return {center.x + radius * std::cos(angle * kDegree),
          center.y + radius * std::sin(angle * kDegree)};
}

float distanceToArc(Point point, const Stroke& stroke) {
  const float x = point.x - stroke.from.x;
  const float y = point.y - stroke.from.y;
  float turned = std::atan2(y, x) / kDegree - stroke.angle;
  while (turned < 0) turned += 360;
  while (turned >= 360) turned -= 360;
  if (turned <= stroke.sweep) return std::fabs(length(x, y) - stroke.radius);
  const Point begin = onCircle(stroke.from, stroke.radius, stroke.angle);
  const Point end = onCircle(stroke.from, stroke.radius, stroke.angle + stroke.sweep);
  return std::min(length(point.x - begin.x, point.y - begin.y),
                  length(point.x - end.x, point.y - end.y));
}

float distanceToStroke(Point point, const Stroke& stroke) {
  return stroke.radius > 0 ? distanceToArc(point, stroke)
                           : distanceToSegment(point, stroke.from, stroke.to);
}

// Negative inside.
float distanceToRounded(Point point, const Box& box, float radius) {
  const float halfWidth = static_cast<float>(box.width()) / 2;
  const float halfHeight = static_cast<float>(box.height()) / 2;
  radius = std::min({radius, halfWidth, halfHeight});
  const float middleX = static_cast<float>(box.left) + halfWidth;
  const float middleY = static_cast<float>(box.top) + halfHeight;
  const float x = std::fabs(point.x - middleX) - halfWidth + radius;
  const float y = std::fabs(point.y - middleY) - halfHeight + radius;
  return length(std::max(x, 0.0F), std::max(y, 0.0F)) + std::min(std::max(x, y), 0.0F) - radius;
}

// The pixels that a shape reaches. Nothing is covered of a pixel whose middle lies half a
// pixel outside, so edges rounded outward take in the soft edge too.
Box around(float left, float top, float right, float bottom, float margin) {
  const auto down = [](float value) { return static_cast<int>(std::floor(value)); };
  const auto up = [](float value) { return static_cast<int>(std::ceil(value)); };
  return {down(left - margin), down(top - margin), up(right + margin), up(bottom + margin)};
}

Box boundsOf(const Stroke& stroke, float margin) {
  if (stroke.radius > 0) {
    return around(stroke.from.x, stroke.from.y, stroke.from.x, stroke.from.y,
                  stroke.radius + margin);
  }
  return around(std::min(stroke.from.x, stroke.to.x), std::min(stroke.from.y, stroke.to.y),
                std::max(stroke.from.x, stroke.to.x), std::max(stroke.from.y, stroke.to.y), margin);
}

Box enclosing(const Box& one, const Box& other) {
  return {std::min(one.left, other.left), std::min(one.top, other.top),
          std::max(one.right, other.right), std::max(one.bottom, other.bottom)};
}

}  // namespace

Stroke line(Point from, Point to) { return {from, to}; }

Stroke arc(Point center, float radius, float angle, float sweep) {
  return {center, center, radius, angle, sweep};
}

template <typename Distance>
void Canvas::paint(const Box& bounds, Color color, float opacity, const Distance& distance) {
  const int left = std::max(bounds.left, 0);
  const int right = std::min(bounds.right, width_);
  const int bottom = std::min(bounds.bottom, height_);
  for (int y = std::max(bounds.top, 0); y < bottom; ++y) {
    std::uint32_t* row = pixels_ + static_cast<std::ptrdiff_t>(y) * width_;
    for (int x = left; x < right; ++x) {
      const Point middle{static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
      const float covered = std::clamp(0.5F - distance(middle), 0.0F, 1.0F) * opacity;
      if (covered > 0) row[x] = mixed(row[x], packed(color), covered);
    }
  }
}

void Canvas::fill(const Box& box, Color color) {
  paint(box, color, 1, [](Point) { return -1.0F; });
}

void Canvas::fillRounded(const Box& box, float radius, Color color, float opacity) {
  paint(box, color, opacity,
        [&](Point point) { return distanceToRounded(point, box, radius); });
}

void Canvas::strokeRounded(const Box& box, float radius, float thickness, Color color) {
  paint(box, color, 1, [&](Point point) {
    const float outer = distanceToRounded(point, box, radius);
    return std::max(outer, -outer - thickness);
  });
}

void Canvas::fillCircle(Point center, float radius, Color color, float opacity) {
  paint(around(center.x, center.y, center.x, center.y, radius), color, opacity,
        [&](Point point) { return length(point.x - center.x, point.y - center.y) - radius; });
}

void Canvas::draw(std::span<const Stroke> strokes, float thickness, Color color) {
  if (strokes.empty()) return;
  const float margin = thickness / 2;
  Box bounds = boundsOf(strokes.front(), margin);
  for (const Stroke& stroke : strokes) bounds = enclosing(bounds, boundsOf(stroke, margin));
  paint(bounds, color, 1, [&](Point point) {
    float nearest = distanceToStroke(point, strokes.front());
    for (const Stroke& stroke : strokes.subspan(1)) {
      nearest = std::min(nearest, distanceToStroke(point, stroke));
    }
    return nearest - thickness / 2;
  });
}

}  // namespace launcher::card
