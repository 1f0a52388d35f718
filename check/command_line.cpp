#include "check/command_line.h"

namespace launcher::check {
namespace {

/// Takes "--language zh" or "--language en" out of the arguments; false for another word.
bool takeLanguage(std::vector<std::wstring>& arguments, std::optional<Language>& language) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] != L"--language") continue;
    if (i + 1 == arguments.size()) return false;
    if (arguments[i + 1] == L"zh") {
      language = Language::chinese;
    } else if (arguments[i + 1] == L"en") {
      language = Language::english;
    } else {
      return false;
    }
    const auto at = arguments.begin() + static_cast<std::ptrdiff_t>(i);
    arguments.erase(at, at + 2);
    return true;
  }
  return true;
}

}  // namespace

Asked readArguments(const std::vector<std::wstring>& given) {
  std::vector<std::wstring> arguments = given;
  Asked asked;
  if (!takeLanguage(arguments, asked.language)) return asked;
  if (arguments.empty()) {
    asked.mode = Asked::Mode::window;
  } else if (arguments.size() == 1 && arguments[0] == L"--text") {
    asked.mode = Asked::Mode::text;
  } else if (arguments.size() == 2 && arguments[0] == L"--support" && !arguments[1].empty()) {
    asked.mode = Asked::Mode::support;
    asked.file = arguments[1];
  }
  return asked;
}

}  // namespace launcher::check
