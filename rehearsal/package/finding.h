#pragma once

#include <string>
#include <vector>

namespace rehearsal {

/// What one check of a package found.
struct Finding {
  enum class State {
    ok,
    failed,
    warned,  ///< a race can be played, but probably not as it was meant
    unseen,  ///< cannot be decided from here, for example a path of the player's own machine
  };

  State state = State::ok;
  std::string what;  ///< the check, in a few words; when it failed, what is wrong
  std::string todo = {};  ///< when failed or warned: what to do; when unseen: what to look at
};

using Findings = std::vector<Finding>;

Finding passed(std::string what);
Finding failed(std::string what, std::string todo);
Finding warned(std::string what, std::string todo);
Finding unseen(std::string what, std::string todo);

/// `more` after `all`.
void append(Findings& all, Findings more);

/// One line a finding: "OK      ...", "FAILED  ...: what to do", "WARNING ...: what to do" or
/// "?       ...: what to do".
std::string asLines(const Findings& findings);

/// True when none failed.
bool noneFailed(const Findings& findings);

/// "31 checks: 27 OK, 2 failed, 1 warning, 1 cannot be seen from here."
std::string summary(const Findings& findings);

}  // namespace rehearsal
