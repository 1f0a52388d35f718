#include "rehearsal/stage/xml_text.h"

#include <algorithm>

#include "rehearsal/stage/text.h"

namespace stage {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr int kDeepest = 100;

bool isNameByte(char c, bool first) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
                      static_cast<unsigned char>(c) >= 0x80;
  return letter || (!first && ((c >= '0' && c <= '9') || c == '-' || c == '.'));
}

/// A character as UTF-8; "" for one that XML does not allow.
std::string characterOf(unsigned long code) {
  const bool control = code < 0x20 && code != '\t' && code != '\n' && code != '\r';
  if (control || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF) return {};
  std::wstring wide;
  if (code < 0x10000) {
    wide = static_cast<wchar_t>(code);
  } else {
    wide = {static_cast<wchar_t>(0xD7C0 + (code >> 10)),
            static_cast<wchar_t>(0xDC00 + (code & 0x3FF))};
  }
  return toUtf8(wide);
}

/// What stands for "&NAME;"; "" for an unknown name.
std::string entity(std::string_view name) {
  for (const auto& [known, value] : {std::pair("lt", "<"), std::pair("gt", ">"),
                                     std::pair("amp", "&"), std::pair("quot", "\""),
                                     std::pair("apos", "'")}) {
    if (name == known) return value;
  }
  if (!name.starts_with('#')) return {};
  const bool hex = name.starts_with("#x");
  const std::string digits(name.substr(hex ? 2 : 1));
  const char* allowed = hex ? "0123456789abcdefABCDEF" : "0123456789";
  if (digits.empty() || digits.size() > 7 || digits.find_first_not_of(allowed) != digits.npos) {
    return {};
  }
  return characterOf(std::stoul(digits, nullptr, hex ? 16 : 10));
}

/// Reads from the front of a text; every step returns false where the text is malformed.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool document(XmlElement& root) {
    return skipBetween() && element(root, 0) && skipBetween() && rest_.empty();
  }

 private:
  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  void skipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  }

  /// Takes everything up to a mark, and the mark.
  bool takeUntil(std::string_view mark, std::string_view& before) {
    const std::size_t at = rest_.find(mark);
    if (at == std::string_view::npos) return false;
    before = rest_.substr(0, at);
    rest_.remove_prefix(at + mark.size());
    return true;
  }

  /// Skips what may stand before and after the root.
  bool skipBetween() {
    std::string_view skipped;
    for (skipBlanks(); !rest_.empty(); skipBlanks()) {
      if (take("<?")) {
        if (!takeUntil("?>", skipped)) return false;
      } else if (take("<!--")) {
        if (!takeUntil("-->", skipped)) return false;
      } else if (take("<!DOCTYPE")) {
        if (!takeUntil(">", skipped)) return false;
      } else {
        break;
      }
    }
    return true;
  }

  bool name(std::string& value) {
    std::size_t size = 0;
    while (size < rest_.size() && isNameByte(rest_[size], size == 0)) ++size;
    value = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return size > 0;
  }

  static bool resolve(std::string_view raw, std::string& value) {
    for (std::size_t at = 0; at < raw.size();) {
      if (raw[at] != '&') {
        value += raw[at++];
        continue;
      }
      const std::size_t end = raw.find(';', at);
      if (end == std::string_view::npos) return false;
      const std::string character = entity(raw.substr(at + 1, end - at - 1));
      if (character.empty()) return false;
      value += character;
      at = end + 1;
    }
    return true;
  }

  bool attributes(XmlElement& element) {
    for (;;) {
      const std::size_t before = rest_.size();
      skipBlanks();
      if (rest_.starts_with('>') || rest_.starts_with("/>")) return true;
      if (rest_.size() == before) return false;
      std::string key;
      std::string value;
      if (!name(key)) return false;
      skipBlanks();
      if (!take("=")) return false;
      skipBlanks();
      const std::string quote(rest_.substr(0, 1));
      std::string_view raw;
      if ((quote != "\"" && quote != "'") || !take(quote) || !takeUntil(quote, raw)) return false;
      if (raw.find('<') != raw.npos || !resolve(raw, value)) return false;
      for (const auto& [earlier, ignored] : element.attributes) {
        if (earlier == key) return false;
      }
      element.attributes.emplace_back(std::move(key), std::move(value));
    }
  }

  bool element(XmlElement& element, int depth) {
    if (depth > kDeepest || !take("<") || !name(element.name) || !attributes(element)) return false;
    if (take("/>")) return true;
    return take(">") && content(element, depth);
  }

  bool content(XmlElement& element, int depth) {
    std::string_view skipped;
    while (!rest_.empty()) {
      if (take("<!--")) {
        if (!takeUntil("-->", skipped)) return false;
      } else if (take("<![CDATA[")) {
        if (!takeUntil("]]>", skipped)) return false;
        element.text += skipped;
      } else if (take("<?")) {
        if (!takeUntil("?>", skipped)) return false;
      } else if (take("</")) {
        std::string closing;
        if (!name(closing) || closing != element.name) return false;
        skipBlanks();
        return take(">");
      } else if (rest_.starts_with('<')) {
        element.children.emplace_back();
        if (!this->element(element.children.back(), depth + 1)) return false;
      } else {
        const std::size_t size = std::min(rest_.find('<'), rest_.size());
        if (!resolve(rest_.substr(0, size), element.text)) return false;
        rest_.remove_prefix(size);
      }
    }
    return false;
  }

  std::string_view rest_;
};

}  // namespace

const XmlElement* XmlElement::child(std::string_view wanted) const {
  const auto found = std::find_if(children.begin(), children.end(), [&](const XmlElement& one) {
    return one.name == wanted;
  });
  return found == children.end() ? nullptr : &*found;
}

std::string XmlElement::attribute(std::string_view wanted) const {
  for (const auto& [key, value] : attributes) {
    if (key == wanted) return value;
  }
  return {};
}

std::optional<XmlElement> readXml(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const bool control = std::any_of(bytes.begin(), bytes.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && kBlanks.find(c) == kBlanks.npos;
  });
  XmlElement root;
  if (control || !isUtf8(bytes) || !Reader(bytes).document(root)) return std::nullopt;
  return root;
}

std::string xmlEscaped(std::string_view text) {
  std::string escaped = replaceAll(std::string(text), "&", "&amp;");
  escaped = replaceAll(std::move(escaped), "<", "&lt;");
  escaped = replaceAll(std::move(escaped), ">", "&gt;");
  return replaceAll(std::move(escaped), "\"", "&quot;");
}

}  // namespace stage
