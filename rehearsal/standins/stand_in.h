#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "rehearsal/stage/timeline.h"

namespace stage {

/// What every stand-in program has: its script (the JSON file beside it, an empty object
/// when there is none) and the timeline that the script names.
class StandIn {
 public:
  /// `who` is the stand-in's name in the timeline.
  explicit StandIn(std::string_view who);
  ~StandIn();

  // A value of the script, or `fallback` when the script does not name it. One of another
  // kind ends the program.
  [[nodiscard]] bool value(const char* name, bool fallback) const;
  [[nodiscard]] int value(const char* name, int fallback) const;
  [[nodiscard]] unsigned value(const char* name, unsigned fallback) const;
  [[nodiscard]] unsigned short value(const char* name, unsigned short fallback) const;
  [[nodiscard]] std::string value(const char* name, const std::string& fallback) const;
  void value(const char* name, const char* fallback) const = delete;  // would be taken as bool
  [[nodiscard]] std::filesystem::path path(const char* name) const;
  [[nodiscard]] const nlohmann::json& script() const { return *script_; }
  [[nodiscard]] const Timeline& timeline() const { return timeline_; }

  void note(std::string_view what, std::string_view text = {}) const;

  /// This program's exact command line.
  [[nodiscard]] static std::string commandLine();
  /// This program's own file.
  [[nodiscard]] static std::filesystem::path program();

 private:
  std::string who_;
  std::unique_ptr<const nlohmann::json> script_;  ///< most stand-ins need not know of JSON
  Timeline timeline_;
};

/// Waits; ends early when the file appears (an empty path never does).
/// True when the file is there.
bool waitForFile(const std::filesystem::path& file, unsigned limitMs);

}  // namespace stage
