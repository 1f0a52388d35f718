#include "card/numerals.h"

#include <array>
#include <cstddef>
#include <span>

namespace launcher::card {
namespace {

// Proportions, as shares of a numeral's height.
constexpr float kThickness = 0.135F;
constexpr float kGap = 0.13F;
constexpr float kFractionHeight = 0.6F;
// The strokes' middle lines lie in a box of half as wide as high, so that two
// circles of its width stand exactly on top of each other: an 8.
constexpr float kHeight = 1 - kThickness;
constexpr float kWidth = kHeight / 2;

// Shapes in that box, from (0, 0) to (0.5, 1); angles clockwise from the right.
constexpr float r = 0.25F;

constexpr std::array kZero = {
    Stroke{{r, r}, {}, r, 180, 180},
    Stroke{{r, 1 - r}, {}, r, 0, 180},
    Stroke{{0, r}, {0, 1 - r}},
    Stroke{{0.5F, r}, {0.5F, 1 - r}},
};
constexpr std::array kOne = {
    Stroke{{0.33F, 0}, {0.33F, 1}},
    Stroke{{0.33F, 0}, {0.08F, 0.22F}},
};
// The slope of the 2 leaves its arc as a tangent; likewise the 6 and the 9.
constexpr std::array kTwo = {
    Stroke{{r, r}, {}, r, 190, 206.87F},
    Stroke{{0.45F, 0.4F}, {0, 1}},
    Stroke{{0, 1}, {0.5F, 1}},
};
constexpr std::array kThree = {
    Stroke{{r, r}, {}, r, 195, 255},
    Stroke{{r, 1 - r}, {}, r, 270, 255},
};
constexpr std::array kFour = {
    Stroke{{0.29F, 0}, {0, 0.72F}},
    Stroke{{0, 0.72F}, {0.5F, 0.72F}},
    Stroke{{0.37F, 0.42F}, {0.37F, 1}},
};
constexpr std::array kFive = {
    Stroke{{0.05F, 0}, {0.46F, 0}},
    Stroke{{0.05F, 0}, {0.045F, 0.6F}},
    Stroke{{r, 1 - r}, {}, r, 215, 305},
};
constexpr std::array kSix = {
    Stroke{{r, 1 - r}, {}, r, 0, 360},
    Stroke{{0.36F, 0}, {0.0285F, 0.634F}},
};
constexpr std::array kSeven = {
    Stroke{{0, 0}, {0.5F, 0}},
    Stroke{{0.5F, 0}, {0.16F, 1}},
};
constexpr std::array kEight = {
    Stroke{{r, r}, {}, r, 0, 360},
    Stroke{{r, 1 - r}, {}, r, 0, 360},
};
constexpr std::array kNine = {
    Stroke{{r, r}, {}, r, 0, 360},
    Stroke{{0.14F, 1}, {0.4715F, 0.366F}},
};
constexpr std::array kColon = {
    Stroke{{0, 0.3F}, {0, 0.3F}},
    Stroke{{0, 0.78F}, {0, 0.78F}},
};
constexpr std::array kPoint = {Stroke{{0, 1}, {0, 1}}};
constexpr std::array kHash = {
    Stroke{{0.2F, 0.05F}, {0.1F, 0.95F}},
    Stroke{{0.42F, 0.05F}, {0.32F, 0.95F}},
    Stroke{{0.04F, 0.34F}, {0.5F, 0.34F}},
    Stroke{{0.02F, 0.66F}, {0.48F, 0.66F}},
};
constexpr std::array kMinus = {Stroke{{0.04F, 0.5F}, {0.46F, 0.5F}}};
constexpr std::array kPlus = {
    Stroke{{0.02F, 0.5F}, {0.48F, 0.5F}},
    Stroke{{r, 0.27F}, {r, 0.73F}},
};

struct Numeral {
  std::span<const Stroke> strokes;
  float width = kWidth;
  float thickness = kThickness;
};

Numeral numeral(char16_t character) {
  switch (character) {
    case u'0': return {kZero};
    case u'1': return {kOne};
    case u'2': return {kTwo};
    case u'3': return {kThree};
    case u'4': return {kFour};
    case u'5': return {kFive};
    case u'6': return {kSix};
    case u'7': return {kSeven};
    case u'8': return {kEight};
    case u'9': return {kNine};
    case u':': return {kColon, 0, kThickness * 1.15F};
    case u'.': return {kPoint, 0, kThickness * 1.15F};
    case u'#': return {kHash, kWidth, kThickness * 0.62F};
    case u'-': return {kMinus};
    case u'+': return {kPlus};
    default: return {};
  }
}

float advance(const Numeral& shape) { return shape.width + kThickness + kGap; }

// The part before the point, and the rest with it.
std::size_t fractionStart(std::u16string_view time) {
  const std::size_t point = time.find(u'.');
  return point == std::u16string_view::npos ? time.size() : point;
}

}  // namespace

bool areNumerals(std::u16string_view text) {
  for (const char16_t character : text) {
    if (numeral(character).strokes.empty()) return false;
  }
  return !text.empty();
}

float numeralsWidth(std::u16string_view text, float height) {
  float width = 0;
  for (const char16_t character : text) width += advance(numeral(character));
  return text.empty() ? 0 : (width - kGap) * height;
}

void drawNumerals(Canvas& canvas, std::u16string_view text, Point corner, float height,
                  Color color) {
  const float unit = kHeight * height;
  Point origin{corner.x + kThickness / 2 * height, corner.y + kThickness / 2 * height};
  for (const char16_t character : text) {
    const Numeral shape = numeral(character);
    std::array<Stroke, 4> placed;
    std::size_t count = 0;
    for (const Stroke& stroke : shape.strokes) {
      placed[count++] = {{origin.x + stroke.from.x * unit, origin.y + stroke.from.y * unit},
                         {origin.x + stroke.to.x * unit, origin.y + stroke.to.y * unit},
                         stroke.radius * unit, stroke.angle, stroke.sweep};
    }
    canvas.draw(std::span(placed).first(count), shape.thickness * height, color);
    origin.x += advance(shape) * height;
  }
}

float timeWidth(std::u16string_view time, float height) {
  const std::size_t point = fractionStart(time);
  const float whole = numeralsWidth(time.substr(0, point), height);
  if (point == time.size()) return whole;
  return whole + kGap * height + numeralsWidth(time.substr(point), height * kFractionHeight);
}

void drawTime(Canvas& canvas, std::u16string_view time, Point corner, float height, Color color,
              Color fraction) {
  const std::size_t point = fractionStart(time);
  drawNumerals(canvas, time.substr(0, point), corner, height, color);
  const float small = height * kFractionHeight;
  const Point corner2{corner.x + numeralsWidth(time.substr(0, point), height) + kGap * height,
                      corner.y + height - small};
  drawNumerals(canvas, time.substr(point), corner2, small, fraction);
}

}  // namespace launcher::card
