#include "rehearsal/package/address_check.h"

#include <algorithm>

#include "rehearsal/stage/text.h"

namespace rehearsal {

namespace {

constexpr std::size_t kLongestHost = 255;
constexpr unsigned long kLargestPort = 65535;

/// What stands between the scheme and the path, "" when the scheme is missing.
std::string authorityOf(const std::string& address) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!address.starts_with(scheme)) continue;
    const std::string rest = address.substr(scheme.size());
    return rest.substr(0, rest.find_first_of("/?#\\"));
  }
  return {};
}

bool isPort(const std::string& text) {
  const bool digits = !text.empty() && text.size() <= 5 &&
                      text.find_first_not_of("0123456789") == std::string::npos;
  return digits && std::stoul(text) > 0 && std::stoul(text) <= kLargestPort;
}

/// What to do about a host and port that Windows would not take; "" when it does.
std::string adviceForAuthority(const std::string& authority) {
  if (authority.find('@') != std::string::npos) {
    return "remove the user name and the password before the @; the launcher sends none";
  }
  if (authority.starts_with('[')) {
    return "write the server's name in place of the IPv6 address; the launcher takes none";
  }
  const std::size_t colon = authority.find(':');
  if (colon != std::string::npos && !isPort(authority.substr(colon + 1))) {
    return "write a port number after the colon, or neither";
  }
  if (colon == 0) return "write a name before the port";
  if (std::min(colon, authority.size()) > kLongestHost) return "shorten the name";
  return {};
}

}  // namespace

Finding checkAddress(const std::string& key, const std::string& value) {
  const std::string is = key + " is \"" + value + "\"";
  if (value.empty()) return failed("launcher.ini names no " + key, "add the line " + key + "=...");
  const std::string authority = authorityOf(value);
  if (authority.empty()) return failed(is, "begin it with https:// or http://");
  if (!stage::isPlainAscii(value) || value.find(' ') != std::string::npos) {
    return failed(is, "write it without blanks, in ASCII; a name with other letters has a form in"
                      " ASCII (punycode, xn--...)");
  }
  if (const std::string advice = adviceForAuthority(authority); !advice.empty()) {
    return failed(is, advice);
  }
  if (value.find_first_of("?#\\") != std::string::npos) {
    return failed(is, "write it without ?, # and backslash");
  }
  if (authority.substr(0, authority.find(':')).ends_with(".example")) {
    return failed(is, "that is the sample's; write your race's own address");
  }
  if (key == "site" && value.ends_with('/')) return failed(is, "remove the slash at its end");
  return passed(key + " is an address");
}

}  // namespace rehearsal
