#include "steam/mod_files.h"

namespace launcher {

std::wstring incompleteModMessage(std::wstring_view missing, std::wstring_view gameFolder) {
  std::wstring text = L"计时 mod 没有装完整，缺少这些文件：\n\n";
  text.append(missing);
  text.append(
      L"\n最常见原因：杀毒软件把 dwmapi.dll 当成病毒删掉了。\n\n"
      L"解决办法：\n"
      L"1. 把游戏目录加入杀毒软件/Defender 的排除项\n"
      L"2. 重新解压玩家包，再双击启动器\n\n"
      L"游戏目录：\n");
  text.append(gameFolder);
  return text;
}

}  // namespace launcher
