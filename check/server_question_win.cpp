#include "check/server_question.h"

#include "core/platform.h"
#include "server/http_exchange_win.h"

namespace launcher::check {
namespace {

ServerFailure failureOf(unsigned long error) {
  switch (error) {
    case ERROR_WINHTTP_INVALID_URL:
    case ERROR_WINHTTP_UNRECOGNIZED_SCHEME: return ServerFailure::badAddress;
    case ERROR_WINHTTP_NAME_NOT_RESOLVED: return ServerFailure::nameUnknown;
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case ERROR_WINHTTP_CONNECTION_ERROR: return ServerFailure::noConnection;
    case ERROR_WINHTTP_TIMEOUT: return ServerFailure::timedOut;
    case ERROR_WINHTTP_SECURE_FAILURE:
    case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
    case ERROR_WINHTTP_SECURE_CERT_CN_INVALID:
    case ERROR_WINHTTP_SECURE_INVALID_CA:
    case ERROR_WINHTTP_SECURE_CERT_REVOKED:
    case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
    case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
    case ERROR_WINHTTP_SECURE_INVALID_CERT:
    case ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE: return ServerFailure::certificate;
    default: return ServerFailure::other;
  }
}

ServerAnswer failed(unsigned long error) {
  ServerAnswer answer;
  answer.failure = failureOf(error);
  answer.error = error;
  return answer;
}

/// A header's text; empty when the answer has none.
std::string headerText(HINTERNET request, DWORD which) {
  wchar_t text[1024] = {};
  DWORD bytes = sizeof(text) - sizeof(wchar_t);
  if (!WinHttpQueryHeaders(request, which, WINHTTP_HEADER_NAME_BY_INDEX, text, &bytes,
                           WINHTTP_NO_HEADER_INDEX)) {
    return {};
  }
  return wideToUtf8(text);
}

}  // namespace

ServerAnswer askServerOnce(const std::string& url) {
  HttpAddress address;
  if (!crackHttpUrl(url, address)) return failed(ERROR_WINHTTP_INVALID_URL);
  HttpExchange exchange;
  if (!openHttpExchange(address, L"GET", exchange)) return failed(GetLastError());
  const HINTERNET request = exchange.request.get();
  DWORD disabled = WINHTTP_DISABLE_REDIRECTS;
  (void)WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &disabled, sizeof(disabled));
  if (!WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                          0, 0) ||
      !WinHttpReceiveResponse(request, nullptr)) {
    return failed(GetLastError());
  }
  ServerAnswer answer;
  DWORD status = 0;
  DWORD bytes = sizeof(status);
  (void)WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                            WINHTTP_HEADER_NAME_BY_INDEX, &status, &bytes,
                            WINHTTP_NO_HEADER_INDEX);
  answer.status = static_cast<int>(status);
  answer.location = headerText(request, WINHTTP_QUERY_LOCATION);
  answer.date = headerText(request, WINHTTP_QUERY_DATE);
  return answer;
}

}  // namespace launcher::check
