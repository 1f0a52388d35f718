#include "livesplit/start_text.h"

namespace launcher {
namespace {

constexpr std::string_view kOpenTag = "<LayoutPath>";
constexpr std::string_view kCloseTag = "</LayoutPath>";

}  // namespace

std::optional<std::string> withLayoutPath(std::string_view config, std::string_view layout) {
  std::string result;
  bool changed = false;
  std::size_t copied = 0;
  for (;;) {
    const std::size_t open = config.find(kOpenTag, copied);
    if (open == std::string_view::npos) break;
    const std::size_t value = open + kOpenTag.size();
    const std::size_t close = config.find(kCloseTag, value);
    if (close == std::string_view::npos) break;
    changed = changed || config.substr(value, close - value) != layout;
    result.append(config.substr(copied, value - copied)).append(layout);
    copied = close;
  }
  if (!changed) return std::nullopt;
  result.append(config.substr(copied));
  return result;
}

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
