#pragma once

#include <optional>
#include <string>

#include "check/actions.h"
#include "check/window_text.h"
#include "core/win_handle.h"

namespace launcher::check {

// What the window asks and says in windows of Windows' own. Each returns when it is closed.

/// Says what came of a button.
void showResult(HWND owner, const ActionResult& result, Language language);

/// True when the player agrees, or nothing needs to be asked.
[[nodiscard]] bool confirm(HWND owner, const Confirmation& asked, Language language);

/// Lets the player choose the game's file; nothing when the choice is given up. `folder` is
/// where the choice begins, when it exists.
[[nodiscard]] std::optional<std::wstring> chooseGame(HWND owner, const std::wstring& folder);

/// The user's folder "Documents", without a backslash at its end; empty when there is none.
[[nodiscard]] std::wstring documentsFolder();

/// Opens the folder of a file, with the file selected.
void showInFolder(const std::wstring& file);

}  // namespace launcher::check
