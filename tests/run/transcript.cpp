#include "tests/run/transcript.h"

#include <cstdio>

namespace worlds {
namespace {

/// On one line: line ends and what is no UTF-8 escaped.
std::string onOneLine(const std::string& bytes) {
  const bool isUtf8 = machine::toUtf8(machine::fromUtf8(bytes)) == bytes;
  std::string line;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x20 && (isUtf8 || value < 0x80)) {
      line += byte;
      continue;
    }
    char escaped[8] = {};
    (void)std::snprintf(escaped, sizeof escaped, "\\x%02X", value);
    line += byte == '\n' ? "\\n" : byte == '\r' ? "\\r" : escaped;
  }
  return line;
}

/// Log and console in one: what reached only one of the two is marked.
std::string screenOf(const Scene& scene) {
  const std::vector<std::string> log = scene.log();
  std::size_t logged = 0;
  std::string text;
  for (const std::string& line : linesOf(scene.machine.console)) {
    const bool inLog = logged < log.size() && log[logged] == line;
    text += (inLog ? "log: " : "console: ") + onOneLine(line) + "\n";
    if (inLog) ++logged;
  }
  for (; logged < log.size(); ++logged) text += "log alone: " + onOneLine(log[logged]) + "\n";
  return text;
}

}  // namespace

std::string transcriptOf(const Scene& scene, int exitCode, std::int64_t startedAt) {
  const machine::Machine& machine = scene.machine;
  std::string text = "exit code " + std::to_string(exitCode) + "\n";
  text += "took " + std::to_string(machine.now() - startedAt) + " ms, " +
          std::to_string(machine.keysAwaited) + " keys\n";
  text += screenOf(scene);
  for (const machine::Request& request : machine.requests) {
    text += "request: " + request.method + " " + request.host + " " + request.path;
    text += request.body.empty() ? "\n" : " " + onOneLine(request.body) + "\n";
  }
  for (const machine::Start& start : machine.starts) {
    text += "start: " + machine::toUtf8(start.commandLine);
    text += start.folder.empty() ? "\n" : " in " + machine::toUtf8(start.folder) + "\n";
  }
  for (const machine::Box& box : machine.boxes) {
    text += "box: " + box.caption + ": " + onOneLine(machine::toUtf8(box.text)) + "\n";
  }
  for (const std::string& address : machine.browser) text += "browser: " + address + "\n";
  for (const auto& [path, bytes] : machine.files.below(scene.world.root)) {
    if (path == scene.app() + "\\launcher.log" || path.ends_with('\\')) continue;
    text += "file: " + path.substr(scene.world.root.size() + 1) + ": " + onOneLine(bytes) + "\n";
  }
  return text;
}

}  // namespace worlds
