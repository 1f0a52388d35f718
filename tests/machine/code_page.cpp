#include "tests/machine/code_page.h"

#include <iconv.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace machine {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// 0x80 to 0x9F of code page 1252; the five bytes without a character stand for themselves.
constexpr std::array<char16_t, 32> kWestern = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::uint8_t byteOf(char c) { return static_cast<std::uint8_t>(c); }

/// Both directions of code page 936: the characters from iconv, the private ones and single
/// bytes as Windows has them.
class Chinese {
 public:
  Chinese() {
    const iconv_t converter = iconv_open("UTF-16LE", "GBK");
    for (unsigned lead = 0x81; lead <= 0xFE; ++lead) {
      for (unsigned trail = 0x40; trail <= 0xFE; ++trail) {
        if (trail != 0x7F) add(converter, lead, trail);
      }
    }
    iconv_close(converter);
    addPrivate(0xAA, 0xAF, 0xA1, 0xFE, 0xE000);
    addPrivate(0xF8, 0xFE, 0xA1, 0xFE, 0xE234);
    addPrivate(0xA1, 0xA7, 0x40, 0xA0, 0xE4C6);
    fillGaps(0xE766);
    toBytes_[0x20AC] = 0x80;
    toBytes_[0xF8F5] = 0xFF;
  }

  [[nodiscard]] char16_t pair(std::uint8_t lead, std::uint8_t trail) const {
    return toUnits_[lead][trail];
  }

  /// Two bytes as lead * 256 + trail, or one; 0 for none.
  [[nodiscard]] unsigned bytes(char16_t unit) const {
    const auto hit = toBytes_.find(unit);
    return hit == toBytes_.end() ? 0 : hit->second;
  }

 private:
  void set(unsigned lead, unsigned trail, char16_t unit) {
    toUnits_[lead][trail] = unit;
    toBytes_.emplace(unit, lead * 256 + trail);
  }

  void add(iconv_t converter, unsigned lead, unsigned trail) {
    char in[2] = {static_cast<char>(lead), static_cast<char>(trail)};
    char out[8] = {};
    char* from = in;
    char* to = out;
    std::size_t left = sizeof in;
    std::size_t room = sizeof out;
    const bool converted = iconv(converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
    (void)iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (!converted || room != sizeof out - 2) return;
    set(lead, trail, static_cast<char16_t>(byteOf(out[0]) | (byteOf(out[1]) << 8)));
  }

  void addPrivate(unsigned firstLead, unsigned lastLead, unsigned firstTrail, unsigned lastTrail,
                  char16_t unit) {
    for (unsigned lead = firstLead; lead <= lastLead; ++lead) {
      for (unsigned trail = firstTrail; trail <= lastTrail; ++trail) {
        if (trail != 0x7F) set(lead, trail, unit++);
      }
    }
  }

  /// Windows gives every pair that is left a private character too.
  void fillGaps(char16_t unit) {
    for (unsigned lead = 0x81; lead <= 0xFE; ++lead) {
      for (unsigned trail = 0x40; trail <= 0xFE; ++trail) {
        if (trail != 0x7F && toUnits_[lead][trail] == 0) set(lead, trail, unit++);
      }
    }
  }

  std::array<std::array<char16_t, 256>, 256> toUnits_ = {};
  std::unordered_map<char16_t, unsigned> toBytes_;
};

const Chinese& chinese() {
  static const Chinese tables;
  return tables;
}

bool isLead(std::uint8_t byte) { return byte >= 0x81 && byte <= 0xFE; }

char16_t chineseSingle(std::uint8_t byte) {
  if (byte == 0x80) return 0x20AC;
  return byte == 0xFF ? 0xF8F5 : byte;
}

Units fromChinese(std::string_view bytes) {
  Units units;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::uint8_t lead = byteOf(bytes[i]);
    if (!isLead(lead) || i + 1 == bytes.size()) {
      units.push_back(isLead(lead) ? u'?' : chineseSingle(lead));
      continue;
    }
    const std::uint8_t trail = byteOf(bytes[++i]);
    const char16_t unit = chinese().pair(lead, trail);
    units.push_back(unit == 0 ? u'?' : unit);
  }
  return units;
}

char westernByte(char16_t unit) {
  if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
  for (std::size_t i = 0; i < kWestern.size(); ++i) {
    if (kWestern[i] == unit) return static_cast<char>(0x80 + i);
  }
  return '?';
}

bool isAscii(std::string_view bytes) {
  for (const char byte : bytes) {
    if (byteOf(byte) >= 0x80) return false;
  }
  return true;
}

/// One character of UTF-8 from `at` on, which moves after it; as much of a broken one as
/// could have been the beginning of a whole one counts as one.
char32_t takeUtf8(std::string_view bytes, std::size_t& at) {
  const std::uint8_t first = byteOf(bytes[at++]);
  if (first < 0x80) return first;
  int more = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
  char32_t value = 0;
  if (first >= 0xC2 && first <= 0xDF) {
    more = 1;
    value = first & 0x1FU;
  } else if (first >= 0xE0 && first <= 0xEF) {
    more = 2;
    value = first & 0x0FU;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    more = 3;
    value = first & 0x07U;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  } else {
    return kReplacement;
  }
  for (; more > 0; --more) {
    if (at == bytes.size() || byteOf(bytes[at]) < low || byteOf(bytes[at]) > high) {
      return kReplacement;
    }
    value = (value << 6) | (byteOf(bytes[at++]) & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return value;
}

void appendUtf8(std::string& text, char32_t value) {
  const auto push = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (value < 0x80) {
    push(value);
  } else if (value < 0x800) {
    push(0xC0 | (value >> 6));
    push(0x80 | (value & 0x3F));
  } else if (value < 0x10000) {
    push(0xE0 | (value >> 12));
    push(0x80 | ((value >> 6) & 0x3F));
    push(0x80 | (value & 0x3F));
  } else {
    push(0xF0 | (value >> 18));
    push(0x80 | ((value >> 12) & 0x3F));
    push(0x80 | ((value >> 6) & 0x3F));
    push(0x80 | (value & 0x3F));
  }
}

bool isHighHalf(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowHalf(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

char16_t upperUnit(char16_t unit) {
  const auto in = [unit](char16_t first, char16_t last) { return unit >= first && unit <= last; };
  if (in(u'a', u'z')) return static_cast<char16_t>(unit - 0x20);
  if (unit < 0x80) return unit;
  if (unit == 0xFF) return 0x178;
  if (in(0xE0, 0xFE) && unit != 0xF7) return static_cast<char16_t>(unit - 0x20);
  if ((in(0x100, 0x137) || in(0x14A, 0x177)) && unit % 2 == 1 && unit != 0x131) {
    return static_cast<char16_t>(unit - 1);
  }
  if ((in(0x139, 0x148) || in(0x179, 0x17E)) && unit % 2 == 0) {
    return static_cast<char16_t>(unit - 1);
  }
  if (in(0x3B1, 0x3C9) && unit != 0x3C2) return static_cast<char16_t>(unit - 0x20);
  if (in(0x430, 0x44F)) return static_cast<char16_t>(unit - 0x20);
  if (in(0x450, 0x45F)) return static_cast<char16_t>(unit - 0x50);
  if (in(0xFF41, 0xFF5A)) return static_cast<char16_t>(unit - 0x20);
  return unit;
}

}  // namespace

Units fromAnsi(CodePage page, std::string_view bytes) {
  if (isAscii(bytes)) return Units(bytes.begin(), bytes.end());
  if (page == CodePage::chinese) return fromChinese(bytes);
  Units units;
  for (const char c : bytes) {
    const std::uint8_t byte = byteOf(c);
    units.push_back(byte >= 0x80 && byte < 0xA0 ? kWestern[byte - 0x80U] : byte);
  }
  return units;
}

std::string toAnsi(CodePage page, std::u16string_view units) {
  std::string bytes;
  for (const char16_t unit : units) {
    if (unit < 0x80) {
      bytes.push_back(static_cast<char>(unit));
    } else if (page == CodePage::western) {
      bytes.push_back(westernByte(unit));
    } else if (const unsigned pair = chinese().bytes(unit); pair == 0) {
      bytes.push_back('?');
    } else {
      if (pair > 0xFF) bytes.push_back(static_cast<char>(pair >> 8));
      bytes.push_back(static_cast<char>(pair & 0xFF));
    }
  }
  return bytes;
}

Units fromUtf8(std::string_view bytes) {
  if (isAscii(bytes)) return Units(bytes.begin(), bytes.end());
  Units units;
  for (std::size_t at = 0; at < bytes.size();) {
    char32_t value = takeUtf8(bytes, at);
    if (value < 0x10000) {
      units.push_back(static_cast<char16_t>(value));
      continue;
    }
    value -= 0x10000;
    units.push_back(static_cast<char16_t>(0xD800 + (value >> 10)));
    units.push_back(static_cast<char16_t>(0xDC00 + (value & 0x3FF)));
  }
  return units;
}

std::string toUtf8(std::u16string_view units) {
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (isHighHalf(unit) && i + 1 < units.size() && isLowHalf(units[i + 1])) {
      const char32_t high = unit - 0xD800U;
      const char32_t low = units[++i] - 0xDC00U;
      appendUtf8(text, 0x10000 + (high << 10) + low);
    } else {
      appendUtf8(text, isHighHalf(unit) || isLowHalf(unit) ? kReplacement : unit);
    }
  }
  return text;
}

std::wstring toWide(std::u16string_view units) { return {units.begin(), units.end()}; }

Units fromWide(std::wstring_view text) {
  Units units;
  units.reserve(text.size());
  for (const wchar_t unit : text) units.push_back(static_cast<char16_t>(unit));
  return units;
}

Units upperCase(std::u16string_view units) {
  Units upper;
  upper.reserve(units.size());
  for (const char16_t unit : units) upper.push_back(upperUnit(unit));
  return upper;
}

}  // namespace machine
