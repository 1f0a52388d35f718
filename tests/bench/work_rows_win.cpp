// The rows that call one stage of the launcher in this process.
#include "tests/bench/rows_win.h"

#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/settings.h"
#include "rehearsal/stage/stage.h"
#include "server/pending_queue.h"
#include "server/server_text.h"
#include "steam/mod_install.h"
#include "tests/bench/bare_request_win.h"
#include "tests/bench/loopback_server_win.h"
#include "tests/bench/measure.h"
#include "tests/bench/programs_win.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 100;
constexpr int kFilesPerFolder = 100;
constexpr int kWalks = 25;
constexpr int kQueued = 500;
constexpr int kFlushes = 9;

void writePackage(const fs::path& root) {
  for (int folder = 0; folder < kFolders; ++folder) {
    const fs::path path = root / ("folder" + std::to_string(folder));
    fs::create_directories(path);
    for (int file = 0; file < kFilesPerFolder; ++file) {
      const fs::path name = path / ("file" + std::to_string(file) + ".lua");
      const HANDLE handle = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
      DWORD written = 0;
      (void)WriteFile(handle, "-- a mod", 8, &written, nullptr);
      (void)CloseHandle(handle);
    }
  }
}

/// Walks `source` and asks once for each of its files in `target`; returns their number.
std::size_t walk(const std::string& source, const std::string& target) {
  std::size_t files = 0;
  WIN32_FIND_DATAA found = {};
  const HANDLE listing = FindFirstFileA((source + "\\*").c_str(), &found);
  do {
    const std::string name = found.cFileName;
    if (name == "." || name == "..") continue;
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      files += walk(source + "\\" + name, target + "\\" + name);
      continue;
    }
    WIN32_FILE_ATTRIBUTE_DATA attributes = {};
    (void)GetFileAttributesExA((target + "\\" + name).c_str(), GetFileExInfoStandard,
                               &attributes);
    ++files;
  } while (FindNextFileA(listing, &found));
  (void)FindClose(listing);
  return files;
}

/// How long some work took, run after run: by the clock, and on the processor with all that
/// Wine does for it.
struct Times {
  std::vector<double> clock;
  std::vector<double> processor;

  template <typename Work>
  void add(Work work) {
    const double processorBefore = processorMillisecondsOfAll();
    const Ticks start = ticksNow();
    work();
    clock.push_back(millisecondsBetween(start, ticksNow()));
    processor.push_back(processorMillisecondsOfAll() - processorBefore);
  }
};

std::string seconds(double milliseconds) { return fixed(milliseconds / 1000.0, 3) + " s"; }

void noteTimes(const std::string& what, const Times& own, const Times& base) {
  const double fastest = *std::min_element(own.clock.begin(), own.clock.end());
  const double baseFastest = *std::min_element(base.clock.begin(), base.clock.end());
  const double processor = median(own.processor);
  const double baseProcessor = median(base.processor);
  std::string text = what + ": " + std::to_string(own.clock.size()) +
                     " runs each in turn; the fastest took " + seconds(fastest) + " and " +
                     seconds(baseFastest) + " (" + fixed(fastest / baseFastest, 2) + ")";
  if (baseProcessor > 0.0) {
    text += "; processor time, Wine's server included: " + seconds(processor) + " and " +
            seconds(baseProcessor) + " (" + fixed(processor / baseProcessor, 2) + ")";
  }
  note(text + ".");
}

std::vector<std::string> queuedPaths(const std::string& data) {
  std::vector<std::string> paths;
  for (int entry = 0; entry < kQueued; ++entry) {
    paths.push_back(data + "\\pending\\p_" + std::to_string(entry) + ".json");
  }
  return paths;
}

void writeQueue(const std::vector<std::string>& paths, const std::string& receipt) {
  for (const std::string& path : paths) stage::writeFile(stage::pathOf(path), receipt);
}

void postBare(const LoopbackServer& server, const std::string& body) {
  (void)bareRequest(server.port(), L"POST", L"/submit", body);
}

void readBare(const std::string& path) {
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  std::string bytes(GetFileSize(file, nullptr), '\0');
  DWORD got = 0;
  (void)ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
  (void)CloseHandle(file);
}

}  // namespace

void measureUnchangedPackage() {
  const stage::Stage machine("package");
  writePackage(machine.package());
  writePackage(machine.gameFolder());
  const std::string source = stage::textOf(machine.package());
  const std::string target = stage::textOf(machine.gameFolder());
  Times own;
  Times base;
  std::size_t files = 0;
  for (int i = 0; i < kWalks; ++i) {
    base.add([&] { files = walk(source, target); });
    own.add([&] { launcher::copyTree(source, target); });
  }
  const double ratio = median(own.clock) / median(base.clock);
  print({"unchanged mod package of " + std::to_string(files) + " files", seconds(median(own.clock)),
         "bare walk, one query a file: " + seconds(median(base.clock)), fixed(ratio, 2),
         "at most 1.3", ratio <= 1.3});
  noteTimes("Mod package", own, base);
}

void measureQueue() {
  const stage::Stage machine("queue");
  const std::string receipt = stage::finishedRun().text();
  const std::string body = launcher::pendingBody(receipt, "runner", "normal");
  LoopbackServer server;
  launcher::Settings settings;
  settings.data = stage::textOf(machine.data());
  settings.server = server.url();
  settings.player = "runner";
  const std::vector<std::string> queue = queuedPaths(settings.data);
  Times own;
  Times posts;
  Times withFiles;
  for (int i = 0; i < kFlushes; ++i) {
    posts.add([&] {
      for (int entry = 0; entry < kQueued; ++entry) postBare(server, body);
    });
    writeQueue(queue, receipt);
    withFiles.add([&] {
      for (const std::string& path : queue) {
        readBare(path);
        postBare(server, body);
        (void)DeleteFileA(path.c_str());
      }
    });
    writeQueue(queue, receipt);
    own.add([&] { launcher::flushPending(settings); });
    if (!stage::listFolder(machine.data() / "pending").empty()) {
      throw std::runtime_error("the queue was not sent");
    }
  }
  const double ratio = median(own.clock) / median(posts.clock);
  const std::string what = std::to_string(kQueued) + " queued entries";
  print({what, seconds(median(own.clock)), "bare POSTs, a session each: " +
         seconds(median(posts.clock)), fixed(ratio, 2), "at most 1.2", ratio <= 1.2});
  const double fileRatio = median(own.clock) / median(withFiles.clock);
  print({"the same beside its bare file calls too", seconds(median(own.clock)),
         "and reading and deleting each: " + seconds(median(withFiles.clock)),
         fixed(fileRatio, 2), "", false});
  noteTimes("Queue", own, posts);
}

}  // namespace bench
