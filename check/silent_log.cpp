// The companion's body of core/log.h: what it calls of the launcher's functions logs nothing.
// launcher.log is the launcher's own, and its lines are no part of what "--text" answers. To
// format them would bring along more of the C library than a page of the companion takes.

#include "core/log.h"

namespace launcher {

void openLog(const std::string& /*path*/) {}
void logLine(const char* /*format*/, ...) {}
void consolePrint(const char* /*format*/, ...) {}
void closeLog() {}

}  // namespace launcher
