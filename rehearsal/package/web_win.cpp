#include "rehearsal/package/web_win.h"

#include <windows.h>

#include <winhttp.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "rehearsal/stage/text.h"

namespace rehearsal {

namespace {

using Outcome = WebReply::Outcome;

constexpr int kPatienceMs = 8000;
constexpr std::size_t kEnough = 1 << 20;
constexpr wchar_t kJsonHeader[] = L"Content-Type: application/json\r\n";
constexpr char kEncryptionAdvice[] =
    "let it speak TLS 1.2 (players' Windows need not know TLS 1.3), and https on that port";

/// The errors that mean: the certificate or the encryption. Wine has one for all of it.
constexpr std::array<DWORD, 9> kRefusals = {
    ERROR_WINHTTP_SECURE_FAILURE,         ERROR_WINHTTP_SECURE_CHANNEL_ERROR,
    ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, ERROR_WINHTTP_SECURE_CERT_CN_INVALID,
    ERROR_WINHTTP_SECURE_INVALID_CA,      ERROR_WINHTTP_SECURE_CERT_REVOKED,
    ERROR_WINHTTP_SECURE_CERT_REV_FAILED, ERROR_WINHTTP_SECURE_INVALID_CERT,
    ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE};

/// An objection to a certificate that a request can be made to overlook.
struct Objection {
  DWORD overlook;
  const char* problem;
  const char* advice;
};

constexpr std::array<Objection, 4> kObjections = {{
    {SECURITY_FLAG_IGNORE_UNKNOWN_CA, "its certificate is not trusted",
     "use one of a public authority, together with its intermediate certificates"},
    {SECURITY_FLAG_IGNORE_CERT_DATE_INVALID, "its certificate has expired or is not valid yet",
     "renew it, or set this machine's clock"},
    {SECURITY_FLAG_IGNORE_CERT_CN_INVALID, "its certificate is for another name",
     "get one for this name, or correct server="},
    {SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE, "its certificate is not one for a server",
     "get one for a web server"},
}};

struct CloseInternet {
  void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};
using Internet = std::unique_ptr<void, CloseInternet>;

struct Address {
  std::wstring host;
  std::wstring path;
  INTERNET_PORT port = 0;
  bool secure = false;
};

std::optional<Address> crack(const std::string& url) {
  const std::wstring wide = stage::toWide(url);
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof parts;
  parts.dwHostNameLength = parts.dwUrlPathLength = static_cast<DWORD>(-1);
  if (!WinHttpCrackUrl(wide.c_str(), 0, 0, &parts)) return std::nullopt;
  return Address{{parts.lpszHostName, parts.dwHostNameLength},
                 {parts.lpszUrlPath, parts.dwUrlPathLength},
                 parts.nPort, parts.nScheme == INTERNET_SCHEME_HTTPS};
}

/// One request and its handles, released innermost first.
struct Exchange {
  Internet session;
  Internet connection;
  Internet request;
  DWORD error = 0;  ///< why there is no answer; 0: there is one
};

/// `overlook`: objections to a certificate that do not count in this request.
Exchange exchange(const Address& address, const std::string& body, DWORD overlook) {
  Exchange made;
  // The launcher's own name: some servers answer by it.
  made.session.reset(WinHttpOpen(L"KOV-Race-Launcher/1.0", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                                 nullptr, nullptr, 0));
  WinHttpSetTimeouts(made.session.get(), kPatienceMs, kPatienceMs, kPatienceMs, kPatienceMs);
  made.connection.reset(WinHttpConnect(made.session.get(), address.host.c_str(), address.port, 0));
  made.request.reset(WinHttpOpenRequest(made.connection.get(), body.empty() ? L"GET" : L"POST",
                                        address.path.c_str(), nullptr, nullptr, nullptr,
                                        address.secure ? WINHTTP_FLAG_SECURE : 0));
  const HINTERNET request = made.request.get();
  DWORD redirects = WINHTTP_DISABLE_REDIRECTS;
  WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &redirects, sizeof redirects);
  if (overlook != 0) {
    WinHttpSetOption(request, WINHTTP_OPTION_SECURITY_FLAGS, &overlook, sizeof overlook);
  }
  const auto size = static_cast<DWORD>(body.size());
  // WinHTTP takes the body as a pointer to changeable memory and leaves it alone.
  void* data = body.empty() ? nullptr : const_cast<char*>(body.data());
  if (!WinHttpSendRequest(request, body.empty() ? nullptr : kJsonHeader,
                          body.empty() ? 0 : static_cast<DWORD>(-1), data, size, size, 0) ||
      !WinHttpReceiveResponse(request, nullptr)) {
    made.error = GetLastError();
  }
  return made;
}

std::string headerOf(HINTERNET request, DWORD which) {
  DWORD bytes = 0;
  WinHttpQueryHeaders(request, which, WINHTTP_HEADER_NAME_BY_INDEX, nullptr, &bytes, nullptr);
  if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || bytes == 0) return {};
  std::wstring value(bytes / sizeof(wchar_t), L'\0');
  if (!WinHttpQueryHeaders(request, which, WINHTTP_HEADER_NAME_BY_INDEX, value.data(), &bytes,
                           nullptr)) {
    return {};
  }
  value.resize(bytes / sizeof(wchar_t));
  return stage::toUtf8(value);
}

WebReply answerOf(HINTERNET request) {
  WebReply reply{.outcome = Outcome::answered};
  DWORD status = 0;
  DWORD size = sizeof status;
  WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr,
                      &status, &size, nullptr);
  reply.status = status;
  reply.location = headerOf(request, WINHTTP_QUERY_LOCATION);
  reply.encoding = headerOf(request, WINHTTP_QUERY_CONTENT_ENCODING);
  std::array<char, 4096> piece = {};
  DWORD read = 0;
  while (reply.body.size() < kEnough &&
         WinHttpReadData(request, piece.data(), piece.size(), &read) && read > 0) {
    reply.body.append(piece.data(), read);
  }
  return reply;
}

/// Names what is wrong with a refused server: it is asked again with every objection
/// overlooked, and then with all but one. What still fails without one is that one's fault.
WebReply refusalOf(const Address& address) {
  WebReply reply{.outcome = Outcome::refused};
  DWORD all = 0;
  for (const Objection& objection : kObjections) all |= objection.overlook;
  if (exchange(address, {}, all).error == 0) {
    for (const Objection& objection : kObjections) {
      if (exchange(address, {}, all & ~objection.overlook).error == 0) continue;
      reply.problem += (reply.problem.empty() ? "" : ", and ") + std::string(objection.problem);
      reply.advice += (reply.advice.empty() ? "" : "; ") + std::string(objection.advice);
    }
  }
  if (!reply.problem.empty()) return reply;
  reply.problem = "it and Windows agree on no encryption";
  reply.advice = kEncryptionAdvice;
  return reply;
}

WebReply failureOf(const Address& address, DWORD error) {
  if (std::find(kRefusals.begin(), kRefusals.end(), error) != kRefusals.end()) {
    return refusalOf(address);
  }
  switch (error) {
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case ERROR_WINHTTP_TIMEOUT:
      return {.outcome = Outcome::unreachable};
    case ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED:
      return {.outcome = Outcome::refused,
              .problem = "it wants a certificate of each player",
              .advice = "switch that off"};
    default:
      // The connection ended before an answer; over https perhaps in its greeting.
      return {.outcome = Outcome::broken,
              .advice = address.secure ? kEncryptionAdvice : "look at the server"};
  }
}

}  // namespace

WebReply ask(const std::string& url, const std::string& body) {
  const std::optional<Address> address = crack(url);
  if (!address) return {};
  const Exchange made = exchange(*address, body, 0);
  return made.error == 0 ? answerOf(made.request.get()) : failureOf(*address, made.error);
}

}  // namespace rehearsal
