#include "livesplit/start_text.h"

namespace launcher {

std::wstring livesplitCommandLine(std::wstring_view program, std::wstring_view splits) {
  std::wstring line = L"\"";
  line.append(program).append(L"\" \"").append(splits).append(L"\"");
  return line;
}

std::wstring livesplitReminder() {
  return L"提醒：还没连上 LiveSplit 的计时服务器。\n\n"
         L"现在就可以去开：\n"
         L"右键 LiveSplit → Control → Start TCP Server\n\n"
         L"这个不影响启动游戏，你可以在跑之前随时开。\n"
         L"不开的话成绩不会自动上传。\n\n"
         L"点「确定」继续进入游戏。";
}

}  // namespace launcher
