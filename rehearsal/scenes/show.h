#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/package/package.h"
#include "rehearsal/scenes/card_player.h"
#include "rehearsal/stage/stage.h"

namespace rehearsal {

/// One scene being played: the player's machine, the race server and the player, the run of
/// the launcher, and everything that the scene expects of it. Texts with "*" are patterns.
class Show {
 public:
  explicit Show(std::string_view scene, const stage::Rules& rules = {});

  stage::Stage& machine() { return machine_; }
  stage::RaceServer& server() { return server_; }
  const stage::RunResult& run() const { return run_; }
  /// What reached the server since the launcher started.
  [[nodiscard]] std::vector<stage::Request> requests() const;
  const stage::MessageBoxWatcher& boxes() const { return boxes_; }

  /// Plays this package instead of the built launcher with the standard settings. Call it
  /// before setUp(); the package must outlive the show.
  void usePackage(const Package& package) { package_ = &package; }

  /// The cards are noted but not shown. Call it before setUp().
  void showNoCards() { showsCards_ = false; }

  /// The standard machine with its settings for the scene's server.
  void setUp();
  /// Writes the standard settings again, followed by these.
  void addSettings(const stage::Ini& more);
  /// Settings for a server other than the scene's own.
  void setServer(std::string url) { serverUrl_ = std::move(url); }
  /// Whether LiveSplit is set to start its server by itself; after setUp() it is.
  void setServerStartup(bool on);
  /// Puts a run into the queue of undelivered results.
  void queue(std::string_view name, const stage::Receipt& run);

  /// Called when everything is put up, just before the launcher starts. What is asked of the
  /// server then is none of the run's requests.
  void beforePlay(std::function<void()> look) { look_ = std::move(look); }

  /// Plays the launcher, its console live.
  void play(std::string_view arguments = {}, unsigned limitMs = 60000);
  /// Says in plain words what came of it.
  void report() const;

  void expectExitCode(std::uint32_t code);
  /// The run took at least this long: a wait that the launcher owes was kept.
  void expectAtLeastMs(unsigned milliseconds);
  /// These lines stand in the log in this order; others may stand between them.
  void expectLog(const std::vector<std::string>& lines);
  void expectNotInLog(std::string_view line);
  void expectOnConsole(std::string_view text);
  /// Exactly these requests ("GET /leaderboard") reached the server, in this order.
  void expectRequests(const std::vector<std::string>& requests);
  /// The body of the last request to this target.
  void expectBody(std::string_view target, std::string_view body);
  /// Exactly these files lie in the data folder (sorted as listFolder sorts).
  void expectDataFiles(const std::vector<std::string>& files);
  void expectDataFile(std::string_view name, std::string_view content);
  /// Exactly these message boxes came, each "caption|icon|text".
  void expectBoxes(const std::vector<std::string>& boxes);
  /// Exactly these pages were opened.
  void expectPages(const std::vector<std::string>& urls);
  /// Exactly these command lines of the card program, without the program.
  void expectCards(const std::vector<std::string>& arguments);
  /// The files that every completed full run leaves in the data folder, and these besides.
  void expectDataFilesOfFullRun(const std::vector<std::string>& besides);

  /// Prints what was not as expected. True when nothing was.
  [[nodiscard]] bool conclude() const;

 private:
  /// What is expected of the standard settings, for those that are played.
  [[nodiscard]] std::string expected(const std::string& pattern) const;
  void expect(bool met, const std::string& complaint);
  void expectList(const std::string& what, const std::vector<std::string>& wanted,
                  const std::vector<std::string>& got);
  void reportServer() const;
  void reportPlayer() const;

  stage::Stage machine_;
  stage::RaceServer server_;
  stage::MessageBoxWatcher boxes_;
  CardPlayer cardPlayer_;
  std::string serverUrl_;
  const Package* package_ = nullptr;
  bool showsCards_ = true;
  std::function<void()> look_;
  std::size_t requestsBefore_ = 0;
  stage::RunResult run_;
  int met_ = 0;
  std::vector<std::string> complaints_;
};

/// The six weekly GET requests in their order.
std::vector<std::string> weeklyRequests();
/// One list after the other.
std::vector<std::string> operator+(std::vector<std::string> one,
                                   const std::vector<std::string>& other);

/// One scene that can be played.
struct Scene {
  std::string_view name;
  std::string_view line;  ///< what it shows, in a sentence
  void (*play)(Show& show);
  /// What the race server of this scene accepts.
  stage::Rules (*rules)() = [] { return stage::Rules(); };
};

/// The scenes of each file of this folder.
std::vector<Scene> runScenes();
std::vector<Scene> timerScenes();
std::vector<Scene> serverScenes();

/// All of them; the first is the standard scene.
std::vector<Scene> allScenes();

}  // namespace rehearsal
