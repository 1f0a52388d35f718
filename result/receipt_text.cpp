#include "result/receipt_text.h"

#include <cstdio>

namespace launcher {

std::string archiveName(const LocalTime& time) {
  char name[80] = {};
  (void)std::snprintf(name, sizeof(name), "receipt_%04d%02d%02d_%02d%02d%02d.json", time.year,
                      time.month, time.day, time.hour, time.minute, time.second);
  return name;
}

}  // namespace launcher
