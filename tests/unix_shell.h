#pragma once

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/text.h"

/// Programs of the machine below Wine, for the few things that no Windows program can put up
/// there: a full disk, a server with a certificate of its own. On Windows itself there are none.
namespace unix_shell {

inline constexpr wchar_t kShell[] = L"Z:\\bin\\sh";

inline bool available() { return stage::runsUnderWine() && stage::pathExists(kShell); }

/// The path as the machine below knows it; empty when there is none.
inline std::string pathOf(const std::filesystem::path& path) {
  using Convert = char*(__cdecl*)(const wchar_t*);
  const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  if (convert == nullptr) return {};
  char* name = convert(path.c_str());
  if (name == nullptr) return {};
  std::string text = name;
  HeapFree(GetProcessHeap(), 0, name);
  return text;
}

/// What a script left behind.
struct Result {
  int exitCode = -1;
  std::string output;  ///< of both streams
};

/// Runs a shell script with `folder` as its current folder, which must exist, and waits for its
/// end; nothing when it does not end in time. Its exit code comes by a file: Wine has no
/// process to wait for.
inline std::optional<Result> run(const std::filesystem::path& folder, const std::string& script,
                                 unsigned limitMs = 20000) {
  const std::filesystem::path file = folder / "job.sh";
  const std::filesystem::path verdict = folder / "job.rc";
  std::filesystem::remove(verdict);
  stage::writeFile(file, "cd \"$(dirname \"$0\")\" || exit\n(\n" + script +
                             "\n) >job.out 2>&1 </dev/null\necho $? >job.new\nmv job.new job.rc\n");
  (void)stage::startDetached(kShell, "\"" + pathOf(file) + "\"");
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
  while (!stage::pathExists(verdict)) {
    if (std::chrono::steady_clock::now() > end) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  Result result;
  result.exitCode = std::stoi(stage::readFile(verdict).value_or("-1"));
  result.output = stage::readFile(folder / "job.out").value_or("");
  return result;
}

/// For a script: where the private keys lie that are made with the tests, authority.key and
/// server.key (RSA, 2048 bits). They are of no use elsewhere.
inline std::string keysFolder() { return pathOf(stage::programFolder()); }

/// True when programs of the machine may mount file systems without anybody else noticing: the
/// lane has a list of processes, and with it mounts, of its own.
inline bool ownMounts() {
  const std::string first = stage::readFile(L"Z:\\proc\\1\\cmdline").value_or("");
  return available() && first.find("/lane") != std::string::npos &&
         first.find("--inside") != std::string::npos;
}

}  // namespace unix_shell
