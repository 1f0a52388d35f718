#include "card/card_layout.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "card/numerals.h"

namespace launcher::card {
namespace {

// Measures of the cards in pixels at 100 %.
constexpr float kResultWidth = 440;
constexpr float kProgressWidth = 336;
constexpr float kMargin = 28;
constexpr float kTimeHeight = 84;
constexpr std::size_t kNoteLines = 3;
constexpr std::size_t kDetailLines = 3;

// Puts pieces below each other.
class Flow {
 public:
  Flow(CardLayout& layout, const FontSet& fonts, float width)
      : layout_(layout), fonts_(fonts) {
    layout_.width = px(width);
  }

  [[nodiscard]] int px(float value) const {
    return static_cast<int>(std::lround(value * layout_.scale));
  }
  [[nodiscard]] int left() const { return px(kMargin); }
  [[nodiscard]] int right() const { return layout_.width - px(kMargin); }
  [[nodiscard]] int y() const { return y_; }
  void skip(float gap) { y_ += px(gap); }
  void moveTo(int y) { y_ = y; }

  // A text of at most `maxLines` lines between the left and the right edge of
  // `room`, from its top on. Returns the lower edge, which the lines decide.
  int text(std::u16string_view words, Font font, Ink ink, const Box& room,
           std::size_t maxLines = 1) {
    Piece piece;
    piece.text = words;
    piece.font = font;
    piece.ink = ink;
    piece.lines = breakLines(words, room.width(), maxLines, fonts_.measure(font));
    piece.box = room;
    piece.box.bottom =
        room.top + fonts_.lineHeight(font) * static_cast<int>(piece.lines.size());
    layout_.pieces.push_back(piece);
    return piece.box.bottom;
  }

  // A line in the middle of a box's height.
  void textInMiddle(std::u16string_view words, Font font, Ink ink, Box room,
                    bool isCentered = false) {
    const int height = fonts_.lineHeight(font);
    room.top += (room.height() - height) / 2;
    text(words, font, ink, room);
    layout_.pieces.back().isCentered = isCentered;
  }

  [[nodiscard]] int lineHeight(Font font) const { return fonts_.lineHeight(font); }
  [[nodiscard]] int textWidth(std::u16string_view words, Font font) const {
    return fonts_.measure(font).width(words);
  }

 private:
  CardLayout& layout_;
  const FontSet& fonts_;
  int y_ = 0;
};

Mark::Sign signOf(Kind kind) {
  switch (kind) {
    case Kind::ok: return Mark::Sign::ok;
    case Kind::fail: return Mark::Sign::fail;
    case Kind::none: return Mark::Sign::none;
    default: return Mark::Sign::unknown;
  }
}

Mark::Sign signOf(Note::Sign sign, Kind kind) {
  if (sign == Note::Sign::safe) return Mark::Sign::safe;
  if (sign == Note::Sign::next) return Mark::Sign::next;
  return signOf(kind);
}

void addHead(const CardContent& content, Flow& flow, CardLayout& layout) {
  flow.skip(26);
  const int nameRight = flow.left() + (flow.right() - flow.left()) / 2;
  flow.moveTo(flow.text(kRaceName, Font::race, Ink::faint, {flow.left(), flow.y(), nameRight}));
  flow.skip(18);
  const int size = flow.px(32);
  layout.marks.push_back({{flow.left(), flow.y(), flow.left() + size, flow.y() + size},
                          signOf(content.kind), true});
  flow.textInMiddle(content.heading, Font::heading, Ink::normal,
                    {flow.left() + size + flow.px(12), flow.y(), flow.right(), flow.y() + size});
  flow.moveTo(flow.y() + size);
}

void addTime(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.time.empty()) return;
  flow.skip(24);
  flow.moveTo(
      flow.text(content.timeLabel, Font::label, Ink::faint, {flow.left(), flow.y(), flow.right()}));
  flow.skip(10);
  if (!content.timeIsClock) {
    flow.moveTo(
        flow.text(content.time, Font::heading, Ink::normal, {flow.left(), flow.y(), flow.right()}));
    return;
  }
  // A time with hours is set smaller instead of being cut.
  float height = static_cast<float>(flow.px(kTimeHeight));
  const float room = static_cast<float>(flow.right() - flow.left());
  height *= std::min(1.0F, room / timeWidth(content.time, height));
  Piece piece;
  piece.look = Piece::Look::time;
  piece.text = content.time;
  piece.box = {flow.left(), flow.y(), flow.right(), flow.y() + static_cast<int>(height)};
  layout.pieces.push_back(piece);
  flow.moveTo(piece.box.bottom);
}

void addTags(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.tags.empty()) return;
  flow.skip(20);
  const int gap = flow.px(8);
  const int padding = flow.px(12);
  const int height = flow.px(28);
  const int widest =
      (flow.right() - flow.left() - gap) / static_cast<int>(content.tags.size());
  int x = flow.left();
  for (const std::u16string& tag : content.tags) {
    const int width = std::min(flow.textWidth(tag, Font::tag) + 2 * padding, widest);
    const Box box{x, flow.y(), x + width, flow.y() + height};
    layout.tags.push_back(box);
    flow.textInMiddle(tag, Font::tag, Ink::soft,
                      {box.left + padding, box.top, box.right - padding, box.bottom}, true);
    x = box.right + gap;
  }
  flow.moveTo(flow.y() + height);
}

void addStat(const Stat& stat, const Box& room, Ink ink, Flow& flow, CardLayout& layout) {
  const int labelBottom = flow.text(stat.label, Font::label, Ink::faint, room);
  const int top = labelBottom + flow.px(8);
  const int height = flow.px(28);
  const bool hasNumerals =
      areNumerals(stat.value) && numeralsWidth(stat.value, static_cast<float>(height)) <=
                                     static_cast<float>(room.width());
  if (hasNumerals) {
    Piece piece;
    piece.look = Piece::Look::numerals;
    piece.text = stat.value;
    piece.ink = ink;
    piece.box = {room.left, top, room.right, top + height};
    layout.pieces.push_back(piece);
  } else {
    flow.textInMiddle(stat.value, Font::value, ink, {room.left, top, room.right, top + height});
  }
}

void addStats(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.stats.empty()) return;
  flow.skip(22);
  const int padding = flow.px(18);
  const int height = 2 * flow.px(16) + flow.lineHeight(Font::label) + flow.px(8) + flow.px(28);
  layout.statPanel = {flow.left(), flow.y(), flow.right(), flow.y() + height};
  const int column = layout.statPanel.width() / static_cast<int>(content.stats.size());
  int x = layout.statPanel.left;
  for (const Stat& stat : content.stats) {
    Box room{x + padding, flow.y() + flow.px(16), x + column - padding};
    if (stat.place > 0) {
      layout.place = stat.place;
      const int width = flow.px(45);
      const int bottom = layout.statPanel.bottom - flow.px(16);
      layout.podium = {room.right - width, bottom - flow.px(34), room.right, bottom};
      room.right -= width + flow.px(8);
    }
    addStat(stat, room, x == layout.statPanel.left ? Ink::accent : Ink::normal, flow, layout);
    x += column;
  }
  flow.moveTo(layout.statPanel.bottom);
}

void addNotes(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.notes.empty()) return;
  flow.skip(content.time.empty() ? 26 : 22);
  const int size = flow.px(22);
  for (const Note& note : content.notes) {
    layout.marks.push_back({{flow.left(), flow.y(), flow.left() + size, flow.y() + size},
                            signOf(note.sign, content.kind), false});
    const int inset = std::max((size - flow.lineHeight(Font::note)) / 2, 0);
    const Box room{flow.left() + size + flow.px(12), flow.y() + inset, flow.right()};
    const int bottom = flow.text(note.text, Font::note,
                                 note.sign == Note::Sign::what ? Ink::normal : Ink::soft, room,
                                 kNoteLines);
    flow.moveTo(std::max(bottom, flow.y() + size));
    flow.skip(12);
  }
  flow.skip(-12);
}

void addDetail(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.detail.empty()) return;
  flow.skip(22);
  const int top = flow.y();
  flow.moveTo(flow.text(content.detail, Font::detail, Ink::faint,
                        {flow.left() + flow.px(14), top, flow.right()}, kDetailLines));
  layout.detailRail = {flow.left(), top, flow.left() + flow.px(3), flow.y()};
}

void addLoginCode(const CardContent& content, Flow& flow, CardLayout& layout) {
  if (content.loginCode.empty()) return;
  flow.skip(24);
  layout.tearLine = {0, flow.y(), layout.width, flow.y() + flow.px(2)};
  flow.skip(20);
  const int labelWidth = flow.textWidth(kLoginLabel, Font::label);
  flow.text(kLoginLabel, Font::label, Ink::normal,
            {flow.left(), flow.y(), flow.left() + labelWidth});
  flow.moveTo(flow.text(kLoginHint, Font::label, Ink::faint,
                        {flow.left() + labelWidth + flow.px(10), flow.y(), flow.right()}));
  flow.skip(8);
  const int height = flow.px(40);
  const int button = flow.px(84);
  layout.copyButton = {flow.right() - button, flow.y(), flow.right(), flow.y() + height};
  layout.codeField = {flow.left(), flow.y(), layout.copyButton.left - flow.px(8),
                      flow.y() + height};
  Box room = layout.codeField;
  room.left += flow.px(14);
  room.right -= flow.px(14);
  flow.textInMiddle(clipText(content.loginCode, 200), Font::code, Ink::normal, room);
  flow.moveTo(layout.codeField.bottom);
}

void addFoot(Flow& flow, CardLayout& layout) {
  flow.skip(26);
  const int height = flow.px(40);
  layout.closeButton = {flow.right() - flow.px(120), flow.y(), flow.right(), flow.y() + height};
  const int line = flow.lineHeight(Font::label);
  const int top = flow.y() + (height - line) / 2;
  layout.countdown = {flow.left(), top, layout.closeButton.left - flow.px(12), top + line};
  flow.moveTo(layout.closeButton.bottom);
  flow.skip(24);
  layout.timeRail = {0, flow.y(), layout.width, flow.y() + flow.px(4)};
  layout.height = layout.timeRail.bottom;
}

}  // namespace

FontSpec fontSpec(Font font) {
  switch (font) {
    case Font::race: return {15, true, false};
    case Font::heading: return {25, true, false};
    case Font::label: return {13, false, false};
    case Font::tag: return {14, false, false};
    case Font::value: return {26, true, false};
    case Font::note: return {16, false, false};
    case Font::detail: return {13, false, false};
    case Font::code: return {19, false, true};
    case Font::button: return {15, true, false};
  }
  return {16, false, false};
}

CardLayout layOutResult(const CardContent& content, float scale, const FontSet& fonts) {
  CardLayout layout;
  layout.scale = scale;
  Flow flow(layout, fonts, kResultWidth);
  addHead(content, flow, layout);
  addTime(content, flow, layout);
  addTags(content, flow, layout);
  addStats(content, flow, layout);
  addNotes(content, flow, layout);
  addDetail(content, flow, layout);
  addLoginCode(content, flow, layout);
  addFoot(flow, layout);
  return layout;
}

CardLayout layOutProgress(const ProgressContent& content, float scale, const FontSet& fonts) {
  CardLayout layout;
  layout.scale = scale;
  Flow flow(layout, fonts, kProgressWidth);
  const int left = flow.px(20);
  const int right = layout.width - flow.px(20);
  flow.skip(16);
  flow.moveTo(flow.text(kRaceName, Font::label, Ink::faint, {left, flow.y(), right}));
  flow.skip(6);
  const int size = flow.px(24);
  int textLeft = left;
  if (content.kind != Kind::progress) {
    layout.marks.push_back(
        {{left, flow.y(), left + size, flow.y() + size}, signOf(content.kind), true});
    textLeft += size + flow.px(10);
  }
  const int hintWidth = flow.textWidth(content.hint, Font::label);
  flow.textInMiddle(content.heading, Font::note, Ink::normal,
                    {textLeft, flow.y(), right - hintWidth - flow.px(8), flow.y() + size});
  flow.textInMiddle(content.hint, Font::label, Ink::faint,
                    {right - hintWidth, flow.y(), right, flow.y() + size});
  flow.moveTo(flow.y() + size);
  flow.skip(14);
  layout.timeRail = {left, flow.y(), right, flow.y() + flow.px(6)};
  flow.moveTo(layout.timeRail.bottom);
  flow.skip(18);
  layout.height = flow.y();
  return layout;
}

float fittingScale(float wanted, int height, int room) {
  const int least = std::max(room, 1);
  if (height <= least) return wanted;
  return wanted * static_cast<float>(least) / static_cast<float>(height);
}

}  // namespace launcher::card
