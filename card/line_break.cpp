#include "card/line_break.h"

namespace launcher::card {
namespace {

using View = std::u16string_view;

bool isLeadSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isTrailSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// Scripts that break beside every character: CJK and kana, with their full
// width punctuation, and the planes that only surrogate pairs reach.
bool isIdeographic(char16_t unit) {
  return (unit >= 0x2E80 && unit < 0xE000) || (unit >= 0xF900 && unit < 0xFB00) ||
         (unit >= 0xFF00 && unit < 0xFFF0);
}

bool mayNotBeginLine(char16_t unit) {
  return View(u"，。、；：！？）》」』】…—·,.;:!?)]}%").find(unit) != View::npos;
}

bool mayNotEndLine(char16_t unit) { return View(u"（《「『【([{").find(unit) != View::npos; }

// Whether a line may end between position - 1 and position.
bool mayBreak(View text, std::size_t position) {
  const char16_t before = text[position - 1];
  const char16_t after = text[position];
  if (isLeadSurrogate(before) && isTrailSurrogate(after)) return false;
  if (before == u' ' || after == u' ') return true;
  if (mayNotBeginLine(after) || mayNotEndLine(before)) return false;
  return isIdeographic(before) || isIdeographic(after);
}

// The longest prefix, in whole characters, that fits; by halving, because a
// measurement costs a system call.
std::size_t longestPrefix(View text, int maxWidth, const TextMeasure& measure) {
  std::size_t fits = 0;
  std::size_t tooLong = text.size() + 1;
  while (tooLong - fits > 1) {
    const std::size_t middle = fits + (tooLong - fits) / 2;
    (measure.width(text.substr(0, middle)) <= maxWidth ? fits : tooLong) = middle;
  }
  const bool splitsPair = fits > 0 && fits < text.size() && isLeadSurrogate(text[fits - 1]) &&
                          isTrailSurrogate(text[fits]);
  return splitsPair ? fits - 1 : fits;
}

std::size_t firstCharacter(View text) {
  const bool isPair = text.size() > 1 && isLeadSurrogate(text[0]) && isTrailSurrogate(text[1]);
  return isPair ? 2 : 1;
}

// Length of the next line; the blanks at its end are not drawn.
std::size_t nextLine(View text, int maxWidth, const TextMeasure& measure) {
  const std::size_t fits = longestPrefix(text, maxWidth, measure);
  if (fits == text.size()) return fits;
  for (std::size_t end = fits; end > 0; --end) {
    if (mayBreak(text, end)) return end;
  }
  return fits > 0 ? fits : firstCharacter(text);
}

View withoutBlanksAtEnd(View text) {
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  return text;
}

View withoutBlanksAround(View text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  return withoutBlanksAtEnd(text);
}

}  // namespace

std::u16string fitLine(std::u16string_view text, int maxWidth, const TextMeasure& measure) {
  constexpr View kEllipsis = u"…";
  text = withoutBlanksAround(text);
  if (measure.width(text) <= maxWidth) return std::u16string(text);
  // The ellipsis may need more room after a letter than alone: kerning, rounding.
  for (int room = maxWidth - measure.width(kEllipsis); room > 0;) {
    const View kept = withoutBlanksAtEnd(text.substr(0, longestPrefix(text, room, measure)));
    const std::u16string fitted = std::u16string(kept) + std::u16string(kEllipsis);
    const int excess = measure.width(fitted) - maxWidth;
    if (excess <= 0) return fitted;
    room -= excess;
  }
  return std::u16string(kEllipsis);
}

std::vector<std::u16string> breakLines(std::u16string_view text, int maxWidth,
                                       std::size_t maxLines, const TextMeasure& measure) {
  std::vector<std::u16string> lines;
  View rest = withoutBlanksAround(text);
  while (!rest.empty() && lines.size() < maxLines) {
    if (lines.size() + 1 == maxLines) {
      lines.push_back(fitLine(rest, maxWidth, measure));
      break;
    }
    const std::size_t length = nextLine(rest, maxWidth, measure);
    lines.emplace_back(withoutBlanksAtEnd(rest.substr(0, length)));
    rest = withoutBlanksAround(rest.substr(length));
  }
  return lines;
}

}  // namespace launcher::card
