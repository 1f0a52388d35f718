#include "card/time_text.h"

#include <cstddef>
#include <cstdint>

namespace launcher::card {
namespace {

constexpr std::int64_t kHundredthsPerHour = 360000;
constexpr std::int64_t kLimit = 1000 * kHundredthsPerHour;

bool isDigit(char16_t character) { return character >= u'0' && character <= u'9'; }

std::u16string_view bare(std::u16string_view text) {
  constexpr std::u16string_view kAround = u" \t\r\n\"";
  const std::size_t first = text.find_first_not_of(kAround);
  if (first == std::u16string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kAround) - first + 1);
}

// Hundredths of a second, or nothing. The digits are read one by one: no
// conversion of the C library, whose result depends on locale and runtime.
std::optional<std::int64_t> readHundredths(std::u16string_view text) {
  std::int64_t hundredths = 0;
  std::size_t position = 0;
  for (; position < text.size() && isDigit(text[position]); ++position) {
    hundredths = hundredths * 10 + (text[position] - u'0');
    if (hundredths * 100 >= kLimit) return std::nullopt;
  }
  const bool hasWhole = position > 0;
  hundredths *= 100;
  if (position == text.size()) return hasWhole ? std::optional(hundredths) : std::nullopt;
  if (text[position] != u'.') return std::nullopt;

  const std::size_t fraction = ++position;
  for (std::int64_t weight = 10; position < text.size(); ++position) {
    if (!isDigit(text[position])) return std::nullopt;
    const int digit = text[position] - u'0';
    if (position - fraction == 2 && digit >= 5) ++hundredths;
    hundredths += weight * digit;
    weight /= 10;
  }
  if (!hasWhole && position == fraction) return std::nullopt;
  return hundredths;
}

void appendNumber(std::u16string& text, std::int64_t number, int digits) {
  if (number >= 10 || digits > 1) appendNumber(text, number / 10, digits - 1);
  text.push_back(static_cast<char16_t>(u'0' + number % 10));
}

}  // namespace

std::optional<std::u16string> formatTime(std::u16string_view seconds) {
  const auto hundredths = readHundredths(bare(seconds));
  if (!hundredths || *hundredths <= 0 || *hundredths >= kLimit) return std::nullopt;
  const std::int64_t hours = *hundredths / kHundredthsPerHour;
  const std::int64_t minutes = *hundredths / 6000 % 60;
  std::u16string text;
  if (hours > 0) {
    appendNumber(text, hours, 1);
    text.push_back(u':');
  }
  appendNumber(text, minutes, hours > 0 ? 2 : 1);
  text.push_back(u':');
  appendNumber(text, *hundredths / 100 % 60, 2);
  text.push_back(u'.');
  appendNumber(text, *hundredths % 100, 2);
  return text;
}

}  // namespace launcher::card
