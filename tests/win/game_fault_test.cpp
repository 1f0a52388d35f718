// A game that nobody may open. Wine lets everybody wait for every process, so the system's
// answer is put in its place: the refusal comes from this program's own import table.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>

#include "core/log.h"
#include "core/settings.h"
#include "rehearsal/stage/stage.h"
#include "steam/game_launch.h"

namespace launcher {
namespace {

HANDLE WINAPI refuseToOpen(DWORD, BOOL, DWORD) {
  SetLastError(ERROR_ACCESS_DENIED);
  return nullptr;
}

/// The place of this program's import table through which it calls a function of kernel32.
void** importOf(const char* function) {
  auto* base = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& entry = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* dll = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + entry.VirtualAddress);
  for (; dll->Name != 0; ++dll) {
    if (_stricmp(reinterpret_cast<const char*>(base + dll->Name), "kernel32.dll") != 0) continue;
    const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + dll->OriginalFirstThunk);
    auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* byName =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0) {
        return reinterpret_cast<void**>(&address->u1.Function);
      }
    }
  }
  return nullptr;
}

/// Lets every OpenProcess of this program fail for the time of a test.
class NoProcessOpens {
 public:
  NoProcessOpens() : place_(importOf("OpenProcess")) {
    if (place_ != nullptr) before_ = exchangeFor(reinterpret_cast<void*>(&refuseToOpen));
  }
  ~NoProcessOpens() {
    if (place_ != nullptr) (void)exchangeFor(before_);
  }
  NoProcessOpens(const NoProcessOpens&) = delete;
  NoProcessOpens& operator=(const NoProcessOpens&) = delete;

  [[nodiscard]] bool works() const { return place_ != nullptr; }

 private:
  void* exchangeFor(void* function) const {
    DWORD before = 0;
    (void)VirtualProtect(place_, sizeof *place_, PAGE_READWRITE, &before);
    void* old = *place_;
    *place_ = function;
    (void)VirtualProtect(place_, sizeof *place_, before, &before);
    return old;
  }

  void** place_;
  void* before_ = nullptr;
};

TEST(GameFault, gameThatCannotBeOpenedIsNotWaitedFor) {
  stage::Stage machine("game");
  machine.installGame();
  stage::GameScript script;
  script.waitMs = 0;
  script.untilEnded = true;
  machine.setGame(script);
  const std::uint32_t game = machine.startGame();
  Settings settings;
  settings.data = stage::textOf(machine.data());
  settings.steam = stage::textOf(machine.root());
  settings.game = stage::textOf(machine.gameExe());
  writeLaunchState(settings, "launching");
  openLog(stage::textOf(machine.log()));
  bool watched = true;
  {
    const NoProcessOpens refusal;
    ASSERT_TRUE(refusal.works());
    watched = launchAndWait(settings);
  }
  closeLog();
  EXPECT_FALSE(watched);
  EXPECT_EQ(stage::findProcesses("Backrooms-Win64-Shipping.exe").size(), 1U);
  EXPECT_EQ(machine.logBytes(),
            "cannot open game process (pid " + std::to_string(game) + ")\r\n");
  EXPECT_EQ(machine.dataFile("launch.state"), "launching");
  machine.endGame();
  EXPECT_TRUE(stage::waitForNoProcess("Backrooms-Win64-Shipping.exe"));
}

}  // namespace
}  // namespace launcher
