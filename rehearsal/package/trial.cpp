#include "rehearsal/package/trial.h"

#include "rehearsal/stage/samples.h"
#include "result/submission.h"
#include "server/weekly_files.h"

namespace rehearsal {

namespace {

/// The text of a member in quotes, "" when there is none.
std::string quotedMember(std::string_view json, std::string_view key) {
  const std::size_t at = json.find(key);
  if (at == std::string_view::npos) return {};
  const std::size_t open = json.find('"', at + key.size());
  if (open == std::string_view::npos) return {};
  const std::size_t close = json.find('"', open + 1);
  return close == std::string_view::npos ? std::string()
                                         : std::string(json.substr(open + 1, close - open - 1));
}

}  // namespace

std::string trialSubmission(std::string_view week) {
  stage::Receipt run = stage::finishedRun();
  if (const std::string name = quotedMember(week, "\"week\":"); !name.empty()) run.week = name;
  if (const std::string seed = launcher::scanSeed(week); !seed.empty()) run.seed = seed;
  std::string receipt = run.text();
  receipt.pop_back();  // the closing brace
  receipt +=
      ",\"trial\":true,\"note\":\"A trial submission of the organiser's package check. "
      "It is not a run; please delete it.\",\"padding\":\"";
  constexpr std::string_view kEnd = "\"}";
  receipt.resize(kTrialReceiptBytes - kEnd.size(), ' ');
  receipt += kEnd;
  return launcher::submissionPayload(kTrialPlayer, "", "normal", launcher::Receipt(receipt));
}

}  // namespace rehearsal
