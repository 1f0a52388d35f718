#include "card/fonts_win.h"

#include <cmath>
#include <cstddef>

namespace launcher::card {
namespace {

// ClearType smooths sideways only: fine for small letters, ragged for large.
constexpr float kLargeLetters = 20;

HFONT createFont(const FontSpec& spec, float scale) {
  LOGFONTW wanted{};
  const float size = spec.size * scale;
  wanted.lfHeight = -static_cast<LONG>(std::lround(size));
  wanted.lfWeight = spec.isBold ? FW_BOLD : FW_NORMAL;
  wanted.lfQuality = size >= kLargeLetters ? ANTIALIASED_QUALITY : DEFAULT_QUALITY;
  // Where the named face is missing, the character set makes Windows choose
  // one that has Chinese letters.
  wanted.lfCharSet = spec.isMono ? DEFAULT_CHARSET : GB2312_CHARSET;
  wanted.lfPitchAndFamily = spec.isMono ? FIXED_PITCH | FF_MODERN : VARIABLE_PITCH | FF_SWISS;
  lstrcpynW(wanted.lfFaceName, spec.isMono ? L"Consolas" : L"Microsoft YaHei UI", LF_FACESIZE);
  return CreateFontIndirectW(&wanted);
}

}  // namespace

void Fonts::Face::open(HDC context, const FontSpec& spec, float scale) {
  context_ = context;
  font_ = createFont(spec, scale);
  const HGDIOBJ previous = SelectObject(context_, font_);
  TEXTMETRICW metrics{};
  GetTextMetricsW(context_, &metrics);
  SelectObject(context_, previous);
  // Chinese text wants some air between its lines.
  const float roomy = spec.size * scale * 1.45F;
  const int needed = static_cast<int>(metrics.tmHeight);
  lineHeight_ = needed > static_cast<int>(roomy) ? needed : static_cast<int>(roomy);
}

void Fonts::Face::close() {
  if (font_ != nullptr) DeleteObject(font_);
  font_ = nullptr;
}

int Fonts::Face::width(std::u16string_view text) const {
  const HGDIOBJ previous = SelectObject(context_, font_);
  SIZE size{};
  GetTextExtentPoint32W(context_, wide(text.data()), static_cast<int>(text.size()), &size);
  SelectObject(context_, previous);
  return size.cx;
}

Fonts::Fonts(float scale) : context_(CreateCompatibleDC(nullptr)) {
  for (std::size_t index = 0; index < faces_.size(); ++index) {
    faces_[index].open(context_, fontSpec(static_cast<Font>(index)), scale);
  }
}

Fonts::~Fonts() {
  for (Face& face : faces_) face.close();
  DeleteDC(context_);
}

const Fonts::Face& Fonts::face(Font font) const { return faces_[static_cast<std::size_t>(font)]; }

const TextMeasure& Fonts::measure(Font font) const { return face(font); }

int Fonts::lineHeight(Font font) const { return face(font).lineHeight(); }

void Fonts::draw(HDC target, const Piece& piece, Color color) const {
  Box line = piece.box;
  line.bottom = line.top + lineHeight(piece.font);
  for (const std::u16string& text : piece.lines) {
    if (piece.isCentered) {
      drawCentered(target, text, piece.font, line, color);
    } else {
      Box exact = line;
      exact.right = exact.left + face(piece.font).width(text);
      drawCentered(target, text, piece.font, exact, color);
    }
    line.top = line.bottom;
    line.bottom += lineHeight(piece.font);
  }
}

void Fonts::drawCentered(HDC target, std::u16string_view line, Font font, const Box& box,
                         Color color) const {
  const HGDIOBJ previous = SelectObject(target, face(font).handle());
  SetBkMode(target, TRANSPARENT);
  SetTextColor(target, RGB(color.red, color.green, color.blue));
  SIZE size{};
  GetTextExtentPoint32W(target, wide(line.data()), static_cast<int>(line.size()), &size);
  ExtTextOutW(target, box.left + (box.width() - size.cx) / 2,
              box.top + (box.height() - size.cy) / 2, 0, nullptr, wide(line.data()),
              static_cast<UINT>(line.size()), nullptr);
  SelectObject(target, previous);
}

}  // namespace launcher::card
