#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/support.h"

/// What the tests of the judgement and of the submission share: runs of `--upload`, which
/// need neither Steam nor a game, and short full runs.
namespace e2e {

// Lines of a run without a timer.
inline constexpr char kNoProbe[] = "livesplit probe failed (server not started?)";
inline constexpr char kNoPhase[] = "livesplit phase: (none)";
inline constexpr char kReceiptTime[] = "livesplit time unavailable, using receipt time";
inline constexpr char kModTime[] =
    "mod in-game time is authoritative, livesplit only cross-checked";
inline constexpr char kUsingModResult[] = "using kovw_result.json (in-game timer)";

inline constexpr char kAccepted[] = "{\"accepted\":true,\"rank\":3,\"points\":90}";

/// The whole log of an --upload run: these lines between those of the mode.
inline Lines uploadLog(const Lines& lines, bool accepted) {
  return joined({{kStartLine, "=== upload-only mode ==="},
                 lines,
                 {accepted ? "upload-only result: ok" : "upload-only result: failed"}});
}

/// The whole log of an --upload run without a timer whose receipt's last split is the ending
/// marker of "main" at 9.50 seconds; `lines` are those of the server's reply.
inline Lines submissionLog(const Lines& lines, bool accepted) {
  return uploadLog(joined({{kNoProbe, kNoPhase,
                            "ending inferred from splits: main (map=ENDING:main t=9.50)",
                            kReceiptTime},
                           lines}),
                   accepted);
}

/// The lines after the first that begins with `from`, up to (not including) the next that
/// begins with `to`; empty when either is missing.
inline Lines between(const Lines& lines, std::string_view from, std::string_view to) {
  Lines part;
  bool inside = false;
  for (const std::string& line : lines) {
    if (inside && line.starts_with(to)) return part;
    if (inside) part.push_back(line);
    inside = inside || line.starts_with(from);
  }
  return {};
}

/// A machine without Steam, game, timer and browser, and a race server that accepts runs
/// and hands out no login code.
class UploadTest : public ::testing::Test {
 protected:
  UploadTest() { server.answer("POST", "/submit", stage::Reply::json(kAccepted)); }

  /// Runs `launcher.exe --upload` with the settings so far.
  stage::RunResult upload() {
    machine.writeIni(settings);
    stage::RunOptions options;
    options.limitMs = 30000;
    stage::RunResult run = machine.runLauncher("--upload", options);
    EXPECT_FALSE(run.hang);
    return run;
  }

  /// Replaces the value of a setting or adds it.
  void set(const std::string& key, const std::string& value) {
    for (auto& setting : settings) {
      if (setting.first == key) {
        setting.second = value;
        return;
      }
    }
    settings.emplace_back(key, value);
  }

  /// The bodies of every request of this target, in their order.
  [[nodiscard]] Lines bodies(std::string_view target) const {
    Lines all;
    for (const stage::Request& request : server.requests("POST", target)) {
      all.push_back(request.body);
    }
    return all;
  }
  [[nodiscard]] Lines submissions() const { return bodies("/submit"); }

  stage::Stage machine{"up"};
  stage::RaceServer server;
  stage::Ini settings{{"server", server.url()}, {"player", "runner"}};
};

/// A text without its first byte: how a receipt stands after the launcher's members.
inline std::string behindBrace(const std::string& receipt) { return receipt.substr(1); }

/// The body that a receipt with a difficulty of its own is submitted in, without Steam.
inline std::string payload(std::string_view player, const std::string& receipt) {
  return "{\"player\":\"" + std::string(player) + "\"," + behindBrace(receipt);
}

}  // namespace e2e
