#include "server/http.h"

#include "server/http_exchange_win.h"

namespace launcher {
namespace {

constexpr wchar_t kJsonHeader[] = L"Content-Type: application/json\r\n";
constexpr DWORD kJsonHeaderUnits = 32;
constexpr DWORD kReadBytes = 8192;

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
  HttpAddress address;
  if (!crackHttpUrl(url, address)) return false;
  HttpExchange exchange;
  if (!openHttpExchange(address, method, exchange)) return false;
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
