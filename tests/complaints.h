#pragma once

#include <string>
#include <vector>

#include "rehearsal/package/finding.h"

namespace rehearsal {

/// "FAILED  what: todo" of every finding that is not "OK".
inline std::vector<std::string> complaints(const Findings& findings) {
  std::vector<std::string> lines;
  for (const Finding& finding : findings) {
    if (finding.state == Finding::State::ok) continue;
    std::string line = asLines({finding});
    line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

}  // namespace rehearsal
