#include "tests/run/invariants.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace worlds {
namespace {

using machine::Call;
using machine::Failure;
using machine::Machine;

constexpr std::int64_t kSettleMs = 2 * 60 * 60 * 1000;
constexpr std::int64_t kPollMs = 500;
constexpr std::int64_t kConnectMs = 250;
constexpr std::int64_t kRequestMs = 60000;
constexpr std::int64_t kCardsMs = 4000 + 15000;
constexpr std::int64_t kGameAndTimerMs = 1000000 + 50000;
constexpr std::ptrdiff_t kMostPolls = 30 + 60 + 240;
constexpr std::ptrdiff_t kMostConnections = 30 + 4;
constexpr std::ptrdiff_t kWeeklyFiles = 6;

constexpr std::array<std::string_view, 14> kStateFiles = {
    "launch.state", "upload.state", "timer.enabled", "board.toggle", "profile_token.txt",
    "profile_opened.flag", "rand_seed.txt", "week.json", "leaderboard.json", "board_data.txt",
    "board_en.txt", "board.txt", "board.tsv", "receipts\\"};

/// What the launcher may do with a file.
enum class Kind { log, receipt, modResult, queueEntry, archive, state, layout, mod, other };

/// A logged line as it is written: text mode, and its end.
std::string written(const std::string& line) {
  std::string bytes;
  for (const char byte : line + "\n") {
    if (byte == '\n') bytes += '\r';
    bytes += byte;
  }
  return bytes;
}

bool beginsWith(std::string_view text, std::string_view start) { return text.starts_with(start); }

/// Where the files of a scene lie. Folders end in a backslash.
struct Places {
  explicit Places(const Scene& scene)
      : log(scene.app() + "\\launcher.log"),
        receipt(scene.receipt()),
        layout(scene.world.root + "\\ls\\settings.cfg"),
        data(scene.data() + "\\"),
        modFolder(scene.gameFolder() + "\\ue4ss\\"),
        modLoader(scene.gameFolder() + "\\dwmapi.dll") {}
  std::string log, receipt, layout, data, modFolder, modLoader;
};

/// What a file of the data folder is, by its name from there.
Kind kindInData(std::string_view name) {
  if (name.empty()) return Kind::state;
  if (name == "kovw_result.json") return Kind::modResult;
  if (name == "pending\\" || name == "receipts\\") return Kind::state;
  if (beginsWith(name, "pending\\p_")) return Kind::queueEntry;
  if (beginsWith(name, "receipts\\receipt_")) return Kind::archive;
  const bool isState = std::find(kStateFiles.begin(), kStateFiles.end(), name) != kStateFiles.end();
  return isState ? Kind::state : Kind::other;
}

Kind kindOf(const Places& places, std::string_view path) {
  if (path == places.log) return Kind::log;
  if (path == places.receipt) return Kind::receipt;
  if (path == places.layout) return Kind::layout;
  if (beginsWith(path, places.data)) return kindInData(path.substr(places.data.size()));
  const bool isMod = beginsWith(path, places.modFolder) || path == places.modLoader;
  return isMod ? Kind::mod : Kind::other;
}

/// What the file would be in a data folder elsewhere.
Kind kindElsewhere(std::string_view path) {
  const std::size_t end = path.size() - (path.ends_with('\\') ? 1 : 0);
  const std::size_t name = path.rfind('\\', end - 1) + 1;
  const Kind direct = kindInData(path.substr(name));
  if (direct != Kind::other || name < 2) return direct;
  const std::size_t folder = path.rfind('\\', name - 2) + 1;
  return kindInData(path.substr(folder));
}

/// Checks one run; every broken invariant is a line.
class Check {
 public:
  Check(const Scene& scene, const Play& play) : scene_(scene), play_(play), places_(scene) {}

  std::vector<std::string> all() {
    ends();
    logs();
    keepsRuns();
    keepsFiles();
    sendsOnce();
    return std::move(broken_);
  }

 private:
  void require(bool holds, const std::string& what) {
    if (!holds) broken_.push_back(what);
  }
  [[nodiscard]] std::ptrdiff_t count(std::initializer_list<Call> kinds) const {
    std::ptrdiff_t number = 0;
    for (const Call kind : kinds) {
      number += std::count(machine().calls.begin(), machine().calls.end(), kind);
    }
    return number;
  }
  [[nodiscard]] const Machine& machine() const { return scene_.machine; }
  /// Whether something went wrong in this run that can leave a file half written.
  [[nodiscard]] bool disturbed() const {
    return play_.stopped || !machine().faults.empty() || scene_.world.diskIsFull;
  }

  /// Whether the launcher read the first half of launcher.ini only, and that ends within the
  /// data folder's name: then its files go to the folder that is named by what is left.
  [[nodiscard]] bool dataFolderIsCut() const {
    const bool half = std::any_of(
        machine().faults.begin(), machine().faults.end(), [this](const machine::Fault& fault) {
          if (fault.call >= machine().calls.size()) return false;
          const Call call = machine().calls[fault.call];
          return call == Call::readWholeFile &&
                 machine::fitting(call, fault.how) == machine::Failure::half;
        });
    const std::string ini =
        machine().files.bytesOf(scene_.app() + "\\launcher.ini").value_or("");
    const std::string read = ini.substr(0, ini.size() / 2);
    return half && read.substr(read.rfind('\n') + 1).starts_with("data=");
  }

  void ends();
  void logs();
  void logsArrive();
  void keepsRuns();
  void keepsFiles();
  void keepsFile(const std::string& path, const std::string& bytes, const std::string* after);
  void bringsNothingElse(const std::string& path);
  [[nodiscard]] Kind kindOfNew(const std::string& path) const;
  void sendsOnce();

  const Scene& scene_;
  const Play& play_;
  const Places places_;
  std::vector<std::string> broken_;
};

void Check::ends() {
  require(play_.hang.empty(), "waits for ever: " + play_.hang);
  const std::ptrdiff_t polls = count({Call::sleepMilliseconds});
  const std::ptrdiff_t connections = count({Call::livesplitOpen});
  const std::ptrdiff_t requests = count({Call::httpGet, Call::httpPostJson});
  require(machine().calls.size() <= kMostCalls, "too many calls");
  require(polls <= kMostPolls, "more polls than the waits prescribe");
  require(connections <= kMostConnections, "asks the timer too often");
  const std::int64_t bound = polls * kPollMs + connections * kConnectMs + requests * kRequestMs +
                             kCardsMs + kGameAndTimerMs;
  require(play_.ms <= bound, "waits longer than prescribed: " + std::to_string(play_.ms) + " ms");
}

void Check::logs() {
  require(play_.log.problem.empty(), "log: " + play_.log.problem);
  if (!play_.stopped && play_.hang.empty()) {
    require(play_.log.whole, "log: ends before its run does");
    require(play_.exitCode == play_.log.exitCode,
            "exit code " + std::to_string(play_.exitCode) + " does not go with the log");
  }
  std::size_t at = 0;
  for (const std::string& line : machine().logged) {
    const std::string bytes = written(line);
    const std::size_t hit = machine().console.find(bytes, at);
    require(hit != std::string::npos, "console lacks the line: " + line);
    if (hit == std::string::npos) return;
    at = hit + bytes.size();
  }
  logsArrive();
}

/// launcher.log has every line whose writing did not fail.
void Check::logsArrive() {
  std::string expected = play_.logBefore;
  std::size_t line = 0;
  bool open = false;
  for (std::size_t call = 0; call < machine().calls.size(); ++call) {
    const auto& faults = machine().faults;
    const bool fails = std::any_of(faults.begin(), faults.end(), [call](const auto& fault) {
      return fault.call == call;
    });
    if (machine().calls[call] == Call::openLog) open = !fails;
    if (machine().calls[call] != Call::logLine || line == machine().logged.size()) continue;
    const std::string& text = machine().logged[line++];
    if (open && !fails) expected += written(text);
  }
  const std::string log =
      machine().files.bytesOf(scene_.app() + "\\launcher.log").value_or("");
  const bool isFull = scene_.world.diskIsFull;
  require(isFull ? expected.starts_with(log) : log == expected, "launcher.log lacks a line");
}

void Check::keepsRuns() {
  for (const auto& [seed, receipt] : scene_.finished) {
    require(isKept(scene_, seed) || scene_.losses.contains(seed), "run " + seed + " is lost");
  }
}

void Check::keepsFile(const std::string& path, const std::string& bytes,
                      const std::string* after) {
  const bool same = after && *after == bytes;
  const bool isOurs = after && std::find(scene_.results.begin(), scene_.results.end(), *after) !=
                                   scene_.results.end();
  switch (kindOf(places_, path)) {
    case Kind::log:
      require(after && after->starts_with(bytes), "the log lost earlier lines");
      break;
    case Kind::receipt:
    case Kind::modResult:
      require(same || isOurs || (!after && play_.log.accepted), "changed or lost: " + path);
      break;
    case Kind::queueEntry: {
      bool taken = !after;
      for (const auto& [seed, whole] : scene_.finished) {
        if (whole == bytes) taken = taken && scene_.accepted(seed) > 0;
      }
      require(same || taken, "queue entry changed or lost: " + path);
      break;
    }
    case Kind::layout:
      require(after && (same || after->find("halvorn.lsl") != std::string::npos || disturbed()),
              "LiveSplit's settings spoiled");
      break;
    case Kind::mod:
      require(same || disturbed() || (after && after->starts_with("mod file ")),
              "mod file spoiled: " + path);
      break;
    case Kind::state:
      require(after != nullptr, "gone: " + path);
      break;
    case Kind::archive:
    case Kind::other:
      require(same, "changed or gone: " + path);
      break;
  }
}

Kind Check::kindOfNew(const std::string& path) const {
  const Kind kind = kindOf(places_, path);
  if (kind != Kind::other || !dataFolderIsCut()) return kind;
  const bool isFolder = path.ends_with('\\');  // the data folder itself
  const Kind elsewhere = kindElsewhere(path);
  return elsewhere == Kind::other && isFolder ? Kind::state : elsewhere;
}

void Check::bringsNothingElse(const std::string& path) {
  const Kind kind = kindOfNew(path);
  require(kind != Kind::other && kind != Kind::layout, "new: " + path);
}

void Check::keepsFiles() {
  const auto after = machine().files.below("C:\\");
  for (const auto& [path, bytes] : play_.before) {
    const auto hit = after.find(path);
    keepsFile(path, bytes, hit == after.end() ? nullptr : &hit->second);
  }
  std::ptrdiff_t queued = 0;
  for (const auto& [path, bytes] : after) {
    if (play_.before.contains(path)) continue;
    bringsNothingElse(path);
    if (kindOfNew(path) == Kind::queueEntry) ++queued;
  }
  require(queued == (play_.log.savedPending ? 1 : 0) || play_.stopped,
          "the queue is not what the log says");
}

void Check::sendsOnce() {
  std::ptrdiff_t entries = 0;
  for (const auto& [path, bytes] : play_.before) {
    if (kindOf(places_, path) == Kind::queueEntry) ++entries;
  }
  std::ptrdiff_t submissions = 0;
  std::ptrdiff_t reports = 0;
  std::set<std::string> fetched;
  for (std::size_t i = play_.firstRequest; i < machine().requests.size(); ++i) {
    const machine::Request& request = machine().requests[i];
    if (request.method == "GET") {
      require(fetched.insert(request.path).second, "fetched twice: " + request.path);
    } else if (request.path == "/submit") {
      ++submissions;
    } else {
      require(request.path == "/client/log", "unknown path: " + request.path);
      ++reports;
    }
  }
  require(submissions <= entries + 1, "a run is sent twice in one start");
  require(reports <= 1 && submissions + reports <= entries + 1, "a run is judged twice");
  require(static_cast<std::ptrdiff_t>(fetched.size()) <= kWeeklyFiles, "more than six files");
  require(machine().boxes.size() - play_.firstBox <= 3, "more boxes than stages have them");
}

}  // namespace

bool isKept(const Scene& scene, const std::string& seed) {
  return scene.accepted(seed) > 0 || scene.isInReceipt(seed) || scene.isQueued(seed) ||
         scene.isArchived(seed);
}

Play play(Scene& scene) { return play(scene, scene.world.argument); }

Play play(Scene& scene, const std::string& argument) {
  Machine& machine = scene.machine;
  Play play;
  play.before = machine.files.below("C:\\");
  play.logBefore = machine.files.bytesOf(scene.app() + "\\launcher.log").value_or("");
  play.firstRequest = machine.requests.size();
  play.firstStart = machine.starts.size();
  play.firstBox = machine.boxes.size();
  const std::int64_t startedAt = machine.now();
  try {
    play.exitCode = scene.run(argument);
  } catch (const machine::Stopped&) {
    play.stopped = true;
  } catch (const machine::Hang& hang) {
    play.hang = hang.what;
  }
  play.ms = machine.now() - startedAt;
  machine.advance(kSettleMs);
  play.log = readLog(machine.logged);
  return play;
}

std::vector<std::string> violations(const Scene& scene, const Play& play) {
  return Check(scene, play).all();
}

}  // namespace worlds
