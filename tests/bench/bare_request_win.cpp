#include "tests/bench/bare_request_win.h"

#include <windows.h>
#include <winhttp.h>

namespace bench {

std::string bareRequest(unsigned short port, const wchar_t* method, const wchar_t* path,
                        const std::string& body) {
  const HINTERNET session =
      WinHttpOpen(L"KOV-Race-Launcher/1.0", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                  WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
  const HINTERNET connection = WinHttpConnect(session, L"127.0.0.1", port, 0);
  const HINTERNET request =
      WinHttpOpenRequest(connection, method, path, nullptr, WINHTTP_NO_REFERER,
                         WINHTTP_DEFAULT_ACCEPT_TYPES, 0);
  const DWORD bytes = static_cast<DWORD>(body.size());
  const bool post = !body.empty();
  std::string reply;
  if (WinHttpSendRequest(request, post ? L"Content-Type: application/json\r\n" : nullptr,
                         post ? 32 : 0, const_cast<char*>(body.data()), bytes, bytes, 0) &&
      WinHttpReceiveResponse(request, nullptr)) {
    char buffer[8192];
    DWORD got = 0;
    while (WinHttpReadData(request, buffer, sizeof buffer, &got) && got > 0) {
      reply.append(buffer, got);
    }
  }
  (void)WinHttpCloseHandle(request);
  (void)WinHttpCloseHandle(connection);
  (void)WinHttpCloseHandle(session);
  return reply;
}

}  // namespace bench
