#include "check/log_runs.h"
#include "check/runs.h"
#include "tests/fuzz/fuzz_target.h"

// launcher.log as it lies on a player's machine: cut, edited, in any code page.
KOV_FUZZ_TARGET(checkLog) {
  using launcher::check::readLogRuns;
  fuzzing::requireLinearTime(input, [](std::string_view log) {
    (void)readLogRuns(log);
    (void)launcher::check::lastRunsBegin(log, 3);
  });
  const launcher::check::LogRuns log = readLogRuns(input);
  check(log.runs.size() <= fuzzing::countOf(input, launcher::check::kStartOfRun));
  for (const launcher::check::LogRun& run : log.runs) {
    check(run.archive.empty() || run.archive.starts_with("receipt_"));
    check(run.pending.empty() || run.pending.starts_with("p_"));
    check(run.reply.find('\n') == std::string::npos);
  }
  check(launcher::check::lastRunsBegin(input, 3) <= input.size());

  // The same bytes as the log and as a receipt: at worst a row says "unknown".
  launcher::check::RunFacts facts;
  facts.log = input;
  facts.notes = input;
  facts.launchState = input;
  const std::string name = "receipt_20250301_214502.json";
  facts.archived = {{name, name, std::string(input)}};
  for (const launcher::check::RunRow& row :
       launcher::check::runRows(facts, launcher::check::Language::english)) {
    check(!row.outcome.empty());
    check(row.queueSource.empty() || launcher::check::isFinished(std::string(input)));
  }
}
