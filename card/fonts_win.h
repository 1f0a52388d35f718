#pragma once

#include <windows.h>

#include <array>

#include "card/card_layout.h"
#include "card/palette.h"

namespace launcher::card {

/// The card's fonts at one scale.
class Fonts final : public FontSet {
 public:
  /// `scale` is 1 at 96 dpi.
  explicit Fonts(float scale);
  ~Fonts() override;
  Fonts(const Fonts&) = delete;
  Fonts& operator=(const Fonts&) = delete;

  [[nodiscard]] const TextMeasure& measure(Font font) const override;
  [[nodiscard]] int lineHeight(Font font) const override;

  /// Draws the lines of a piece below each other.
  void draw(HDC target, const Piece& piece, Color color) const;
  /// Draws one line in the middle of a box.
  void drawCentered(HDC target, std::u16string_view line, Font font, const Box& box,
                    Color color) const;

 private:
  class Face final : public TextMeasure {
   public:
    void open(HDC context, const FontSpec& spec, float scale);
    void close();
    [[nodiscard]] int width(std::u16string_view text) const override;
    [[nodiscard]] int lineHeight() const { return lineHeight_; }
    [[nodiscard]] HFONT handle() const { return font_; }

   private:
    HDC context_ = nullptr;
    HFONT font_ = nullptr;
    int lineHeight_ = 0;
  };

  [[nodiscard]] const Face& face(Font font) const;

  HDC context_;
  std::array<Face, kFontCount> faces_;
};

/// UTF-16 text as Windows' functions take it: the same units, another name.
[[nodiscard]] inline const wchar_t* wide(const char16_t* text) {
  return reinterpret_cast<const wchar_t*>(text);
}

}  // namespace launcher::card
