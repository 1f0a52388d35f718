#include "core/text.h"

namespace launcher {

std::string trimBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  const std::size_t last = text.find_last_not_of(kBlanks);
  return std::string(text.substr(first, last - first + 1));
}

std::string trimEnd(std::string_view text, std::string_view set) {
  const std::size_t last = text.find_last_not_of(set);
  if (last == std::string_view::npos) return {};
  return std::string(text.substr(0, last + 1));
}

std::string trimLineEnd(std::string_view text) { return trimEnd(text, "\n\r "); }

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  std::string result;
  std::size_t start = 0;
  for (;;) {
    const std::size_t hit = text.find(from, start);
    if (hit == std::string_view::npos) break;
    result.append(text.substr(start, hit - start));
    result.append(to);
    start = hit + from.size();
  }
  result.append(text.substr(start));
  return result;
}

std::string stripTrailingSlashes(std::string_view address) { return trimEnd(address, "/"); }

void appendPadded(std::string& text, long number, int digits) {
  if (digits > 1 || number > 9) appendPadded(text, number / 10, digits - 1);
  text += static_cast<char>('0' + number % 10);
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  result.append(text);
  result.push_back('"');
  return result;
}

std::vector<std::string_view> linePieces(std::string_view text, std::size_t bufferBytes) {
  const std::size_t longest = bufferBytes - 1;
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    std::string_view piece = text.substr(0, longest);
    const std::size_t lineFeed = piece.find('\n');
    if (lineFeed != std::string_view::npos) piece = piece.substr(0, lineFeed + 1);
    text.remove_prefix(piece.size());
    pieces.push_back(piece.substr(0, piece.find('\0')));
  }
  return pieces;
}

std::string fromTextMode(std::string_view bytes) {
  return replaceAll(bytes.substr(0, bytes.find('\x1A')), "\r\n", "\n");
}

std::string toTextMode(std::string_view text) { return replaceAll(text, "\n", "\r\n"); }

}  // namespace launcher
