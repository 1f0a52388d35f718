#include "card/card_paint.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "card/numerals.h"

namespace launcher::card {
namespace {

Color between(Color from, Color to, float share) {
  const auto channel = [share](std::uint8_t one, std::uint8_t other) {
    return static_cast<std::uint8_t>(static_cast<float>(one) +
                                     (static_cast<float>(other) - static_cast<float>(one)) * share);
  };
  return {channel(from.red, to.red), channel(from.green, to.green), channel(from.blue, to.blue)};
}

int scaled(const CardLayout& layout, float value) {
  return std::max(static_cast<int>(value * layout.scale + 0.5F), 1);
}

// The start and finish line, coming in from the right.
void paintCheckers(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  constexpr int kRows = 4;
  constexpr int kColumns = 20;
  const int size = scaled(layout, 9);
  const int top = scaled(layout, 5);
  for (int column = 0; column < kColumns; ++column) {
    const float nearness = 1 - static_cast<float>(column) / kColumns;
    for (int row = column % 2; row < kRows; row += 2) {
      const int right = layout.width - column * size;
      canvas.fillRounded({right - size, top + row * size, right, top + (row + 1) * size}, 0,
                         palette.accent, nearness * nearness * 0.85F);
    }
  }
}

void paintFrame(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  canvas.fill({0, 0, layout.width, layout.height}, palette.paper);
  const auto thickness = static_cast<float>(scaled(layout, 1));
  canvas.strokeRounded({0, 0, layout.width, layout.height}, 0, thickness, palette.edge);
}

void paintMark(Canvas& canvas, const Mark& mark, const Palette& palette) {
  const float size = static_cast<float>(mark.box.width());
  const float x = static_cast<float>(mark.box.left);
  const float y = static_cast<float>(mark.box.top);
  const auto at = [&](float right, float down) { return Point{x + right * size, y + down * size}; };
  if (mark.isFilled) {
    canvas.fillCircle(at(0.5F, 0.5F), size / 2, palette.accent);
  } else {
    const float ring = size * 0.075F;
    const std::array circle = {arc(at(0.5F, 0.5F), size / 2 - ring, 0, 360)};
    canvas.draw(circle, ring, palette.accentInk);
  }
  const Color color = mark.isFilled ? palette.onAccent : palette.accentInk;
  const float thickness = size * (mark.isFilled ? 0.105F : 0.095F);
  switch (mark.sign) {
    case Mark::Sign::ok:
    case Mark::Sign::safe: {
      const std::array tick = {line(at(0.3F, 0.52F), at(0.44F, 0.66F)),
                               line(at(0.44F, 0.66F), at(0.71F, 0.37F))};
      canvas.draw(tick, thickness, color);
      break;
    }
    case Mark::Sign::fail:
    case Mark::Sign::unknown: {
      const std::array cry = {line(at(0.5F, 0.28F), at(0.5F, 0.55F)),
                              line(at(0.5F, 0.72F), at(0.5F, 0.721F))};
      canvas.draw(cry, thickness, color);
      break;
    }
    case Mark::Sign::none: {
      const std::array dash = {line(at(0.31F, 0.5F), at(0.69F, 0.5F))};
      canvas.draw(dash, thickness, color);
      break;
    }
    case Mark::Sign::next: {
      const std::array arrow = {line(at(0.3F, 0.5F), at(0.69F, 0.5F)),
                                line(at(0.53F, 0.34F), at(0.69F, 0.5F)),
                                line(at(0.53F, 0.66F), at(0.69F, 0.5F))};
      canvas.draw(arrow, thickness, color);
      break;
    }
  }
}

void paintPanel(Canvas& canvas, const Box& box, const CardLayout& layout, float radius,
                const Palette& palette) {
  const float corner = radius * layout.scale;
  canvas.fillRounded(box, corner, palette.panel);
  canvas.strokeRounded(box, corner, static_cast<float>(scaled(layout, 1)), palette.panelEdge);
}

// Second, first, third, as they stand; the player's step is lit.
void paintPodium(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  if (layout.place < 1) return;
  struct Step {
    int place;
    float height;
  };
  constexpr std::array kSteps = {Step{2, 0.7F}, Step{1, 1.0F}, Step{3, 0.45F}};
  // A contrast theme's colours are not to be mixed.
  const Color unlit =
      palette.isPlain ? palette.panelEdge : between(palette.rail, palette.panelEdge, 0.7F);
  const int gap = scaled(layout, 3);
  const int width = (layout.podium.width() - 2 * gap) / 3;
  const auto tallest = static_cast<float>(layout.podium.height());
  int left = layout.podium.left;
  for (const Step& step : kSteps) {
    const int height = static_cast<int>(tallest * step.height);
    const Box box{left, layout.podium.bottom - height, left + width, layout.podium.bottom};
    canvas.fillRounded(box, 2.5F * layout.scale,
                       step.place == layout.place ? palette.accent : unlit);
    left += width + gap;
  }
}

void paintTearLine(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  const Box& line = layout.tearLine;
  const int dash = scaled(layout, 6);
  for (int x = dash; x < line.right - dash; x += 2 * dash) {
    canvas.fillRounded({x, line.top, x + dash, line.bottom}, layout.scale, palette.edge);
  }
}

void paintNumeralPieces(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  for (const Piece& piece : layout.pieces) {
    const Point corner{static_cast<float>(piece.box.left), static_cast<float>(piece.box.top)};
    const auto height = static_cast<float>(piece.box.height());
    if (piece.look == Piece::Look::time) {
      drawTime(canvas, piece.text, corner, height, palette.ink, palette.accentInk);
    } else if (piece.look == Piece::Look::numerals) {
      drawNumerals(canvas, piece.text, corner, height, inkColor(palette, piece.ink));
    }
  }
}

}  // namespace

Color inkColor(const Palette& palette, Ink ink) {
  switch (ink) {
    case Ink::normal: return palette.ink;
    case Ink::soft: return palette.softInk;
    case Ink::faint: return palette.faintInk;
    case Ink::accent: return palette.accentInk;
  }
  return palette.ink;
}

void paintResult(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  paintFrame(canvas, layout, palette);
  if (!palette.isPlain) paintCheckers(canvas, layout, palette);
  canvas.fill({0, 0, layout.width, scaled(layout, 5)}, palette.accent);
  for (const Box& tag : layout.tags) paintPanel(canvas, tag, layout, 14, palette);
  paintPanel(canvas, layout.statPanel, layout, 10, palette);
  // Without a panel the line between its halves is an empty box too.
  const int middle = (layout.statPanel.left + layout.statPanel.right) / 2;
  const int inset = scaled(layout, 16);
  canvas.fill({middle, layout.statPanel.top + inset, middle + scaled(layout, 1),
               layout.statPanel.bottom - inset},
              palette.panelEdge);
  paintPodium(canvas, layout, palette);
  paintPanel(canvas, layout.codeField, layout, 8, palette);
  canvas.fill(layout.detailRail, palette.panelEdge);
  paintTearLine(canvas, layout, palette);
  for (const Mark& mark : layout.marks) paintMark(canvas, mark, palette);
  paintNumeralPieces(canvas, layout, palette);
}

void paintProgress(Canvas& canvas, const CardLayout& layout, const Palette& palette) {
  paintFrame(canvas, layout, palette);
  canvas.fill({0, 0, scaled(layout, 5), layout.height}, palette.accent);
  for (const Mark& mark : layout.marks) paintMark(canvas, mark, palette);
}

void paintProgressRail(Canvas& canvas, const CardLayout& layout, const Palette& palette,
                       float phase) {
  const Box& rail = layout.timeRail;
  canvas.fill(rail, palette.paper);
  // More than half of the height, which is the most that a corner gets.
  const auto radius = static_cast<float>(rail.height());
  canvas.fillRounded(rail, radius, palette.rail);
  if (palette.isPlain) canvas.strokeRounded(rail, radius, 1, palette.edge);
  if (phase < 0) {
    canvas.fillRounded(rail, radius, palette.accent);
    return;
  }
  // The moving part comes in from the left edge and leaves at the right one.
  const auto width = static_cast<float>(rail.width());
  const float part = width * 0.36F;
  const int left = rail.left + static_cast<int>((width + part) * phase - part);
  const Box moving{std::max(left, rail.left), rail.top,
                   std::min(left + static_cast<int>(part), rail.right), rail.bottom};
  canvas.fillRounded(moving, radius, palette.accent);
}

void paintTimeRail(Canvas& canvas, const Box& rail, const Palette& palette, float left) {
  canvas.fill(rail, palette.rail);
  Box rest = rail;
  rest.right = rail.left + static_cast<int>(static_cast<float>(rail.width()) * left);
  canvas.fill(rest, palette.accent);
}

void paintButton(Canvas& canvas, const Box& box, float scale, const Palette& palette,
                 const ButtonLook& look) {
  const float radius = 8 * scale;
  const float thickness = std::max(scale, 1.0F);
  Color surface = look.isMain ? palette.accent : palette.panel;
  if (!palette.isPlain) {
    if (look.isHot) surface = between(surface, palette.ink, look.isMain ? 0.18F : 0.1F);
    if (look.isDown) surface = between(surface, palette.paper, 0.25F);
  }
  canvas.fillRounded(box, radius, surface);
  if (!look.isMain) canvas.strokeRounded(box, radius, thickness, palette.panelEdge);
  if (!look.hasFocus) return;
  const int inset = static_cast<int>(3 * scale);
  canvas.strokeRounded({box.left + inset, box.top + inset, box.right - inset, box.bottom - inset},
                       radius - static_cast<float>(inset), std::max(1.5F * scale, 1.0F),
                       look.isMain ? palette.onAccent : palette.accentInk);
}

Color buttonInk(const Palette& palette, const ButtonLook& look) {
  return look.isMain ? palette.onAccent : palette.ink;
}

}  // namespace launcher::card
