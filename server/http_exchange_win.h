#pragma once

#include <string>

#include "core/win_handle.h"

namespace launcher {

inline constexpr DWORD kHttpHostUnits = 256;
inline constexpr DWORD kHttpPathUnits = 2048;

/// The parts of a URL. A query is not among them.
struct HttpAddress {
  wchar_t host[kHttpHostUnits] = {};
  wchar_t path[kHttpPathUnits] = {};
  INTERNET_PORT port = 0;
  bool secure = false;
};

/// Takes a URL (ANSI code page) apart; false when it cannot be parsed.
[[nodiscard]] bool crackHttpUrl(const std::string& url, HttpAddress& address);

/// The three handles of one exchange, released innermost first.
struct HttpExchange {
  UniqueInternet session;
  UniqueInternet connection;
  UniqueInternet request;
};

/// Opens them as every exchange of the launcher does: its user agent, Windows' defaults for
/// everything else. False, with GetLastError() set, when Windows refuses.
[[nodiscard]] bool openHttpExchange(const HttpAddress& address, const wchar_t* method,
                                    HttpExchange& exchange);

}  // namespace launcher
