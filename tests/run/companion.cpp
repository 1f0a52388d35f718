#include "tests/run/companion.h"

#include <map>

#include "check/actions.h"
#include "check/notes.h"
#include "check/report.h"

namespace worlds {
namespace {

namespace check = launcher::check;
using Files = std::map<std::string, std::string>;

constexpr check::Language kLanguage = check::Language::english;

void pressButtons(bool sends, ByHand& done) {
  const check::Machine looked = check::readMachine();
  for (const check::RunRow& row : check::readRuns(looked, kLanguage)) {
    if (row.queueSource.empty()) continue;
    if (row.fate != check::Fate::neverSent && row.fate != check::Fate::refused) {
      done.broken.push_back("can be queued: " + row.outcome);
    }
    const check::ActionResult put = check::putIntoQueue(looked, row, kLanguage);
    if (!put.done) done.broken.push_back("not queued: " + put.text);
    ++done.queued;
  }
  if (sends) (void)check::resendQueue(looked, kLanguage);
}

/// The entry's run is known, and the server has it.
bool isTaken(const Scene& scene, const std::string& bytes) {
  for (const auto& [seed, whole] : scene.finished) {
    if (whole == bytes) return scene.accepted(seed) > 0;
  }
  return false;
}

void compare(const Scene& scene, const Files& before, const Files& after, ByHand& done) {
  const std::string queue = scene.data() + "\\pending\\";
  const std::string notes = scene.data() + "\\" + check::kNotesFile;
  for (const auto& [path, bytes] : before) {
    const auto now = after.find(path);
    const bool same = now != after.end() && now->second == bytes;
    const bool sent = now == after.end() && path.starts_with(queue) && isTaken(scene, bytes);
    // Only lines are added to its notes, and what an earlier one left beside them may go.
    const bool noted = path == notes && now != after.end() && now->second.starts_with(bytes);
    const bool swept = path == notes + ".kov-new";
    if (!same && !sent && !noted && !swept) done.broken.push_back("changed or gone: " + path);
  }
  for (const auto& [path, bytes] : after) {
    if (before.contains(path) || path == notes || path == queue) continue;
    if (done.stopped && path == notes + ".kov-new") continue;
    if (!path.starts_with(queue + "p_")) done.broken.push_back("new: " + path);
  }
}

}  // namespace

ByHand queueByHand(Scene& scene, bool sends) {
  machine::Machine& machine = scene.machine;
  const Files before = machine.files.below("C:\\");
  ByHand done;
  machine.calls.clear();
  machine.logPath.reset();  // a launcher that was ended may have left it open
  try {
    pressButtons(sends, done);
  } catch (const machine::Stopped&) {
    done.stopped = true;
  } catch (const machine::Hang& hang) {
    done.broken.push_back("waits for ever: " + hang.what);
  }
  compare(scene, before, machine.files.below("C:\\"), done);
  return done;
}

}  // namespace worlds
