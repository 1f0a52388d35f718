#include "check/redaction.h"

#include <algorithm>

#include "check/utf8.h"

namespace launcher::check {
namespace {

constexpr std::size_t kMostPatterns = 64;
constexpr std::size_t kReadBackBytes = 255;  // of a saved code a start reads no more
constexpr std::string_view kStars = "***";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Login codes ------------------------------------------------------------------------------

/// Codes of one line at most: a line end is in none, so it can always stand between two texts.
void addCode(std::string_view code, std::vector<std::string>& codes) {
  while (!code.empty()) {
    const std::size_t end = std::min(code.find_first_of("\r\n"), code.size());
    if (end > 0) codes.emplace_back(code.substr(0, end));
    code.remove_prefix(std::min(end + 1, code.size()));
  }
}

/// Where a quoted value behind "token" ends: at its quote, which a backslash may protect; in a
/// text that was escaped as a whole at the escaped quote. At the line's end in any case.
std::size_t endOfValue(std::string_view text, std::size_t at, bool isEscaped) {
  for (; at < text.size() && text[at] != '\n' && text[at] != '\r'; ++at) {
    if (text[at] == '"') return at;
    if (text[at] != '\\' || at + 1 >= text.size()) continue;
    if (isEscaped && text[at + 1] == '"') return at;
    if (text[at + 1] != '\n' && text[at + 1] != '\r') ++at;
  }
  return at;
}

/// The values behind every "token", as a reply, a URL and a command line have them.
void harvest(std::string_view text, std::vector<std::string>& codes) {
  constexpr std::string_view kKey = "token";
  for (std::size_t at = text.find(kKey); at != std::string_view::npos;
       at = text.find(kKey, at)) {
    at += kKey.size();
    std::size_t value = at;
    bool isEscaped = false;
    if (value < text.size() && (text[value] == '=' || text.substr(value).starts_with("%3D"))) {
      value += text[value] == '=' ? std::size_t{1} : std::size_t{3};
      const std::size_t end =
          std::min(text.find_first_of(" \t\r\n\"'<>&", value), text.size());
      addCode(text.substr(value, end - value), codes);
      at = end;
      continue;
    }
    if (text.substr(value).starts_with("\\\"")) {
      isEscaped = true;
      ++value;
    }
    if (value >= text.size() || text[value] != '"') continue;
    ++value;
    value = std::min(text.find_first_not_of(" \t", value), text.size());
    if (value >= text.size() || text[value] != ':') continue;
    // The launcher takes the next quoted text, whatever stands before it.
    const std::size_t open = text.find_first_of("\"\r\n", value);
    if (open == std::string_view::npos || text[open] != '"') continue;
    const std::size_t end = endOfValue(text, open + 1, isEscaped);
    const std::string_view code = text.substr(open + 1, end - open - 1);
    addCode(code, codes);
    // A reader without escapes stops at the first quote.
    addCode(code.substr(0, code.find('"')), codes);
    at = end;
  }
}

void appendHex(std::string& text, unsigned value, int digits, bool upper) {
  const char* const kDigits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    text += kDigits[(value >> static_cast<unsigned>(shift)) & 0xFU];
  }
}

/// The code as JSON escapes it.
std::string jsonForm(const std::string& code, bool withSlash) {
  std::string text;
  for (const char c : code) {
    if (c == '"' || c == '\\' || (withSlash && c == '/')) text += '\\';
    if (static_cast<unsigned char>(c) < 0x20) {
      text += "\\u";
      appendHex(text, static_cast<unsigned char>(c), 4, false);
    } else {
      text += c;
    }
  }
  return text;
}

/// The code with its characters outside of ASCII as \u escapes; well-formed UTF-8 only.
std::string unicodeForm(const std::string& code, bool upper) {
  std::string text;
  for (std::size_t at = 0; at < code.size();) {
    const auto first = static_cast<unsigned char>(code[at]);
    const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    unsigned value = size == 1 ? first : first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
      value = (value << 6) | (static_cast<unsigned char>(code[at + i]) & 0x3FU);
    }
    at += size;
    if (value < 0x80) {
      if (value == '"' || value == '\\') text += '\\';
      text += static_cast<char>(value);
    } else if (value < 0x10000) {
      text += "\\u";
      appendHex(text, value, 4, upper);
    } else {
      text += "\\u";
      appendHex(text, 0xD800 + ((value - 0x10000) >> 10), 4, upper);
      text += "\\u";
      appendHex(text, 0xDC00 + ((value - 0x10000) & 0x3FF), 4, upper);
    }
  }
  return text;
}

/// The code as a URL has it.
std::string urlForm(const std::string& code, bool upper) {
  constexpr std::string_view kPlain = "-._~";
  std::string text;
  for (const char c : code) {
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c);
    if (letter || kPlain.find(c) != std::string_view::npos) {
      text += c;
    } else {
      text += '%';
      appendHex(text, static_cast<unsigned char>(c), 2, upper);
    }
  }
  return text;
}

void addForms(const std::string& code, std::vector<std::string>& patterns) {
  std::vector<std::string> forms = {code, jsonForm(code, false), jsonForm(code, true),
                                    urlForm(code, true), urlForm(code, false)};
  if (isUtf8(code)) {
    forms.push_back(unicodeForm(code, true));
    forms.push_back(unicodeForm(code, false));
  }
  for (std::string& form : forms) {
    if (std::find(patterns.begin(), patterns.end(), form) == patterns.end()) {
      patterns.push_back(std::move(form));
    }
  }
}

/// Every form of every code; nothing when there are more than any real text has.
bool findPatterns(std::string_view text, const Secrets& secrets,
                  std::vector<std::string>& patterns) {
  std::vector<std::string> codes;
  for (const std::string& saved : secrets.codes) {
    addCode(saved, codes);
    addCode(std::string_view(saved).substr(0, kReadBackBytes), codes);
  }
  harvest(text, codes);
  std::sort(codes.begin(), codes.end());
  codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
  for (const std::string& code : codes) {
    if (patterns.size() > kMostPatterns) return false;
    addForms(code, patterns);
    if (code.size() > kReadBackBytes) addForms(code.substr(0, kReadBackBytes), patterns);
  }
  return patterns.size() <= kMostPatterns;
}

/// What stands in the place of a code: a text of a character that is in no code. A line end is
/// in none.
std::string placeholder(const std::vector<std::string>& patterns) {
  for (const std::string_view candidate : {kStars, std::string_view("###"),
                                           std::string_view("~~~")}) {
    const bool used = std::any_of(patterns.begin(), patterns.end(), [&](const std::string& text) {
      return text.find(candidate.front()) != std::string::npos;
    });
    if (!used) return std::string(candidate);
  }
  return "\n";
}

/// Finds all of many patterns in one pass over a text: a trie of the patterns in which every
/// node knows where to go on when the next byte is none of its children.
class PatternFinder {
 public:
  explicit PatternFinder(const std::vector<std::string>& patterns) : nodes_(1) {
    for (const std::string& pattern : patterns) add(pattern);
    linkNodes();
  }

  /// For each byte of the text whether it belongs to an occurrence of any pattern.
  [[nodiscard]] std::vector<bool> cover(std::string_view text) const {
    std::vector<int> changes(text.size() + 1, 0);
    std::size_t node = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
      node = next(node, text[at]);
      const std::size_t length = nodes_[node].longest;
      if (length == 0) continue;
      ++changes[at + 1 - length];
      --changes[at + 1];
    }
    std::vector<bool> covered(text.size(), false);
    int depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
      depth += changes[at];
      covered[at] = depth > 0;
    }
    return covered;
  }

 private:
  struct Node {
    char byte = 0;
    std::size_t child = 0;    ///< first of its children; 0: none
    std::size_t sibling = 0;  ///< the next child of its parent; 0: none
    std::size_t parent = 0;
    std::size_t fallback = 0; ///< the longest proper end of its text that is in the trie
    std::size_t longest = 0;  ///< length of the longest pattern that its text ends with
  };

  /// The child of a node for a byte, or 0.
  [[nodiscard]] std::size_t childOf(std::size_t node, char byte) const {
    std::size_t child = nodes_[node].child;
    while (child != 0 && nodes_[child].byte != byte) child = nodes_[child].sibling;
    return child;
  }

  [[nodiscard]] std::size_t next(std::size_t node, char byte) const {
    for (;;) {
      const std::size_t child = childOf(node, byte);
      if (child != 0 || node == 0) return child;
      node = nodes_[node].fallback;
    }
  }

  void add(const std::string& pattern) {
    std::size_t node = 0;
    for (const char byte : pattern) {
      std::size_t child = childOf(node, byte);
      if (child == 0) {
        child = nodes_.size();
        Node added;
        added.byte = byte;
        added.sibling = nodes_[node].child;
        added.parent = node;
        nodes_.push_back(added);
        nodes_[node].child = child;
      }
      node = child;
    }
    nodes_[node].longest = pattern.size();
  }

  /// Nodes of the same depth after one another, so that a fallback is linked before it is used.
  void linkNodes() {
    std::vector<std::size_t> order = {0};
    for (std::size_t i = 0; i < order.size(); ++i) {
      for (std::size_t child = nodes_[order[i]].child; child != 0;
           child = nodes_[child].sibling) {
        order.push_back(child);
      }
    }
    for (const std::size_t node : order) {
      const std::size_t parent = nodes_[node].parent;
      if (node == 0 || parent == 0) continue;
      const std::size_t fallback = next(nodes_[parent].fallback, nodes_[node].byte);
      nodes_[node].fallback = fallback;
      nodes_[node].longest = std::max(nodes_[node].longest, nodes_[fallback].longest);
    }
  }

  std::vector<Node> nodes_;
};

std::string withoutCodes(std::string_view text, const std::vector<std::string>& patterns) {
  const std::vector<bool> covered = PatternFinder(patterns).cover(text);
  const std::string star = placeholder(patterns);
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!covered[at]) {
      result += text[at];
    } else if (at == 0 || !covered[at - 1]) {
      result += star;
    }
  }
  return result;
}

// User names -------------------------------------------------------------------------------

bool isSlash(char c) { return c == '\\' || c == '/'; }

/// Where a part of a path ends.
std::size_t endOfPart(std::string_view text, std::size_t at) {
  return std::min(text.find_first_of("\\/\"\r\n<>|*?:", at), text.size());
}

/// Length of "Users" and what stands for it at `at`, or 0.
std::size_t usersAt(std::string_view text, std::size_t at) {
  for (const std::string_view word : {std::string_view("users"),
                                      std::string_view("documents and settings")}) {
    if (text.size() - at >= word.size() && isSameName(text.substr(at, word.size()), word)) {
      return word.size();
    }
  }
  return 0;
}

bool isKnownName(std::string_view part, const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(), [part](const std::string& name) {
    return !name.empty() && isSameName(part, name);
  });
}

std::string withoutUsers(std::string_view text, const std::vector<std::string>& names) {
  std::string result;
  std::size_t copied = 0;
  bool afterUsers = false;
  for (std::size_t at = 0; at < text.size();) {
    if (!isSlash(text[at])) {
      ++at;
      continue;
    }
    while (at < text.size() && isSlash(text[at])) ++at;
    const std::size_t end = endOfPart(text, at);
    const std::string_view part = text.substr(at, end - at);
    if (!part.empty() && (afterUsers || isKnownName(part, names))) {
      result.append(text.substr(copied, at - copied)).append(kStars);
      copied = end;
    }
    afterUsers = usersAt(text, at) == part.size() && end < text.size() && isSlash(text[end]);
    at = end;
  }
  return result.append(text.substr(copied));
}

// SteamIDs ---------------------------------------------------------------------------------

bool isSteamIdAt(std::string_view text, std::size_t at) {
  constexpr std::size_t kDigits = 17;
  const std::string_view id = text.substr(at, kDigits);
  return id.size() == kDigits && id.starts_with("7656") && std::all_of(id.begin(), id.end(), isDigit);
}

std::string withoutSteamIds(std::string_view text) {
  constexpr std::size_t kHidden = 13;
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    if (isSteamIdAt(text, at)) {
      result += "***";
      at += kHidden;
    } else {
      result += text[at++];
    }
  }
  return result;
}

}  // namespace

std::string redacted(std::string_view text, const Secrets& secrets) {
  std::vector<std::string> patterns;
  if (!findPatterns(text, secrets, patterns)) return std::string(kTooManyCodes);
  // Codes last: what the others put in could be part of one.
  return withoutCodes(withoutSteamIds(withoutUsers(text, secrets.userNames)), patterns);
}

}  // namespace launcher::check
