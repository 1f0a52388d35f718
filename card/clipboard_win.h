#pragma once

#include <windows.h>

#include <string>

namespace launcher::card {

/// Puts `text` on the clipboard for `owner`; false when another program would
/// not let go of it.
[[nodiscard]] bool copyToClipboard(HWND owner, const std::u16string& text);

}  // namespace launcher::card
