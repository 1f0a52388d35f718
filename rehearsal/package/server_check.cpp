#include "rehearsal/package/server_check.h"

#include <string>

#include "rehearsal/package/reply_check.h"
#include "rehearsal/package/trial.h"
#include "rehearsal/package/web_win.h"
#include "server/weekly_files.h"

namespace rehearsal {

namespace {

std::string baseOf(std::string_view server) {
  std::string base(server);
  while (base.ends_with('/')) base.pop_back();
  return base;
}

struct Weekly {
  Findings found;
  std::string week;     ///< the answer to the first path
  bool answers = true;  ///< false: no other request would get further
};

Weekly askWeekly(const std::string& base) {
  Weekly weekly;
  for (const launcher::WeeklyFile& file : launcher::kWeeklyFiles) {
    const std::string path = file.serverPath;
    const WebReply reply = ask(base + path);
    if (weekly.found.empty() && reply.outcome == WebReply::Outcome::unreachable) {
      return {{unseen("the server " + base + " cannot be reached from here",
                      "check its six weekly paths from a machine that reaches it")},
              {}, false};
    }
    if (weekly.found.empty()) weekly.week = reply.body;
    weekly.found.push_back(judgeWeekly(base, path, reply));
    if (endsTheQuestions(reply)) {
      weekly.answers = false;
      break;
    }
  }
  return weekly;
}

}  // namespace

Findings checkServer(std::string_view server) {
  const std::string base = baseOf(server);
  if (base.empty()) return {};  // reported with the settings
  return askWeekly(base).found;
}

Findings checkServerWithTrial(std::string_view server) {
  const std::string base = baseOf(server);
  if (base.empty()) return {};
  Weekly weekly = askWeekly(base);
  if (weekly.answers) {
    append(weekly.found, judgeTrial(base, ask(base + "/submit", trialSubmission(weekly.week))));
  }
  return weekly.found;
}

}  // namespace rehearsal
