#pragma once

#include <string>

#include "check/server_rows.h"

namespace launcher::check {

/// What a GET says that the launcher never looks at.
struct ServerAnswer {
  ServerFailure failure = ServerFailure::none;
  unsigned long error = 0;
  int status = 0;
  std::string location;  ///< UTF-8
  std::string date;
};

/// One GET as the launcher makes it, without following a redirect. `url` is ANSI.
[[nodiscard]] ServerAnswer askServerOnce(const std::string& url);

}  // namespace launcher::check
