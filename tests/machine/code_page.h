#pragma once

#include <string>
#include <string_view>

/// A Windows machine in memory: the second body of the launcher's seam. machine.h says how
/// to use it.
namespace machine {

/// UTF-16, as Windows keeps names.
using Units = std::u16string;

/// The ANSI code pages that the machine knows.
enum class CodePage { western = 1252, chinese = 936 };

/// Bytes of the code page in UTF-16. As Windows converts without flags: a byte or pair that
/// stands for nothing becomes what the code page's table has for it, and never fails.
[[nodiscard]] Units fromAnsi(CodePage page, std::string_view bytes);

/// UTF-16 in the code page; "?" for what it does not have. Windows' best fits, such as "a"
/// for the full-width letter, are left out.
[[nodiscard]] std::string toAnsi(CodePage page, std::u16string_view units);

/// UTF-8 in UTF-16; U+FFFD for what is no UTF-8.
[[nodiscard]] Units fromUtf8(std::string_view bytes);

/// UTF-16 in UTF-8; U+FFFD for half a surrogate pair.
[[nodiscard]] std::string toUtf8(std::u16string_view units);

/// The seam's wide texts hold one UTF-16 unit in each wchar_t, however large that is.
[[nodiscard]] std::wstring toWide(std::u16string_view units);
[[nodiscard]] Units fromWide(std::wstring_view text);

/// Upper case as NTFS compares names: ASCII, Latin, Greek, Cyrillic and full-width letters.
[[nodiscard]] Units upperCase(std::u16string_view units);

}  // namespace machine
