#pragma once

#include <string>

#include "rehearsal/package/web_reply.h"

namespace rehearsal {

/// Asks as the launcher does, but follows no redirect. With a body it is a POST of JSON, else a
/// GET. At most 1 MB of an answer is read.
WebReply ask(const std::string& url, const std::string& body = {});

}  // namespace rehearsal
