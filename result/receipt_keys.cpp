#include "result/receipt_keys.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <utility>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

namespace launcher {
namespace {

struct Letters {
  char letter[std::size(kEndingMaps)] = {};
  std::size_t count = 0;
};

/// Letters of which every word of kEndingMaps has one: a word without any of those before
/// it adds its first. A letter that most other maps have ("L" of "Level") would be right, too,
/// but slow.
constexpr Letters kTelltales = [] {
  Letters telltales;
  for (const std::string_view word : kEndingMaps) {
    const std::string_view known(telltales.letter, telltales.count);
    if (word.find_first_of(known) == npos) telltales.letter[telltales.count++] = word.front();
  }
  return telltales;
}();

using EachTelltale = std::make_index_sequence<kTelltales.count>;

template <std::size_t... i>
constexpr bool isTelltale(char letter, std::index_sequence<i...> /*each*/) {
  return (... || (letter == kTelltales.letter[i]));
}

/// Looks at every place where a quote and a colon follow each other: all keys end so.
class KeyFinder {
 public:
  explicit KeyFinder(std::string_view text) : text_(text) {}

  ReceiptKeys find() {
    std::size_t at = 0;
#if defined(__SSE2__) || defined(_M_X64)
    const __m128i quotes = _mm_set1_epi8('"');
    const __m128i colons = _mm_set1_epi8(':');
    for (; at + 17 <= text_.size(); at += 16) {
      const __m128i here = load(at);
      const __m128i next = load(at + 1);
      const __m128i hits =
          _mm_and_si128(_mm_cmpeq_epi8(here, quotes), _mm_cmpeq_epi8(next, colons));
      auto mask = static_cast<unsigned>(_mm_movemask_epi8(hits));
      for (; mask != 0; mask &= mask - 1) {
        look(at + static_cast<std::size_t>(std::countr_zero(mask)));
      }
    }
#endif
    for (; at + 1 < text_.size(); ++at) {
      if (text_[at] == '"' && text_[at + 1] == ':') look(at);
    }
    return keys_;
  }

 private:
#if defined(__SSE2__) || defined(_M_X64)
  [[nodiscard]] __m128i load(std::size_t at) const {
    __m128i bytes;
    std::memcpy(&bytes, text_.data() + at, sizeof(bytes));
    return bytes;
  }

  /// A bit for each byte that is this one, the first byte's lowest.
  static unsigned maskOf(__m128i bytes, char byte) {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte))));
  }

  template <std::size_t... i>
  static unsigned telltaleMask(__m128i bytes, std::index_sequence<i...> /*each*/) {
    return (... | maskOf(bytes, kTelltales.letter[i]));
  }
#endif

  /// True when `key` and its opening quote stand right before the quote at `close`.
  [[nodiscard]] bool isKey(std::string_view key, std::size_t close) const {
    if (close < key.size() + 1) return false;
    const std::size_t begin = close - key.size();
    return text_[begin - 1] == '"' && std::memcmp(text_.data() + begin, key.data(), key.size()) == 0;
  }

  /// Keeps the place of the first `key`.
  void keepFirst(std::size_t& place, std::string_view key, std::size_t close) const {
    if (place == npos && isKey(key, close)) place = close - key.size() - 1;
  }

  /// A key may end in the quote at `close`; its last letter says which.
  void look(std::size_t close) {
    if (close == 0) return;
    switch (text_[close - 1]) {
      case 't': return lookAtTime(close);
      case 'i': return lookAtIndex(close);
      case 'p': return lookAtMap(close);
      case 's': return keepFirst(keys_.status, "status", close);
      case 'g': return keepFirst(keys_.ending, "ending", close);
      case 'l': return keepFirst(keys_.total, "total", close);
      case 'y': return lookAtDifficulty(close);
      default: return;
    }
  }

  void lookAtTime(std::size_t close) {
    if (isKey("t", close)) keys_.lastTime = close - 2;
  }

  void lookAtIndex(std::size_t close) {
    if (isKey("i", close)) ++keys_.splits;
  }

  void lookAtDifficulty(std::size_t close) {
    if (!isKey("difficulty", close)) return;
    const std::size_t place = close - 11;
    if (keys_.difficulty == npos) keys_.difficulty = place;
    const bool isText = close + 2 < text_.size() && text_[close + 2] == '"';
    if (isText && keys_.difficultyText == npos) keys_.difficultyText = place;
  }

  /// The walk over the splits. It goes on at the closing quote of each map name, so a
  /// pattern that begins inside a name is none; and it ends at a name that never closes.
  void lookAtMap(std::size_t close) {
    const bool isText = close + 2 < text_.size() && text_[close + 2] == '"';
    if (!isText || !isKey("map", close)) return;
    const std::size_t name = close + 3;
    const bool isMark = text_.substr(name).starts_with(kEndingMark);
    if (isMark) keys_.hasEndingMark = true;
    if (close - 4 < walk_) return;
    const Name read = readName(name);
    if (read.end == text_.size()) return;  // no quote follows, so no key either
    walk_ = read.end;
    if (!isMark && !(read.hasTelltale && isEndingMap(text_.substr(name, read.end - name)))) {
      return;
    }
    keys_.endingMap = name;
    keys_.endingMapEnd = read.end;
  }

  struct Name {
    std::size_t end = 0;       ///< its closing quote; the text's size without one
    bool hasTelltale = false;  ///< one of kTelltales: it may be an ending map
  };

  [[nodiscard]] Name readName(std::size_t at) const {
    Name name;
#if defined(__SSE2__) || defined(_M_X64)
    for (; at + 16 <= text_.size(); at += 16) {
      const __m128i bytes = load(at);
      const unsigned quotes = maskOf(bytes, '"');
      const unsigned telltales = telltaleMask(bytes, EachTelltale());
      const unsigned before = quotes == 0 ? ~0U : (quotes & (0U - quotes)) - 1;
      name.hasTelltale = name.hasTelltale || (telltales & before) != 0;
      if (quotes == 0) continue;
      name.end = at + static_cast<std::size_t>(std::countr_zero(quotes));
      return name;
    }
#endif
    for (; at < text_.size() && text_[at] != '"'; ++at) {
      name.hasTelltale = name.hasTelltale || isTelltale(text_[at], EachTelltale());
    }
    name.end = at;
    return name;
  }

  std::string_view text_;
  ReceiptKeys keys_;
  std::size_t walk_ = 0;
};

}  // namespace

ReceiptKeys findReceiptKeys(std::string_view text) { return KeyFinder(text).find(); }

ReceiptKeys movedKeys(const ReceiptKeys& keys, std::size_t begin, std::size_t end,
                      std::size_t newSize) {
  ReceiptKeys moved = keys;
  for (std::size_t* place :
       {&moved.status, &moved.ending, &moved.total, &moved.difficulty, &moved.difficultyText,
        &moved.lastTime, &moved.endingMap, &moved.endingMapEnd}) {
    if (*place != npos && *place >= end) *place += newSize - (end - begin);
  }
  return moved;
}

bool isEndingMap(std::string_view map) {
  return std::any_of(std::begin(kEndingMaps), std::end(kEndingMaps), [map](std::string_view part) {
    return findText(map, part, 0) != npos;
  });
}

}  // namespace launcher
