#include "rehearsal/scenes/show.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "rehearsal/package/package_play.h"
#include "server/weekly_files.h"

namespace rehearsal {

namespace {

constexpr unsigned kPlayerReadsMs = 300;

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

std::string counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// The path as the machine below Wine knows it; empty on Windows itself.
std::string hostPath(const std::filesystem::path& path) {
  const auto root = stage::environmentText("KOV_STAGE_ROOT");
  const auto host = stage::environmentText("KOV_STAGE_HOST");
  const std::string text = stage::textOf(path);
  if (root && host && text.starts_with(*root)) {
    return *host + "/" + stage::replaceAll(text.substr(root->size()), "\\", "/");
  }
  using Convert = char*(__cdecl*)(const wchar_t*);
  const FARPROC found =
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
  if (found == nullptr) return {};
  char* const name = reinterpret_cast<Convert>(reinterpret_cast<void*>(found))(path.c_str());
  if (name == nullptr) return {};
  std::string hostText = name;
  HeapFree(GetProcessHeap(), 0, name);
  return hostText;
}

std::string inBothWorlds(const std::filesystem::path& path) {
  const std::string host = hostPath(path);
  return stage::textOf(path) + (host.empty() ? "" : "\n      on this machine " + host);
}

/// A request in a line: a submission with what matters of it, anything else as it is.
std::string inWords(const stage::Request& request) {
  std::string line = request.method + " " + request.target;
  if (request.target != "/submit") return line + (request.body.empty() ? "" : "  " + request.body);
  const nlohmann::json run = nlohmann::json::parse(request.body, nullptr, false);
  if (!run.is_object()) return line + "  (no JSON) " + request.body;
  const auto text = [&](const char* name) {
    const auto member = run.find(name);
    if (member == run.end()) return std::string("-");
    return member->is_string() ? member->get<std::string>() : member->dump();
  };
  char total[32] = "no time";
  if (run.contains("total") && run["total"].is_number()) {
    std::snprintf(total, sizeof total, "%.2f s", run["total"].get<double>());
  }
  return line + "  " + text("player") + ", ending " + text("ending") + ", " + total + ", " +
         text("difficulty") + ", " +
         (run.contains("splits") ? counted(run["splits"].size(), "split") : "no splits");
}

}  // namespace

Show::Show(std::string_view scene, const stage::Rules& rules)
    : machine_(scene),
      server_({.rules = rules, .timeline = machine_.timeline()}),
      boxes_({.closeAfterMs = kPlayerReadsMs, .timeline = machine_.timeline()}),
      cardPlayer_(machine_.root() / "card.bmp"),
      serverUrl_(server_.url()) {
  machine_.keepFolder();  // it is there to be looked at
}

void Show::setUp() {
  machine_.putUpStandardMachine(serverUrl_);
  if (showsCards_) machine_.installShowingCard();
  setServerStartup(true);
  if (package_ == nullptr) return;
  putOnStage(*package_, machine_);
  addSettings({});
}

void Show::addSettings(const stage::Ini& more) {
  if (package_ != nullptr) {
    writePackageSettings(*package_, machine_, serverUrl_, more);
    return;
  }
  stage::Ini ini = machine_.standardIni(serverUrl_);
  ini.insert(ini.end(), more.begin(), more.end());
  machine_.writeIni(ini);
}

void Show::setServerStartup(bool on) {
  const std::filesystem::path config = machine_.liveSplitFolder() / "settings.cfg";
  std::string text = stage::readFile(config).value_or("");
  const std::string element = "<ServerStartup>";
  const std::size_t value = text.find(element);
  if (value == std::string::npos) return;
  text[value + element.size()] = on ? '1' : '0';
  stage::writeFile(config, text);
}

void Show::queue(std::string_view name, const stage::Receipt& run) {
  stage::writeFile(machine_.data() / "pending" / stage::pathOf(name), run.text());
}

void Show::play(std::string_view arguments, unsigned limitMs) {
  if (look_) look_();
  requestsBefore_ = server_.requests().size();
  say("\n---- the launcher's console ----");
  run_ = machine_.runLauncher(arguments, {.limitMs = limitMs, .live = true});
  say("\n---- end of the console ----\n");
  // A browser starts on its own time.
  if (run_.log.find("opened profile page") != std::string::npos) {
    (void)machine_.timeline().waitFor("browser", "open");  // a missing page is reported later
  }
}

void Show::report() const {
  if (run_.hang) say("The launcher did not end and was stopped.");
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f", run_.elapsedMs / 1000.0);
  say("The launcher ended with code " + std::to_string(run_.exitCode) + " after " + seconds +
      " seconds.");
  reportServer();
  reportPlayer();
  const std::vector<std::string> files = machine_.dataFiles();
  say("In the data folder lie " + counted(files.size(), "file") + ":");
  for (const std::string& file : files) say("  " + file);
  say("Data: " + inBothWorlds(machine_.data()));
  say("Log:  " + inBothWorlds(machine_.log()));
}

std::vector<stage::Request> Show::requests() const {
  std::vector<stage::Request> all = server_.requests();
  all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(requestsBefore_));
  return all;
}

void Show::reportServer() const {
  const std::vector<stage::Request> requests = this->requests();
  say(requests.empty() ? "The race server received nothing."
                       : "The race server received " + counted(requests.size(), "request") + ":");
  for (const stage::Request& request : requests) say("  " + inWords(request));
  const std::vector<stage::BoardRow> board = server_.leaderboard();
  for (std::size_t i = 0; i < board.size(); ++i) {
    say("On this week's board: " + board[i].player + ", rank " + std::to_string(i + 1) + ", " +
        std::to_string(board[i].points) + " points.");
  }
}

void Show::reportPlayer() const {
  for (const stage::SeenBox& box : boxes_.boxes()) {
    say("The player closed a message box \"" + box.caption + "\" (icon: " + box.icon + "):");
    say("  " + stage::replaceAll(box.text, "\n", "\n  "));
  }
  for (const stage::Event& card : machine_.timeline().events("card", "start")) {
    say("The result card was started: " + card.text);
  }
  for (const std::string& url : machine_.openedUrls()) say("The browser was opened: " + url);
}

std::string Show::expected(const std::string& pattern) const {
  return package_ == nullptr ? pattern : expectedOf(*package_, pattern);
}

void Show::expect(bool met, const std::string& complaint) {
  if (met) {
    ++met_;
  } else {
    complaints_.push_back(complaint);
  }
}

void Show::expectExitCode(std::uint32_t code) {
  expect(!run_.hang, "the launcher did not end by itself");
  expect(run_.exitCode == code, "exit code " + std::to_string(run_.exitCode) + " instead of " +
                                    std::to_string(code));
}

void Show::expectAtLeastMs(unsigned milliseconds) {
  expect(run_.elapsedMs >= milliseconds, "over after " + std::to_string(run_.elapsedMs) +
                                             " ms, before " + std::to_string(milliseconds));
}

void Show::expectLog(const std::vector<std::string>& wanted) {
  const std::vector<std::string> lines = run_.logLines();
  auto at = lines.begin();
  for (const std::string& standard : wanted) {
    const std::string pattern = expected(standard);
    const auto like = [&](const std::string& line) { return stage::isLike(line, pattern); };
    const auto found = std::find_if(at, lines.end(), like);
    if (found != lines.end()) {
      at = found + 1;
      expect(true, {});
    } else {
      const bool earlier = std::any_of(lines.begin(), at, like);
      expect(false, (earlier ? "out of order in the log: " : "not in the log: ") + pattern);
    }
  }
}

void Show::expectNotInLog(std::string_view pattern) {
  for (const std::string& line : run_.logLines()) {
    if (stage::isLike(line, pattern)) {
      expect(false, "in the log against expectation: " + line);
      return;
    }
  }
  expect(true, {});
}

void Show::expectOnConsole(std::string_view text) {
  expect(stage::replaceAll(run_.console, "\r\n", "\n").find(text) != std::string::npos,
         "not on the console: " + std::string(text));
}

void Show::expectList(const std::string& what, const std::vector<std::string>& wanted,
                      const std::vector<std::string>& got) {
  for (std::size_t i = 0; i < std::max(wanted.size(), got.size()); ++i) {
    const bool both = i < wanted.size() && i < got.size();
    expect(both && stage::isLike(got[i], wanted[i]),
           what + " " + std::to_string(i + 1) + ": got " +
               (i < got.size() ? got[i] : std::string("(none)")) + ", expected " +
               (i < wanted.size() ? wanted[i] : std::string("(none)")));
  }
  if (wanted.empty() && got.empty()) expect(true, {});
}

void Show::expectRequests(const std::vector<std::string>& wanted) {
  std::vector<std::string> got;
  for (const stage::Request& request : requests()) {
    got.push_back(request.method + " " + request.target);
  }
  expectList("request", wanted, got);
}

void Show::expectBody(std::string_view target, std::string_view body) {
  const std::vector<stage::Request> requests = server_.requests("POST", target);
  const std::string got = requests.empty() ? "(no request)" : requests.back().body;
  expect(stage::isLike(got, body), "body to " + std::string(target) + ": got " + got +
                                       ", expected " + std::string(body));
}

void Show::expectDataFiles(const std::vector<std::string>& files) {
  expectList("data file", files, machine_.dataFiles());
}

void Show::expectDataFile(std::string_view name, std::string_view content) {
  const std::string got = machine_.dataFile(name).value_or("(missing)");
  expect(stage::isLike(got, content), "content of " + std::string(name) + ": got " + got +
                                          ", expected " + std::string(content));
}

void Show::expectBoxes(const std::vector<std::string>& wanted) {
  std::vector<std::string> got;
  for (const stage::SeenBox& box : boxes_.boxes()) {
    got.push_back(box.caption + "|" + box.icon + "|" + box.text);
  }
  expectList("message box", wanted, got);
}

void Show::expectPages(const std::vector<std::string>& urls) {
  std::vector<std::string> wanted;
  for (const std::string& url : urls) wanted.push_back(expected(url));
  expectList("page", wanted, machine_.openedUrls());
}

void Show::expectCards(const std::vector<std::string>& arguments) {
  const std::string program = "\"" + stage::textOf(machine_.app() / "kov_result.exe") + "\"";
  std::vector<std::string> got;
  for (const stage::Event& card : machine_.timeline().events("card", "start")) {
    got.push_back(card.text.starts_with(program) ? card.text.substr(program.size()) : card.text);
  }
  expectList("card", arguments, got);
}

void Show::expectDataFilesOfFullRun(const std::vector<std::string>& besides) {
  std::vector<std::string> files = std::vector<std::string>{"board.toggle",  "launch.state",
                                                            "rand_seed.txt", "timer.enabled",
                                                            "upload.state"} +
                                   besides;
  files.emplace_back("receipts\\receipt_*.json");
  for (const launcher::WeeklyFile& file : launcher::kWeeklyFiles) files.emplace_back(file.name);
  std::sort(files.begin(), files.end());
  expectDataFiles(files);
}

bool Show::conclude() const {
  if (complaints_.empty()) {
    say("\nThe scene went as expected (" + counted(static_cast<std::size_t>(met_), "check") + ").");
    return true;
  }
  say("\nThe scene did not go as expected:");
  for (const std::string& complaint : complaints_) say("  " + complaint);
  return false;
}

std::vector<std::string> weeklyRequests() {
  std::vector<std::string> requests;
  for (const launcher::WeeklyFile& file : launcher::kWeeklyFiles) {
    requests.push_back(std::string("GET ") + file.serverPath);
  }
  return requests;
}

std::vector<std::string> operator+(std::vector<std::string> one,
                                   const std::vector<std::string>& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

std::vector<Scene> allScenes() {
  std::vector<Scene> scenes = runScenes();
  for (const std::vector<Scene>& more : {timerScenes(), serverScenes()}) {
    scenes.insert(scenes.end(), more.begin(), more.end());
  }
  return scenes;
}

}  // namespace rehearsal
