// The text operations compared with plain, slow forms of the same rules, on a few
// thousand small random texts that are rich in quotes, colons and halves of keys.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "core/text.h"
#include "livesplit/start_text.h"
#include "livesplit/time_reply.h"
#include "result/flat_json.h"
#include "result/receipt_keys.h"
#include "result/run_check.h"
#include "server/weekly_files.h"
#include "steam/vdf.h"
#include "tests/unit/receipt_forms.h"

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

using Parts = std::vector<std::string>;
using MaybeText = std::optional<std::string>;

constexpr int kTexts = 6000;

/// Always the same texts: joined from `parts`, up to `longest` of them each.
class RandomTexts {
 public:
  RandomTexts(std::uint32_t seed, Parts parts, std::uint32_t longest)
      : random_(seed), parts_(std::move(parts)), longest_(longest) {}

  std::string next() {
    std::string text;
    const std::uint32_t count = below(longest_ + 1);
    for (std::uint32_t i = 0; i < count; ++i) {
      text += parts_[below(static_cast<std::uint32_t>(parts_.size()))];
    }
    return text;
  }

  std::uint32_t below(std::uint32_t limit) {
    return static_cast<std::uint32_t>(random_()) % limit;
  }

 private:
  std::mt19937 random_;
  Parts parts_;
  std::uint32_t longest_;
};

// Plain forms --------------------------------------------------------------

bool standsAt(const std::string& text, const std::string& needle, std::size_t at) {
  if (at + needle.size() > text.size()) return false;
  for (std::size_t i = 0; i < needle.size(); ++i) {
    if (text[at + i] != needle[i]) return false;
  }
  return true;
}

std::size_t plainFind(const std::string& text, const std::string& needle, std::size_t start) {
  for (std::size_t at = start; at <= text.size(); ++at) {
    if (standsAt(text, needle, at)) return at;
  }
  return npos;
}

std::size_t plainFindLast(const std::string& text, const std::string& needle) {
  std::size_t last = npos;
  for (std::size_t at = 0; at <= text.size(); ++at) {
    if (standsAt(text, needle, at)) last = at;
  }
  return last;
}

std::size_t plainFindByte(const std::string& text, const std::string& set, std::size_t start) {
  for (std::size_t at = start; at < text.size(); ++at) {
    for (const char byte : set) {
      if (text[at] == byte) return at;
    }
  }
  return npos;
}

std::string cut(const std::string& text, std::size_t begin, std::size_t end) {
  std::string result;
  for (std::size_t at = begin; at < end && at < text.size(); ++at) result += text[at];
  return result;
}

std::string plainTrim(std::string text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && blank(text[0])) text.erase(0, 1);
  while (!text.empty() && blank(text[text.size() - 1])) text.resize(text.size() - 1);
  return text;
}

std::string plainRawField(const std::string& text, const std::string& key) {
  const std::size_t k = plainFind(text, key, 0);
  if (k == npos) return "-";
  const std::size_t c = plainFind(text, ":", k);
  if (c == npos) return "-";
  return plainTrim(cut(text, c + 1, plainFindByte(text, ",}", c)));
}

struct Quotes {
  std::size_t first;
  std::size_t second;
};

std::optional<Quotes> plainQuotes(const std::string& text, const std::string& pattern) {
  const std::size_t p = plainFind(text, pattern, 0);
  if (p == npos) return std::nullopt;
  std::size_t q1 = p + pattern.size() - 1;
  if (pattern[pattern.size() - 1] != '"') q1 = plainFindByte(text, "\"", p + pattern.size());
  if (q1 == npos) return std::nullopt;
  const std::size_t q2 = plainFindByte(text, "\"", q1 + 1);
  if (q2 == npos) return std::nullopt;
  return Quotes{q1, q2};
}

MaybeText plainQuoted(const std::string& text, const std::string& pattern) {
  const auto quotes = plainQuotes(text, pattern);
  if (!quotes) return std::nullopt;
  return cut(text, quotes->first + 1, quotes->second);
}

std::string plainReplaceQuoted(const std::string& text, const std::string& pattern,
                               const std::string& value) {
  const auto quotes = plainQuotes(text, pattern);
  if (!quotes) return text;
  return cut(text, 0, quotes->first + 1) + value + cut(text, quotes->second, npos);
}

MaybeText plainRawValue(const std::string& text, const std::string& pattern) {
  const std::size_t p = plainFind(text, pattern, 0);
  if (p == npos) return std::nullopt;
  const std::size_t e = plainFindByte(text, ",}", p + pattern.size());
  if (e == npos) return std::nullopt;
  return cut(text, p + pattern.size(), e);
}

std::string plainReplaceRaw(const std::string& text, const std::string& pattern,
                            const std::string& value) {
  const MaybeText old = plainRawValue(text, pattern);
  if (!old) return text;
  const std::size_t s = plainFind(text, pattern, 0) + pattern.size();
  return cut(text, 0, s) + value + cut(text, s + old->size(), npos);
}

double plainNumber(const std::string& text, const std::string& pattern, std::size_t start) {
  const std::size_t p = plainFind(text, pattern, start);
  if (p == npos) return -1.0;
  return std::atof(cut(text, p + pattern.size(), npos).c_str());
}

/// "map/seconds" of the last ending split, looking up the time of every split.
std::string plainEndingSplit(const std::string& text) {
  std::string result = "none";
  std::size_t position = 0;
  for (;;) {
    const std::size_t hit = plainFind(text, "\"map\":\"", position);
    if (hit == npos) return result;
    const std::size_t close = plainFindByte(text, "\"", hit + 7);
    if (close == npos) return result;
    const std::string map = cut(text, hit + 7, close);
    position = close;
    const double seconds = plainNumber(text, "\"t\":", close);
    for (const char* mark : {"3999", "Tunnel", "Final Escape", "Neon", "ENDING:"}) {
      if (plainFind(map, mark, 0) == npos) continue;
      result = map + "/" + std::to_string(seconds);
      break;
    }
  }
}

std::string plainInferredEnding(const std::string& map, int splits) {
  const auto holds = [&map](const char* part) { return plainFind(map, part, 0) != npos; };
  if (standsAt(map, "ENDING:", 0)) {
    for (const char* ending : {"arcade", "main", "true"}) {
      if (map == "ENDING:"s + ending) return ending;
    }
    return "main";
  }
  if (holds("Neon")) return "arcade";
  if (holds("Tunnel")) return "main";
  if (holds("3999") || holds("Arcade") || holds("Final Escape")) {
    return splits < 45 ? "arcade" : "true";
  }
  return "main";
}

std::string plainSettled(const std::string& text, const std::string& inferred) {
  const std::string settled = plainReplaceQuoted(text, "\"status\":", "ending");
  const MaybeText ending = plainQuoted(settled, "\"ending\":");
  if (!ending || *ending == "arcade" || *ending == "main" || *ending == "true") return settled;
  return plainReplaceQuoted(settled, "\"ending\":", inferred);
}

Parts plainTokens(const std::string& text) {
  Parts tokens;
  std::string gathered;
  bool inside = false;
  for (const char c : text) {
    if (c == '"') {
      if (inside) tokens.push_back(gathered);
      gathered.clear();
      inside = !inside;
    } else if (inside) {
      gathered += c;
    }
  }
  return tokens;
}

/// Lines as fgets hands them out, one byte at a time.
Parts plainLines(const std::string& text, std::size_t bufferBytes) {
  Parts lines;
  std::size_t at = 0;
  while (at < text.size()) {
    std::string line;
    while (at < text.size() && line.size() < bufferBytes - 1) {
      line += text[at++];
      if (line[line.size() - 1] == '\n') break;
    }
    lines.push_back(line.c_str());
  }
  return lines;
}

std::string plainReplaceAll(std::string text, const std::string& from, const std::string& to) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (!standsAt(text, from, at)) {
      ++at;
      continue;
    }
    text = cut(text, 0, at) + to + cut(text, at + from.size(), npos);
    at += to.size();
  }
  return text;
}

/// The rewrite in place, element by element.
MaybeText plainLayout(std::string text, const std::string& layout) {
  bool changed = false;
  std::size_t position = 0;
  for (;;) {
    const std::size_t open = plainFind(text, "<LayoutPath>", position);
    if (open == npos) break;
    const std::size_t value = open + 12;
    const std::size_t close = plainFind(text, "</LayoutPath>", value);
    if (close == npos) break;
    if (cut(text, value, close) == layout) {
      position = close;
      continue;
    }
    text = cut(text, 0, value) + layout + cut(text, close, npos);
    changed = true;
    position = value + layout.size();
  }
  if (!changed) return std::nullopt;
  return text;
}

std::string plainSeed(const std::string& text) {
  const std::size_t key = plainFind(text, "\"seed\"", 0);
  if (key == npos) return "";
  std::size_t at = plainFind(text, ":", key);
  if (at == npos) return "";
  ++at;
  while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
  std::string digits;
  while (at < text.size() && "0123456789"s.find(text[at]) != std::string::npos) {
    digits += text[at++];
  }
  return digits;
}

/// The reply as the C library scans it.
std::optional<double> plainTime(const std::string& reply) {
  int first = 0;
  int second = 0;
  double rest = 0.0;
  double seconds = -1.0;
  if (std::sscanf(reply.c_str(), "%d:%d:%lf", &first, &second, &rest) == 3) {
    seconds = first * 3600.0 + second * 60.0 + rest;
  } else if (std::sscanf(reply.c_str(), "%d:%lf", &first, &rest) == 2) {
    seconds = first * 60.0 + rest;
  }
  if (!(seconds > 0.0)) return std::nullopt;
  return seconds;
}

// Comparisons --------------------------------------------------------------

const Parts kJsonParts = {
    "\"", "\"", ":", ",", "}", "{", "]", " ", "\t", "\r\n", "\\", "\0"s, "\xFF", "赛",
    "1", "2.5", "-3", "main", "exit", "true", "arcade",
    "\"status\"", "\"status\":", "\"status\":\"", "status\":",
    "\"ending\"", "\"ending\":", "\"ending\":\"",
    "\"total\"", "\"total\":", "\"t\"", "\"t\":", "\"i\":", "\"map\":\"", "map\":\"",
    "\"difficulty\":", "\"difficulty\":\"", "easy", "\"map\":\"ENDING:",
    "Arcade", "Level 0"};

/// With every ending map that there is: one that the plain forms do not know shows.
Parts withEndingMaps(Parts parts) {
  parts.insert(parts.end(), std::begin(kEndingMaps), std::end(kEndingMaps));
  return parts;
}

const Parts kReceiptParts = withEndingMaps(kJsonParts);

const Parts kKeys = {"\"status\"", "\"ending\"", "\"total\"", "\"t\"", "\"i\"", "\"map\""};

TEST(NaiveForms, searches) {
  RandomTexts texts(1, {"a", "b", "\"", ":", ",", "}", "\0"s, "\xFF"}, 12);
  RandomTexts needles(2, {"a", "b", "\"", ":", ",", "}", "\0"s, "\xFF"}, 3);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    const std::string needle = needles.next();
    const std::size_t start = texts.below(15);
    const std::string where = "text " + text + " needle " + needle + " " + std::to_string(start);
    ASSERT_EQ(findText(text, needle, start), plainFind(text, needle, start)) << where;
    ASSERT_EQ(findFirstOf(text, needle, start), plainFindByte(text, needle, start)) << where;
    ASSERT_EQ(findChar(text, '"', start), plainFindByte(text, "\"", start)) << where;
    ASSERT_EQ(findChar(text, '\0', start), plainFindByte(text, "\0"s, start)) << where;
  }
}

TEST(NaiveForms, flatReadsAndRewrites) {
  RandomTexts texts(3, kReceiptParts, 24);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    for (const std::string& key : kKeys) {
      ASSERT_EQ(rawJsonField(text, key), plainRawField(text, key)) << text;
      for (const std::string& pattern : {key + ":", key + ":\""}) {
        ASSERT_EQ(quotedValueAfter(text, pattern), plainQuoted(text, pattern)) << text;
        ASSERT_EQ(replaceQuotedValue(text, pattern, "new"),
                  plainReplaceQuoted(text, pattern, "new"))
            << text;
        ASSERT_EQ(rawValueAfter(text, pattern), plainRawValue(text, pattern)) << text;
        ASSERT_EQ(replaceRawValue(text, pattern, "9.00"), plainReplaceRaw(text, pattern, "9.00"))
            << text;
      }
      const std::size_t start = texts.below(20);
      ASSERT_EQ(numberAfterFrom(text, key + ":", start, -1.0),
                plainNumber(text, key + ":", start))
          << text;
    }
  }
}

TEST(NaiveForms, runJudgement) {
  RandomTexts texts(4, kReceiptParts, 40);
  int endings = 0;
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = "{" + texts.next();
    const EndingSplit split = findEndingSplit(text);
    endings += split.found ? 1 : 0;
    ASSERT_EQ(split.found ? split.map + "/" + std::to_string(split.seconds) : "none",
              plainEndingSplit(text))
        << text;
    const std::size_t last = plainFindLast(text, "\"t\":");
    ASSERT_EQ(lastSplitSeconds(text), last == npos ? -1.0 : plainNumber(text, "\"t\":", last))
        << text;
    int indexes = 0;
    for (std::size_t at = 0; at < text.size(); ++at) indexes += standsAt(text, "\"i\":", at);
    ASSERT_EQ(countSplits(text), indexes) << text;
    ASSERT_EQ(settleEnding(text, "true"), plainSettled(text, "true")) << text;
    const bool marked = plainFind(text, "\"map\":\"ENDING:", 0) != npos;
    ASSERT_EQ(rejectReceipt(text, false).has_value(), !marked) << text;
  }
  EXPECT_GT(endings, kTexts / 10);
}

/// All that a receipt tells, as one text.
std::string tellings(Receipt receipt) {
  const EndingSplit split = receipt.endingSplit();
  std::string all = split.map + "/" + std::to_string(split.seconds) + "/" +
                    std::to_string(receipt.splitCount()) + "/" +
                    std::to_string(receipt.lastSplitSeconds()) + "/" +
                    receipt.gameDifficulty().value_or("none") + "/" +
                    (receipt.hasDifficulty() ? "key" : "no key") + "/" +
                    (receipt.reject(false) ? "rejected" : "passed") + "/";
  all += receipt.replaceTotal(5.0).value_or("no total");
  return all + "/" + receipt.text();
}

// A receipt keeps its keys' places through its rewrites instead of looking for them again.
TEST(NaiveForms, rewrittenReceiptTellsWhatItsTextSays) {
  RandomTexts texts(11, kReceiptParts, 40);
  int rewritten = 0;
  for (int i = 0; i < 5 * kTexts; ++i) {
    const std::string text = "{" + texts.next();
    Receipt receipt(text);
    ASSERT_EQ(tellings(receipt), tellings(Receipt(receipt.text()))) << text;
    receipt.settleEnding("arcade");
    ASSERT_EQ(tellings(receipt), tellings(Receipt(receipt.text()))) << text;
    (void)receipt.replaceTotal(3723.5);
    ASSERT_EQ(tellings(receipt), tellings(Receipt(receipt.text()))) << text;
    rewritten += receipt.text() != text ? 1 : 0;
  }
  EXPECT_GT(rewritten, kTexts / 10);
}

TEST(NaiveForms, inferredEnding) {
  RandomTexts maps(5, withEndingMaps({"Arcade", "arcade", "main", "true", " ", "x"}), 4);
  for (int i = 0; i < kTexts; ++i) {
    const std::string map = maps.next();
    const int splits = static_cast<int>(maps.below(90));
    ASSERT_EQ(inferEnding(map, splits), plainInferredEnding(map, splits)) << map << splits;
  }
}

TEST(NaiveForms, vdfTokens) {
  RandomTexts texts(6, {"\"", "\"", "\"\"", "\\", "{", "}", "\t", "\r\n", "path", "\0"s, "\xFF"},
                    30);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    ASSERT_EQ(tokenizeVdf(text), plainTokens(text)) << text;
  }
}

TEST(NaiveForms, linePieces) {
  RandomTexts texts(7, {"a", "b=", "\n", "\r\n", "\r", "\0"s, "\xFF"}, 30);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    const std::size_t bufferBytes = 2 + texts.below(8);
    Parts pieces;
    for (const std::string_view piece : linePieces(text, bufferBytes)) pieces.emplace_back(piece);
    ASSERT_EQ(pieces, plainLines(text, bufferBytes)) << text << " " << bufferBytes;
  }
}

TEST(NaiveForms, trimsAndReplacements) {
  RandomTexts texts(8, {"a", "b", "ab", " ", "\t", "\r", "\n", "\0"s, "/", "\\"}, 16);
  RandomTexts parts(9, {"a", "b", "\\", " "}, 3);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    const std::string from = parts.next() + "a";
    const std::string to = parts.next();
    ASSERT_EQ(trimBlanks(text), plainTrim(text)) << text;
    ASSERT_EQ(replaceAll(text, from, to), plainReplaceAll(text, from, to)) << text << from << to;
  }
}

TEST(NaiveForms, layoutRewrite) {
  RandomTexts texts(10, {"<LayoutPath>", "</LayoutPath>", "<LayoutPath>", "</LayoutPath>", "p",
                         "q", "<", "LayoutPath>"},
                    14);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    ASSERT_EQ(withLayoutPath(text, "p"), plainLayout(text, "p")) << text;
    ASSERT_EQ(withLayoutPath(text, "<LayoutPath>"), plainLayout(text, "<LayoutPath>")) << text;
  }
}

TEST(NaiveForms, seed) {
  RandomTexts texts(11, {"\"seed\"", "\"seed\"", ":", ":", " ", "\t", "\n", "0", "42", "-", "\"",
                         ",", "\0"s, "\xFF"},
                    14);
  for (int i = 0; i < kTexts; ++i) {
    const std::string text = texts.next();
    ASSERT_EQ(scanSeed(text), plainSeed(text)) << text;
  }
}

TEST(NaiveForms, timeReply) {
  // No letter that a number may hold: there the runtimes differ.
  RandomTexts texts(12, {"0", "1", "7", "12", "59", ":", ":", ":", ".", "-", "+", " ", "\t",
                         "\r\n", "z", "\0"s, "\xFF"},
                    9);
  int times = 0;
  for (int i = 0; i < 10 * kTexts; ++i) {
    const std::string reply = texts.next();
    const std::optional<double> seconds = parseTimeReply(reply);
    times += seconds ? 1 : 0;
    ASSERT_EQ(seconds, plainTime(reply)) << reply;
  }
  EXPECT_GT(times, kTexts / 10);
}

}  // namespace
}  // namespace launcher
