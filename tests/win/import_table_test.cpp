#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "rehearsal/stage/stage.h"

namespace {

/// DLLs that every 64-bit Windows brings along.
const std::set<std::string> kWindowsDlls = {"advapi32.dll", "kernel32.dll", "msvcrt.dll",
                                            "ole32.dll",    "shell32.dll",  "user32.dll",
                                            "winhttp.dll",  "ws2_32.dll"};

/// A Windows program file ("PE32+"): a DOS header that says where the PE header is, that with
/// an optional header with a list of directories, and the sections that hold them.
/// Throws std::runtime_error when something points outside of the file.
class ProgramFile {
 public:
  explicit ProgramFile(std::string bytes) : bytes_(std::move(bytes)) {
    if (text(0, 2) != "MZ") throw std::runtime_error("no DOS header");
    header_ = at<std::uint32_t>(0x3C);
    if (text(header_, 4) != std::string_view("PE\0\0", 4)) throw std::runtime_error("no PE header");
    if (at<std::uint16_t>(optional()) != 0x20B) throw std::runtime_error("not 64-bit");
  }

  [[nodiscard]] std::uint16_t machine() const { return at<std::uint16_t>(header_ + 4); }
  [[nodiscard]] std::uint16_t characteristics() const { return at<std::uint16_t>(header_ + 22); }
  [[nodiscard]] std::uint16_t subsystem() const { return at<std::uint16_t>(optional() + 68); }
  [[nodiscard]] std::uint16_t dllCharacteristics() const {
    return at<std::uint16_t>(optional() + 70);
  }

  struct Directory {
    std::uint32_t address;  ///< relative to the program's base
    std::uint32_t size;
  };
  [[nodiscard]] Directory directory(std::uint32_t index) const {
    if (index >= at<std::uint32_t>(optional() + 108)) return {0, 0};
    const std::size_t entry = optional() + 112 + std::size_t{8} * index;
    return {at<std::uint32_t>(entry), at<std::uint32_t>(entry + 4)};
  }

  /// Names of the DLLs in the table of a directory whose entries are `entrySize` bytes long
  /// and hold the name's address at `nameAt`; lower case.
  [[nodiscard]] std::set<std::string> dllNames(std::uint32_t index, std::size_t entrySize,
                                               std::size_t nameAt) const {
    std::set<std::string> names;
    const Directory table = directory(index);
    if (table.address == 0) return names;
    for (std::size_t entry = offsetOf(table.address);; entry += entrySize) {
      const auto name = at<std::uint32_t>(entry + nameAt);
      if (name == 0) return names;
      names.insert(lowerCase(zeroTerminated(offsetOf(name))));
    }
  }

  /// Every whole text of the file that is a plain file name ending in ".dll".
  std::set<std::string> dllTexts() const {
    std::set<std::string> names;
    for (std::size_t at = bytes_.find(".dll"); at != std::string::npos;
         at = bytes_.find(".dll", at + 1)) {
      const std::size_t begin = bytes_.rfind('\0', at) + 1;
      std::string name = bytes_.substr(begin, at + 4 - begin);
      const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '_' || c == '-' || c == '.';
      });
      if (isPlain) names.insert(lowerCase(std::move(name)));
    }
    return names;
  }

 private:
  template <class Number>
  [[nodiscard]] Number at(std::size_t offset) const {
    Number number;
    std::memcpy(&number, text(offset, sizeof number).data(), sizeof number);
    return number;
  }

  [[nodiscard]] std::string_view text(std::size_t offset, std::size_t size) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset) {
      throw std::runtime_error("outside of the file");
    }
    return std::string_view(bytes_).substr(offset, size);
  }

  [[nodiscard]] std::string zeroTerminated(std::size_t offset) const {
    const std::size_t end = bytes_.find('\0', offset);
    if (end == std::string::npos) throw std::runtime_error("name without end");
    return bytes_.substr(offset, end - offset);
  }

  [[nodiscard]] std::size_t optional() const { return header_ + 24; }

  /// Where in the file the section lies that holds this address.
  [[nodiscard]] std::size_t offsetOf(std::uint32_t address) const {
    const std::size_t sections = optional() + at<std::uint16_t>(header_ + 20);
    for (std::size_t i = 0; i < at<std::uint16_t>(header_ + 6); ++i) {
      const std::size_t section = sections + 40 * i;
      const auto start = at<std::uint32_t>(section + 12);
      const auto size = std::max(at<std::uint32_t>(section + 8), at<std::uint32_t>(section + 16));
      if (address >= start && address - start < size) {
        return at<std::uint32_t>(section + 20) + (address - start);
      }
    }
    throw std::runtime_error("address in no section");
  }

  static std::string lowerCase(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
  }

  std::string bytes_;
  std::size_t header_ = 0;
};

class LauncherProgram : public testing::Test {
 protected:
  stage::Stage machine_{"imports"};
  ProgramFile file_{stage::readFile(machine_.launcher()).value_or("")};
};

constexpr std::uint32_t kImports = 1;
constexpr std::uint32_t kRelocations = 5;
constexpr std::uint32_t kDelayedImports = 13;

/// The names that are not in Windows' own list.
std::set<std::string> strangers(const std::set<std::string>& names) {
  std::set<std::string> others;
  std::set_difference(names.begin(), names.end(), kWindowsDlls.begin(), kWindowsDlls.end(),
                      std::inserter(others, others.end()));
  return others;
}

// A function that cmake/delay_import.cmake does not name would be imported here without a word,
// and its DLL looked for beside the launcher before the first line of ours could forbid it.
TEST_F(LauncherProgram, importsNothingButKernelAndRuntimeAtItsStart) {
  std::set<std::string> names = file_.dllNames(kImports, 20, 12);
  EXPECT_EQ(names.erase("kernel32.dll"), 1U);
  names.erase("msvcrt.dll");
  EXPECT_EQ(names, std::set<std::string>{});
}

// MinGW's linker leaves the table of delayed imports empty; what its thunks load stands in
// the file as a text that begins with the DLL's name.
TEST_F(LauncherProgram, alsoWhatItLoadsLaterIsWindowsOwn) {
  EXPECT_EQ(strangers(file_.dllNames(kDelayedImports, 32, 4)), std::set<std::string>{});
  EXPECT_EQ(strangers(file_.dllTexts()), std::set<std::string>{});
}

TEST_F(LauncherProgram, networkAndDialogsComeFromWindows) {
  std::set<std::string> names = file_.dllNames(kImports, 20, 12);
  names.merge(file_.dllNames(kDelayedImports, 32, 4));
  names.merge(file_.dllTexts());
  for (const char* name : {"winhttp.dll", "ws2_32.dll", "user32.dll", "shell32.dll"}) {
    EXPECT_TRUE(names.contains(name)) << name;
  }
}

// The companion is loaded in the same way.
class CheckProgram : public testing::Test {
 protected:
  ProgramFile file_{
      stage::readFile(stage::builtLauncher().parent_path() / "kov_check.exe").value_or("")};
};

TEST_F(CheckProgram, importsNothingButKernelAndRuntimeAtItsStart) {
  std::set<std::string> names = file_.dllNames(kImports, 20, 12);
  EXPECT_EQ(names.erase("kernel32.dll"), 1U);
  names.erase("msvcrt.dll");
  EXPECT_EQ(names, std::set<std::string>{});
}

TEST_F(CheckProgram, alsoWhatItLoadsLaterIsWindowsOwn) {
  std::set<std::string> others = strangers(file_.dllNames(kDelayedImports, 32, 4));
  others.merge(strangers(file_.dllTexts()));
  for (const char* name : {"comctl32.dll", "comdlg32.dll", "dwmapi.dll", "gdi32.dll",
                           "iphlpapi.dll", "ntdll.dll", "oleaut32.dll", "uxtheme.dll"}) {
    others.erase(name);
  }
  // These are files of the race mod, which it looks for.
  others.erase("main.dll");
  EXPECT_EQ(others, std::set<std::string>{});
}

TEST_F(CheckProgram, isA64BitProgramWithoutConsole) {
  EXPECT_EQ(file_.machine(), 0x8664);
  EXPECT_EQ(file_.subsystem(), 2);
}

TEST_F(LauncherProgram, isA64BitConsoleProgram) {
  EXPECT_EQ(file_.machine(), 0x8664);
  EXPECT_EQ(file_.subsystem(), 3);
}

TEST_F(LauncherProgram, mayBeLoadedAnywhereAndItsDataIsNotExecuted) {
  const unsigned flags = file_.dllCharacteristics();
  EXPECT_NE(flags & 0x0020U, 0U) << "HIGH_ENTROPY_VA";
  EXPECT_NE(flags & 0x0040U, 0U) << "DYNAMIC_BASE";
  EXPECT_NE(flags & 0x0100U, 0U) << "NX_COMPAT";
  // Without relocations the flags would be a promise that cannot be kept.
  EXPECT_EQ(file_.characteristics() & 0x0001U, 0U) << "RELOCS_STRIPPED";
  EXPECT_GT(file_.directory(kRelocations).size, 0U);
}

}  // namespace
