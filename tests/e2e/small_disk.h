#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/unix_shell.h"

namespace e2e {

/// A folder of the stage with a small file system of its own, for programs of this lane only. It
/// is what can be full, or refuse the administrator, whom a read-only folder does not stop.
/// Tests that need it are skipped where Linux lets nobody mount one: on Windows itself, outside
/// of a lane, and in a container without that right.
class SmallDisk {
 public:
  explicit SmallDisk(const std::filesystem::path& folder) : folder_(folder) {
    std::filesystem::create_directories(folder_);
    std::filesystem::create_directories(tools_);
  }
  ~SmallDisk() {
    if (mounted_) (void)unix_shell::run(tools_, "umount -l " + quoted());
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// Why it cannot be had; empty when it is there.
  std::string mount(const std::string& options) {
    if (!unix_shell::ownMounts()) return "no lane: whatever is mounted here would be mounted for the whole machine";
    const auto result = unix_shell::run(
        tools_, "mount -t tmpfs -o " + options + " kov " + quoted() + " && chmod 755 " + quoted());
    if (!result) throw std::runtime_error("mounting a disk does not end");  // no reason to skip
    mounted_ = result->exitCode == 0;
    return mounted_ ? "" : "this machine lets nobody mount a disk in a lane: " + result->output;
  }
  /// Writes until nothing more goes onto it.
  void fill() const {
    const HANDLE file = CreateFileW((folder_ / "filler.bin").c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    const std::string page(4096, 'x');
    DWORD written = 0;
    do {
      written = 0;
      (void)WriteFile(file, page.data(), static_cast<DWORD>(page.size()), &written, nullptr);
    } while (written == page.size());
    CloseHandle(file);
  }
  void makeReadOnly() const {
    const auto result = unix_shell::run(tools_, "mount -o remount,ro " + quoted());
    ASSERT_TRUE(result && result->exitCode == 0) << (result ? result->output : "");
  }

 private:
  [[nodiscard]] std::string quoted() const { return "'" + unix_shell::pathOf(folder_) + "'"; }

  std::filesystem::path folder_;
  std::filesystem::path tools_ = folder_.parent_path() / "disk";
  bool mounted_ = false;
};

}  // namespace e2e
