#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace stage {

/// Which of the four stock icons the window shows on the screen, as a code above 0, or 0 when
/// its picture is like none of them (a box may not be painted yet). An icon's handle says
/// nothing outside its own process, so the pictures are compared.
int stockIconOnScreen(HWND window);

/// "error", "information", "warning" or "question" for a code of stockIconOnScreen; nothing
/// for any other number.
std::optional<std::string> stockIconOf(long code);

}  // namespace stage
