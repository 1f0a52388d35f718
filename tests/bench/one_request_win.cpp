// An empty program that asks a server of this machine once and then stays until somebody
// presses a key:
//
//     one_request.exe <anything> <port>
#include <cstdio>
#include <cwchar>

#include "tests/bench/bare_request_win.h"

int wmain(int count, wchar_t** arguments) {
  if (count != 3) return 1;
  const auto port = static_cast<unsigned short>(std::wcstoul(arguments[2], nullptr, 10));
  const std::string answer = bench::bareRequest(port, L"GET", L"/week/current", {});
  return std::getchar() == '!' || answer.empty() ? 1 : 0;
}
