#include "rehearsal/package/address_check.h"

#include "core/settings_faults.h"

namespace rehearsal {

namespace {

/// What an organiser does about an address that has a value.
std::string adviceFor(launcher::AddressFault fault) {
  using Fault = launcher::AddressFault;
  switch (fault) {
    case Fault::none:
    case Fault::empty: break;
    case Fault::noScheme: return "begin it with https:// or http://";
    case Fault::oddCharacters:
      return "write it without blanks, in ASCII; a name with other letters has a form in"
             " ASCII (punycode, xn--...)";
    case Fault::userName:
      return "remove the user name and the password before the @; the launcher sends none";
    case Fault::ipv6:
      return "write the server's name in place of the IPv6 address; the launcher takes none";
    case Fault::badPort: return "write a port number after the colon, or neither";
    case Fault::noName: return "write a name before the port";
    case Fault::longName: return "shorten the name";
    case Fault::hasQuery: return "write it without ?, # and backslash";
    case Fault::sample: return "that is the sample's; write your race's own address";
  }
  return {};
}

}  // namespace

Finding checkAddress(const std::string& key, const std::string& value) {
  const std::string is = key + " is \"" + value + "\"";
  if (value.empty()) return failed("launcher.ini names no " + key, "add the line " + key + "=...");
  const std::string advice = adviceFor(launcher::addressFault(value));
  if (!advice.empty()) return failed(is, advice);
  if (key == "site" && value.ends_with('/')) return failed(is, "remove the slash at its end");
  return passed(key + " is an address");
}

}  // namespace rehearsal
