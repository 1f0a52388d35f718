#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/run_sequence.h"
#include "core/side_modes.h"
#include "core/text.h"

namespace launcher {
namespace {

constexpr char kBuildLabel[] = "2026-10-28 13:45";
constexpr std::size_t kLongestToken = 255;

/// The login code saved by an earlier run: beside the program or in the data folder
/// beside the program's folder. The first file that opens counts, an empty one too.
void preloadToken(Launch& launch) {
  std::optional<std::string> saved =
      readFileStart(launch.programFolder + kTokenFile, kLongestToken);
  if (!saved) {
    saved = readFileStart(launch.programFolder + "..\\data\\" + kTokenFile, kLongestToken);
  }
  if (!saved) return;
  launch.outcome.profileToken = trimLineEnd(*saved);
  logLine("profile token preloaded (%d bytes)",
          static_cast<int>(launch.outcome.profileToken.size()));
}

int runMode(std::wstring_view firstArgument) {
  loadLibrariesFromSystemOnly();
  takeMissingDisksForMissingFiles();
  prepareConsole();
  Launch launch;
  launch.programFolder = folderWithBackslash(programPath());
  openLog(launch.programFolder + "launcher.log");
  logLine("=== KOV launcher start (build %s) ===", kBuildLabel);
  preloadToken(launch);
  if (firstArgument == L"--detect") return runDetect();
  if (firstArgument == L"--profile") return runProfile(launch);
  if (firstArgument == L"--upload") return runUploadOnly(launch);
  const QuickEditOff noSelection;  // the others write a few lines and end
  return runRace(launch);
}

}  // namespace
}  // namespace launcher

int wmain(int count, wchar_t** arguments) {
  return launcher::runMode(count > 1 ? arguments[1] : L"");
}
