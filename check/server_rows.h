#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "check/finding.h"

namespace launcher::check {

/// Why the server could not be asked.
enum class ServerFailure {
  none,
  badAddress,   ///< server= is no address that Windows understands
  nameUnknown,  ///< there is no machine of this name, or no network
  noConnection, ///< the machine does not take the connection
  timedOut,
  certificate,  ///< the secure connection was refused
  other,
};

/// What the race server said to GET /week/current. Texts are UTF-8.
struct ServerFacts {
  bool isSet = true;
  std::string server = {};
  bool reached = false;         ///< the launcher's own GET got an answer
  ServerFailure failure = ServerFailure::none;
  unsigned long error = 0;      ///< Windows' error code of that failure
  int status = 0;               ///< HTTP status, without following a redirect; 0: not known
  std::string location = {};         ///< where a redirect leads
  std::string week = {};             ///< the answer, as the launcher keeps it in week.json
  std::optional<std::int64_t> serverTime = {};  ///< of its Date header, seconds since 1970
  std::int64_t ownTime = 0;
};

/// The rows that answer Question::server.
[[nodiscard]] Findings serverRows(const ServerFacts& facts, Language language);

}  // namespace launcher::check
