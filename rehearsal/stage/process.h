#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// True under Wine, false on Windows itself.
bool runsUnderWine();

/// The major version of the Wine that this runs under, such as 8; 0 on Windows itself.
int wineVersion();

/// One running process.
struct RunningProcess {
  std::uint32_t id = 0;
  std::string imageName;       ///< "LiveSplit.exe"
  std::filesystem::path path;  ///< full path of its program; empty when it cannot be asked
};

/// The running processes with this image name, without regard to case.
std::vector<RunningProcess> findProcesses(std::string_view imageName);

/// The running processes whose program lies in this folder or below it.
std::vector<RunningProcess> processesBelow(const std::filesystem::path& folder);

/// The running processes whose program lies outside of Windows' own folder, this one aside.
std::vector<RunningProcess> processesOutsideWindows();

/// Ends one process by its id and waits for its end (at most 5 s). True when it is gone.
bool endProcess(std::uint32_t id);

/// Waits until a process with this image name runs; 0 when the limit passes first.
std::uint32_t waitForProcess(std::string_view imageName, unsigned limitMs = 10000);

/// Waits until no process with this image name runs; false when the limit passes first.
bool waitForNoProcess(std::string_view imageName, unsigned limitMs = 10000);

/// Starts a program without waiting for it and without giving it any of our handles.
/// `arguments` is the raw text after the quoted program path. Returns its process id.
/// Throws std::runtime_error when it does not start.
std::uint32_t startDetached(const std::filesystem::path& program, std::string_view arguments,
                            const std::filesystem::path& currentFolder = {});

/// Starts a program, waits for its end and returns its exit code; -1 when the limit passes
/// (it is then ended). Throws std::runtime_error when it does not start.
long runAndWait(const std::filesystem::path& program, std::string_view arguments,
                unsigned limitMs = 10000);

}  // namespace stage
