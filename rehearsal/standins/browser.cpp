// browser.exe: the user's browser, which only notes what it is to open.

#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

int wmain(int count, wchar_t** arguments) {
  const stage::StandIn browser("browser");
  browser.note("open", count > 1 ? stage::toUtf8(arguments[1]) : "");
  return 0;
}
