#pragma once

#include <string>

#include "rehearsal/package/finding.h"
#include "rehearsal/package/web_reply.h"

namespace rehearsal {

/// What a server's answer to a weekly path means for the players. `base` is the server's
/// address as the launcher uses it, without a slash at its end.
Finding judgeWeekly(const std::string& base, const std::string& path, const WebReply& reply);

/// True when nothing else of this server can work either: no need to ask on.
bool endsTheQuestions(const WebReply& reply);

/// The address to write into launcher.ini in place of `base` when `base` + `path` is redirected
/// to `location`; "" when it is one of the same server.
std::string addressAfterRedirect(const std::string& base, const std::string& path,
                                  const std::string& location);

/// The longest login code that a start of the launcher reads back.
constexpr std::size_t kLongestCode = 255;

/// What a server's answer to the trial submission means.
Findings judgeTrial(const std::string& base, const WebReply& reply);

}  // namespace rehearsal
