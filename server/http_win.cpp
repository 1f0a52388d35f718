#include "server/http.h"

#include "core/win_handle.h"

namespace launcher {
namespace {

constexpr wchar_t kUserAgent[] = L"KOV-Race-Launcher/1.0";
constexpr wchar_t kJsonHeader[] = L"Content-Type: application/json\r\n";
constexpr DWORD kJsonHeaderUnits = 32;
constexpr DWORD kHostUnits = 256;
constexpr DWORD kPathUnits = 2048;
constexpr DWORD kReadBytes = 8192;

struct Address {
  wchar_t host[kHostUnits] = {};
  wchar_t path[kPathUnits] = {};
  INTERNET_PORT port = 0;
  bool secure = false;
};

std::wstring wideUrl(const std::string& url) {
  const int length = MultiByteToWideChar(CP_ACP, 0, url.c_str(), -1, nullptr, 0);
  std::wstring wide(length < 1 ? 0 : static_cast<std::size_t>(length) - 1, L'\0');
  if (length > 1) (void)MultiByteToWideChar(CP_ACP, 0, url.c_str(), -1, wide.data(), length);
  return wide;
}

bool crackUrl(const std::string& url, Address& address) {
  const std::wstring wide = wideUrl(url);
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof(parts);
  parts.lpszHostName = address.host;
  parts.dwHostNameLength = kHostUnits;
  parts.lpszUrlPath = address.path;
  parts.dwUrlPathLength = kPathUnits;
  if (!WinHttpCrackUrl(wide.c_str(), static_cast<DWORD>(wide.size()), 0, &parts)) return false;
  address.port = parts.nPort;
  address.secure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  return true;
}

/// The three handles of one exchange, released innermost first.
struct Exchange {
  UniqueInternet session;
  UniqueInternet connection;
  UniqueInternet request;
};

bool openExchange(const Address& address, const wchar_t* method, Exchange& exchange) {
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

/// Sends the request, with `body` as JSON when there is one.
bool sendRequest(HINTERNET request, const std::string* body) {
  if (!body) {
    return WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA,
                              0, 0, 0) != 0;
  }
  const DWORD bytes = static_cast<DWORD>(body->size());
  // WinHTTP takes the body as a pointer to changeable memory and leaves it alone.
  void* data = const_cast<char*>(body->data());
  return WinHttpSendRequest(request, kJsonHeader, kJsonHeaderUnits, data, bytes, bytes, 0) != 0;
}

void readBody(HINTERNET request, std::string& reply) {
  char buffer[kReadBytes];
  DWORD count = 0;
  do {
    count = 0;
    if (!WinHttpReadData(request, buffer, kReadBytes, &count)) return;
    reply.append(buffer, count);
  } while (count != 0);
}

bool exchangeWith(const std::string& url, const wchar_t* method, const std::string* body,
                  std::string& reply) {
  Address address;
  if (!crackUrl(url, address)) return false;
  Exchange exchange;
  if (!openExchange(address, method, exchange)) return false;
  const HINTERNET request = exchange.request.get();
  if (!sendRequest(request, body) || !WinHttpReceiveResponse(request, nullptr)) return false;
  readBody(request, reply);
  return true;
}

}  // namespace

bool httpGet(const std::string& url, std::string& reply) {
  return exchangeWith(url, L"GET", nullptr, reply);
}

bool httpPostJson(const std::string& url, const std::string& body, std::string& reply) {
  return exchangeWith(url, L"POST", &body, reply);
}

}  // namespace launcher
