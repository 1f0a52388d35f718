#include "check/run_row.h"

namespace launcher::check {

std::string runsText(const RunRows& runs, Language language) {
  if (runs.empty()) {
    return std::string(say({"还没有成绩。", "No runs yet."}, language)) + "\n";
  }
  std::string text;
  for (const RunRow& run : runs) {
    text += run.when.empty() ? say({"时间不明", "time unknown"}, language) : run.when;
    for (const std::string* part : {&run.time, &run.ending, &run.difficulty}) {
      if (!part->empty()) text += "  " + *part;
    }
    text += "  " + run.outcome + "\n";
  }
  return text;
}

}  // namespace launcher::check
