#pragma once

#include <string>

namespace launcher {

// Two blocking exchanges with the race server, one request each, without retry,
// log or time-outs of their own. The status code is never asked for: a 404 page and
// a 500 are replies like any other, and the caller judges the text. Addresses are in
// the ANSI code page; bodies and replies are bytes.

/// Fetches `url` and appends the body to `reply`. True once the response's headers
/// have arrived, also when reading the body fails half-way; false when the address
/// cannot be parsed or the exchange fails before that.
[[nodiscard]] bool httpGet(const std::string& url, std::string& reply);

/// As httpGet, with method POST and `body` as application/json.
[[nodiscard]] bool httpPostJson(const std::string& url, const std::string& body,
                                std::string& reply);

}  // namespace launcher
