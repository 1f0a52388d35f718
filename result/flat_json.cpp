#include "result/flat_json.h"

#include "core/number.h"
#include "core/text.h"

namespace launcher {
namespace {

constexpr std::string_view kValueEnds = ",}";

std::string replaceSpan(std::string_view text, const Span& span, std::string_view value) {
  std::string result;
  result.reserve(text.size() + value.size());
  result.append(text.substr(0, span.begin)).append(value).append(text.substr(span.end));
  return result;
}

std::optional<Span> quotedSpan(std::string_view text, std::string_view pattern) {
  return quotedSpanAt(text, findText(text, pattern, 0), pattern);
}

std::optional<Span> rawSpan(std::string_view text, std::string_view pattern) {
  return rawSpanAt(text, findText(text, pattern, 0), pattern);
}

}  // namespace

std::size_t findText(std::string_view text, std::string_view needle, std::size_t start) {
  return text.find(needle, start);
}

std::size_t findChar(std::string_view text, char byte, std::size_t start) {
  return text.find(byte, start);
}

std::size_t findFirstOf(std::string_view text, std::string_view set, std::size_t start) {
  return text.find_first_of(set, start);
}

std::string_view spanText(std::string_view text, const Span& span) {
  return text.substr(span.begin, span.end - span.begin);
}

std::optional<Span> quotedSpanAt(std::string_view text, std::size_t hit,
                                 std::string_view pattern) {
  if (hit == npos) return std::nullopt;
  const std::size_t behind = hit + pattern.size();
  const bool opened = pattern.ends_with('"');
  const std::size_t open = opened ? behind - 1 : findChar(text, '"', behind);
  if (open == npos) return std::nullopt;
  const std::size_t close = findChar(text, '"', open + 1);
  if (close == npos) return std::nullopt;
  return Span{open + 1, close};
}

std::optional<Span> rawSpanAt(std::string_view text, std::size_t hit, std::string_view pattern) {
  if (hit == npos) return std::nullopt;
  const std::size_t begin = hit + pattern.size();
  const std::size_t end = findFirstOf(text, kValueEnds, begin);
  if (end == npos) return std::nullopt;
  return Span{begin, end};
}

std::string rawJsonField(std::string_view text, std::string_view key) {
  const std::size_t hit = findText(text, key, 0);
  if (hit == npos) return "-";
  const std::size_t colon = findChar(text, ':', hit);
  if (colon == npos) return "-";
  const std::size_t end = findFirstOf(text, kValueEnds, colon);
  return trimBlanks(text.substr(colon + 1, end == npos ? npos : end - colon - 1));
}

std::optional<std::string> rawValueAfter(std::string_view text, std::string_view pattern) {
  const std::optional<Span> span = rawSpan(text, pattern);
  if (!span) return std::nullopt;
  return std::string(spanText(text, *span));
}

std::optional<std::string> quotedValueAfter(std::string_view text, std::string_view pattern) {
  const std::optional<Span> span = quotedSpan(text, pattern);
  if (!span) return std::nullopt;
  return std::string(spanText(text, *span));
}

std::string replaceQuotedValue(std::string_view text, std::string_view pattern,
                               std::string_view value) {
  const std::optional<Span> span = quotedSpan(text, pattern);
  return span ? replaceSpan(text, *span, value) : std::string(text);
}

std::string replaceRawValue(std::string_view text, std::string_view pattern,
                            std::string_view value) {
  const std::optional<Span> span = rawSpan(text, pattern);
  return span ? replaceSpan(text, *span, value) : std::string(text);
}

double numberAfterFrom(const std::string& text, std::string_view pattern, std::size_t start,
                       double absent) {
  const std::size_t hit = findText(text, pattern, start);
  return hit == npos ? absent : readDecimal(text.c_str() + hit + pattern.size());
}

double numberAfter(const std::string& text, std::string_view pattern, double absent) {
  return numberAfterFrom(text, pattern, 0, absent);
}

int integerAfter(const std::string& text, std::string_view pattern, int absent) {
  const std::size_t hit = findText(text, pattern, 0);
  return hit == npos ? absent : readInteger(text.c_str() + hit + pattern.size());
}

}  // namespace launcher
