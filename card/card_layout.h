#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "card/canvas.h"
#include "card/line_break.h"
#include "card/wording.h"

namespace launcher::card {

/// The fonts of the card, by what they are for.
enum class Font { race, heading, label, tag, value, note, detail, code, button };
inline constexpr int kFontCount = 9;

/// Height of the letters' box in pixels at 100 %, and the looks.
struct FontSpec {
  float size;
  bool isBold;
  bool isMono;
};

[[nodiscard]] FontSpec fontSpec(Font font);

/// What the layout must know about the fonts of the machine.
class FontSet {
 public:
  virtual ~FontSet() = default;
  [[nodiscard]] virtual const TextMeasure& measure(Font font) const = 0;
  /// Pixels from one line to the next.
  [[nodiscard]] virtual int lineHeight(Font font) const = 0;
};

enum class Ink { normal, soft, faint, accent };

/// A text on the card. `text` is the whole of it, for screen readers; `lines`
/// is what there is room for.
struct Piece {
  enum class Look { text, numerals, time };
  Look look = Look::text;
  Box box;
  std::u16string text;
  std::vector<std::u16string> lines;
  Font font = Font::note;
  Ink ink = Ink::normal;
  bool isCentered = false;
};

/// A small round sign.
struct Mark {
  enum class Sign { ok, fail, none, unknown, safe, next };
  Box box;
  Sign sign;
  bool isFilled;
};

/// A card ready to be drawn, everything in pixels. A box that is empty (of no
/// width) belongs to something that this card does not have.
struct CardLayout {
  int width = 0;
  int height = 0;
  float scale = 1;
  std::vector<Piece> pieces;
  std::vector<Mark> marks;
  std::vector<Box> tags;
  Box statPanel;
  int place = 0;  ///< 1 to 3: the step of the podium to light up
  Box podium;
  Box detailRail;
  Box tearLine;
  Box codeField;
  Box copyButton;
  Box closeButton;
  Box countdown;  ///< where the countdown's text stands; it is no piece
  Box timeRail;   ///< runs empty until the card closes
};

/// Lays out a result card. `scale` is 1 at 96 dpi.
[[nodiscard]] CardLayout layOutResult(const CardContent& content, float scale,
                                      const FontSet& fonts);

/// Lays out the progress card; its `timeRail` is the bar that moves.
[[nodiscard]] CardLayout layOutProgress(const ProgressContent& content, float scale,
                                        const FontSet& fonts);

/// The largest scale not above `wanted` at which a card of that height (pixels
/// at `wanted`) still fits into `room` pixels.
[[nodiscard]] float fittingScale(float wanted, int height, int room);

}  // namespace launcher::card
