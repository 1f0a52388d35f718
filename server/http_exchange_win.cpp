#include "server/http_exchange_win.h"

namespace launcher {
namespace {

constexpr wchar_t kUserAgent[] = L"KOV-Race-Launcher/1.0";

std::wstring wideUrl(const std::string& url) {
  const int length = MultiByteToWideChar(CP_ACP, 0, url.c_str(), -1, nullptr, 0);
  std::wstring wide(length < 1 ? 0 : static_cast<std::size_t>(length) - 1, L'\0');
  if (length > 1) (void)MultiByteToWideChar(CP_ACP, 0, url.c_str(), -1, wide.data(), length);
  return wide;
}

}  // namespace

bool crackHttpUrl(const std::string& url, HttpAddress& address) {
  const std::wstring wide = wideUrl(url);
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof(parts);
  parts.lpszHostName = address.host;
  parts.dwHostNameLength = kHttpHostUnits;
  parts.lpszUrlPath = address.path;
  parts.dwUrlPathLength = kHttpPathUnits;
  if (!WinHttpCrackUrl(wide.c_str(), static_cast<DWORD>(wide.size()), 0, &parts)) return false;
  address.port = parts.nPort;
  address.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  return true;
}

bool openHttpExchange(const HttpAddress& address, const wchar_t* method, HttpExchange& exchange) {
  exchange.session = UniqueInternet(WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                                                WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS,
                                                0));
  if (!exchange.session) return false;
  exchange.connection =
      UniqueInternet(WinHttpConnect(exchange.session.get(), address.host, address.port, 0));
  if (!exchange.connection) return false;
  exchange.request = UniqueInternet(
      WinHttpOpenRequest(exchange.connection.get(), method, address.path, nullptr,
                         WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                         address.secure ? WINHTTP_FLAG_SECURE : 0));
  return static_cast<bool>(exchange.request);
}

}  // namespace launcher
