#include "tests/run/log_grammar.h"

#include <cstddef>
#include <string_view>

namespace worlds {
namespace {

/// Thrown within this file alone, when the lines end before their mode does.
struct EndOfLines {};

/// Thrown within this file alone, at a line that must not stand where it stands.
struct Unexpected {};

class Reader {
 public:
  explicit Reader(const std::vector<std::string>& lines) : lines_(lines) {}

  [[nodiscard]] LogReading read();

 private:
  /// True, and one line further, when the next line begins so.
  bool maybe(std::string_view start) {
    if (at_ == lines_.size()) throw EndOfLines{};
    if (!std::string_view(lines_[at_]).starts_with(start)) return false;
    ++at_;
    return true;
  }
  void need(std::string_view start) {
    if (!maybe(start)) throw Unexpected{};
  }
  void needOneOf(std::initializer_list<std::string_view> starts) {
    for (const std::string_view start : starts) {
      if (maybe(start)) return;
    }
    throw Unexpected{};
  }
  [[nodiscard]] const std::string& last() const { return lines_[at_ - 1]; }

  void start();
  bool side();
  bool endsEarly();
  void install();
  void livesplit();
  void weekly();
  void game();
  void archive();
  bool upload();
  bool rejected();
  void result(bool accepted);
  void race();

  const std::vector<std::string>& lines_;
  std::size_t at_ = 0;
  LogReading reading_;
};

void Reader::start() {
  need("=== KOV launcher start (build 2026-10-28 13:45) ===");
  reading_.exitCode = 0;
  if (at_ < lines_.size()) (void)maybe("profile token preloaded (");
}

/// --detect and --upload; --profile logs nothing of its own.
bool Reader::side() {
  if (maybe("detected persona bytes: ")) return true;
  const bool choice = maybe("upload difficulty from choice.txt: ");
  if (!maybe("=== upload-only mode ===")) {
    if (choice) throw Unexpected{};
    return false;
  }
  reading_.exitCode = 2;
  const bool accepted = upload();
  need(accepted ? "upload-only result: ok" : "upload-only result: failed");
  reading_.exitCode = accepted ? 0 : 2;
  return true;
}

/// The three ways in which a full run ends before its stages.
bool Reader::endsEarly() {
  if (maybe("launcher.ini missing or incomplete (need receipt and data fields)")) {
    reading_.exitCode = 1;
    return true;
  }
  (void)maybe("steam detected: ");
  if (!maybe("game detected: ")) (void)maybe("game not found in any steam library");
  if (maybe("DRYRUN steam=")) {
    for (const char* line : {"DRYRUN game=", "DRYRUN receipt=", "DRYRUN data=",
                             "DRYRUN livesplit=", "DRYRUN install_from=", "DRYRUN steam_id="}) {
      need(line);
    }
    return true;
  }
  if (!maybe("game not found, aborting")) return false;
  reading_.exitCode = 1;
  return true;
}

void Reader::install() {
  if (maybe("install skipped (game or package path missing)")) return;
  if (!maybe("installing mod files from package...")) return;
  while (maybe("installed ")) {
  }
  int missing = 0;
  while (maybe("MISSING after install: ")) ++missing;
  need(missing == 0 ? "mod install verified OK (4/4 files)"
                    : "mod install INCOMPLETE (" + std::to_string(missing) + " missing)");
}

void Reader::livesplit() {
  (void)maybe("livesplit layout path fixed to ");
  (void)maybe("livesplit started early (before chooser)");
  need("difficulty chooser skipped (in-game difficulty is authoritative)");
  (void)maybe("livesplit found at ");
  if (!maybe("livesplit already running (pid ") && !maybe("livesplit started with splits arg")) {
    (void)maybe("livesplit failed to start (err ");
  }
  if (!maybe("livesplit tcp server reachable (phase=")) {
    (void)maybe("WARNING: livesplit tcp server not reachable");
  }
}

void Reader::weekly() {
  if (maybe("no server configured, using cached data")) return;
  for (const std::string file : {"week.json", "leaderboard.json", "board_data.txt",
                                 "board_en.txt", "board.txt", "board.tsv"}) {
    needOneOf({file + " updated from server",
               file + ": server unreachable, using cached copy"});
    if (file == "week.json") (void)maybe("weekly seed = ");
  }
}

void Reader::game() {
  need("stage: launching game");
  reading_.reachedGame = true;
  if (!maybe("steam started with -applaunch ")) (void)maybe("failed to start steam (err ");
  if (maybe("steam launch did not start the game, trying direct exe")) {
    needOneOf({"launched game directly (fallback)", "direct launch failed (err "});
  }
  const bool watched = maybe("game running (pid ");
  if (watched) {
    need("game exited");
  } else {
    needOneOf({"game process did not appear within 120s", "cannot open game process (pid "});
  }
  need(watched ? "stage: game closed (launch result=1), archiving receipt"
               : "stage: game closed (launch result=0), archiving receipt");
}

void Reader::archive() {
  if (maybe("no receipt file found at ") || maybe("failed to archive receipt")) return;
  need("receipt archived: ");
  need("receipt summary: ending=");
}

/// The lines of a run that the check stops, and the report of it.
bool Reader::rejected() {
  if (!maybe("no receipt to upload") && !maybe("receipt content invalid, upload skipped") &&
      !maybe("run not finished: receipt has no ENDING marker (crashed before ending?)") &&
      !maybe("run not finished, upload skipped (no ending map in splits)")) {
    return false;
  }
  need("skip reported: ");
  return true;
}

/// True when the server accepted the run.
bool Reader::upload() {
  needOneOf({"livesplit probe ok: ", "livesplit probe failed (server not started?)"});
  if (maybe("no server configured, upload skipped")) return false;
  const bool isModResult = maybe("using kovw_result.json (in-game timer)");
  if (rejected()) return false;
  need("livesplit phase: ");
  if (rejected()) return false;
  need("ending inferred from splits: ");
  if (maybe("cross-check: livesplit=")) (void)maybe("WARN: livesplit stopped before last split");
  if (isModResult) {
    need("mod in-game time is authoritative, livesplit only cross-checked");
  } else if (!maybe("livesplit time unavailable, using receipt time")) {
    (void)maybe("livesplit time used: ");
  }
  (void)maybe("difficulty from game (receipt): ");
  if (maybe("upload failed (server unreachable), saved to pending queue")) return false;
  if (maybe("profile token saved")) (void)maybe("opened profile page (first time)");
  need("upload response: ");
  const bool accepted = last().find("\"accepted\":true") != std::string::npos ||
                        last().find("\"accepted\": true") != std::string::npos;
  reading_.accepted = accepted;
  return accepted;
}

void Reader::result(bool accepted) {
  bool finished = accepted;
  if (!accepted && !maybe("stage: run not finished, nothing queued")) {
    need("stage: upload failed, saving pending");
    finished = true;
    reading_.queueWanted = true;
    reading_.savedPending = maybe("pending saved: ");
  }
  need(accepted ? "stage: upload done (ok=1)" : "stage: upload done (ok=0)");
  const bool opened = maybe("opened profile page (fallback path)");
  const std::string card = accepted   ? "result card: kind=ok ok=1"
                           : finished ? "result card: kind=fail ok=0"
                                      : "result card: kind=none ok=0";
  if (maybe(card)) {
    (void)maybe("result card CreateProcess failed (err ");
  } else if (opened) {
    throw Unexpected{};
  }
  need("=== KOV launcher done ===");
}

void Reader::race() {
  install();
  needOneOf({"steam persona detected: ", "steam persona not found, using ini player: "});
  livesplit();
  weekly();
  needOneOf({"timer overlay: 0", "timer overlay: 1"});
  (void)maybe("pending flushed: ");
  game();
  archive();
  need("stage: uploading");
  result(upload());
}

LogReading Reader::read() {
  try {
    start();
    if (at_ < lines_.size() && !side() && !endsEarly()) race();
    reading_.whole = at_ == lines_.size();
    if (!reading_.whole) throw Unexpected{};
  } catch (const EndOfLines&) {
    reading_.whole = false;
  } catch (const Unexpected&) {
    reading_.problem = "unexpected line: " + lines_[at_];
  }
  return reading_;
}

}  // namespace

LogReading readLog(const std::vector<std::string>& lines) { return Reader(lines).read(); }

}  // namespace worlds
