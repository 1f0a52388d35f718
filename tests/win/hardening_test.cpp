// What makes an overrun or a strange library in the programs that ship harder to use, as it shows
// in the built files.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/launcher_run.h"
#include "rehearsal/stage/program_start.h"
#include "rehearsal/stage/text.h"

namespace {

/// A program as Windows lays it out in memory, without running it.
class Program {
 public:
  explicit Program(const std::filesystem::path& file)
      : module_(LoadLibraryExW(file.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES)) {}
  ~Program() {
    if (module_ != nullptr) FreeLibrary(module_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] bool loaded() const { return module_ != nullptr; }

  [[nodiscard]] const IMAGE_NT_HEADERS64& headers() const {
    const auto dos = at<IMAGE_DOS_HEADER>(0);
    return *at<IMAGE_NT_HEADERS64>(static_cast<DWORD>(dos->e_lfanew));
  }
  [[nodiscard]] IMAGE_DATA_DIRECTORY directory(unsigned index) const {
    return headers().OptionalHeader.DataDirectory[index];
  }
  [[nodiscard]] std::vector<IMAGE_SECTION_HEADER> sections() const {
    const auto* const first = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
        reinterpret_cast<const char*>(&headers().OptionalHeader) +
        headers().FileHeader.SizeOfOptionalHeader);
    return {first, first + headers().FileHeader.NumberOfSections};
  }
  [[nodiscard]] std::string_view bytes(const IMAGE_SECTION_HEADER& section) const {
    return {at<char>(section.VirtualAddress), section.Misc.VirtualSize};
  }

  /// Names of the libraries that Windows loads with the program; lower case.
  [[nodiscard]] std::set<std::string> imports() const {
    std::set<std::string> names;
    const auto* entry =
        at<IMAGE_IMPORT_DESCRIPTOR>(directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
    for (; entry->Name != 0; ++entry) {
      std::string name = at<char>(entry->Name);
      std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
      });
      names.insert(std::move(name));
    }
    return names;
  }

  template <class Type>
  [[nodiscard]] const Type* at(DWORD offset) const {
    return reinterpret_cast<const Type*>(reinterpret_cast<std::uintptr_t>(module_) + offset);
  }

 private:
  HMODULE module_;
};

class Hardening : public testing::TestWithParam<const char*> {
 protected:
  // A copy with another ending: the loader then takes it for no program that it runs.
  Hardening() {
    std::filesystem::remove(copy_);
    std::filesystem::copy_file(stage::builtLauncher().parent_path() / GetParam(), copy_);
    program_.emplace(copy_);
  }
  ~Hardening() override {
    program_.reset();
    std::error_code ignored;
    std::filesystem::remove(copy_, ignored);
  }
  void SetUp() override { ASSERT_TRUE(program_->loaded()); }

  [[nodiscard]] const Program& program() const { return *program_; }

 private:
  std::filesystem::path copy_ = std::filesystem::temp_directory_path() / "kov-hardening.bin";
  std::optional<Program> program_;
};

TEST_P(Hardening, programIsPlacedAnywhereInAWideAddressSpace) {
  const unsigned flags = program().headers().OptionalHeader.DllCharacteristics;
  EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0U);
  EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA, 0U);
  // Without relocations the two flags would be a promise that cannot be kept.
  EXPECT_EQ(program().headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0U);
  EXPECT_GT(program().directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 8U);
}

TEST_P(Hardening, nothingIsBothWritableAndExecutable) {
  const unsigned flags = program().headers().OptionalHeader.DllCharacteristics;
  EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0U);
  for (const IMAGE_SECTION_HEADER& section : program().sections()) {
    const DWORD both = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
    EXPECT_NE(section.Characteristics & both, both)
        << std::string_view(reinterpret_cast<const char*>(section.Name), 8);
  }
}

// The size goal. What breaks it is a part of the C++ runtime that comes along again.
TEST_P(Hardening, programIsSmall) {
  EXPECT_LT(std::filesystem::file_size(stage::builtLauncher().parent_path() / GetParam()),
            300'000U);
}

// Tools that sign programs disagree about the bytes between sections, and then about the hash.
TEST_P(Hardening, everySectionFillsWholeBlocksOfTheFile) {
  const DWORD alignment = program().headers().OptionalHeader.FileAlignment;
  ASSERT_EQ(alignment, 512U);
  for (const IMAGE_SECTION_HEADER& section : program().sections()) {
    const std::string_view name(reinterpret_cast<const char*>(section.Name), 8);
    EXPECT_EQ(section.SizeOfRawData % alignment, 0U) << name;
    EXPECT_EQ(section.PointerToRawData % alignment, 0U) << name;
  }
}

// Libraries on Windows' list of known ones come from its own folder whatever lies beside the
// program; any other that a program imports would be taken from there.
TEST_P(Hardening, windowsTakesTheImportsFromItsOwnFolder) {
  const std::set<std::string> known = {"advapi32.dll", "gdi32.dll", "kernel32.dll",
                                       "msvcrt.dll",   "ole32.dll", "shell32.dll",
                                       "user32.dll",   "ws2_32.dll"};
  std::set<std::string> others;
  const std::set<std::string> imports = program().imports();
  std::set_difference(imports.begin(), imports.end(), known.begin(), known.end(),
                      std::inserter(others, others.end()));
  EXPECT_EQ(others, std::set<std::string>{});
}

/// How many functions clang's stack protector guards: it mixes the guard with the stack
/// pointer (xor reg, rsp) at their start and at their end; other code never does.
int clangGuards(std::string_view code) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(code[at]); };
  int mixed = 0;
  for (std::size_t i = 0; i + 2 < code.size(); ++i) {
    mixed += (byte(i) & 0xFEU) == 0x48 && byte(i + 1) == 0x31 && (byte(i + 2) & 0xF8U) == 0xE0;
  }
  return mixed / 2;
}

/// How many functions of GCC's code end in this way, which is the stack protector's:
///     sub  reg, [reg]     the guard as the function has it against the guard itself
///     je   +5 or +6
///     call target         the end of the program
///     nop                 with +6: what follows may not look like a function's end
/// All of them call the same target; other code has nothing like it.
int gccGuards(std::string_view code) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(code[at]); };
  std::map<std::int64_t, int> byTarget;
  for (std::size_t i = 0; i + 12 < code.size(); ++i) {
    const unsigned operands = byte(i + 2);
    const bool fromMemory = operands >> 6U == 0 && (operands & 7U) != 5;
    if ((byte(i) & 0xFAU) != 0x48 || byte(i + 1) != 0x2B || !fromMemory) continue;
    const std::size_t branch = i + ((operands & 7U) == 4 ? 4 : 3);
    const bool padded = byte(branch + 1) == 6 && byte(branch + 7) == 0x90;
    if (byte(branch) != 0x74 || (byte(branch + 1) != 5 && !padded)) continue;
    if (byte(branch + 2) != 0xE8) continue;
    std::int32_t distance = 0;
    std::memcpy(&distance, code.data() + branch + 3, sizeof distance);
    ++byTarget[static_cast<std::int64_t>(branch) + 7 + distance];
  }
  int most = 0;
  for (const auto& target : byTarget) most = std::max(most, target.second);
  return most;
}

// The shipped files are stripped, so the stack protector shows in the code alone. (A build
// without it has no such function end at all.)
TEST_P(Hardening, functionsWithBuffersAreGuarded) {
  int guarded = 0;
  for (const IMAGE_SECTION_HEADER& section : program().sections()) {
    if ((section.Characteristics & IMAGE_SCN_MEM_EXECUTE) == 0) continue;
    guarded += gccGuards(program().bytes(section)) + clangGuards(program().bytes(section));
  }
  RecordProperty("guardedFunctions", guarded);
  EXPECT_GE(guarded, 45);
}

INSTANTIATE_TEST_SUITE_P(Programs, Hardening,
                         testing::Values("launcher.exe", "kov_result.exe", "kov_check.exe"),
                         [](const testing::TestParamInfo<const char*>& program) {
                           const std::string_view name = program.param;
                           return std::string(name.substr(0, name.find('.')));
                         });

/// The exit code of the program that overruns (overrun_win.cpp), which is compiled and linked
/// as the launcher is.
std::uint32_t overrun(const char* where, std::size_t bytes) {
  stage::LauncherRun run(stage::programFolder() / "overrun.exe",
                         std::string(where) + " " + std::to_string(bytes), {});
  return run.wait().exitCode;
}

constexpr auto kOverrun = static_cast<std::uint32_t>(STATUS_STACK_BUFFER_OVERRUN);

// In the launcher itself the compiler knows of every copy into a buffer of known size that it
// fits, and leaves the check out: there is nothing to see in the built file.
TEST(Overrun, ofABufferIsStoppedBeforeItHappens) {
  EXPECT_EQ(overrun("copy", 16), 0U);
  EXPECT_EQ(overrun("copy", 17), kOverrun);
}

/// The exception that ends the program, as a debugger sees it.
std::optional<EXCEPTION_RECORD> failureOf(const char* where, std::size_t bytes) {
  const stage::StartedProgram program = stage::startProgram(
      {.program = stage::programFolder() / "overrun.exe",
       .arguments = stage::toWide(where) + L" " + std::to_wstring(bytes),
       .flags = DEBUG_ONLY_THIS_PROCESS});
  std::optional<EXCEPTION_RECORD> failure;
  for (DEBUG_EVENT event{}; WaitForDebugEvent(&event, 20000);) {
    const bool exception = event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT;
    const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
    const bool failed = exception && record.ExceptionCode != EXCEPTION_BREAKPOINT;
    if (failed) failure = record;
    const HANDLE file = event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT
                            ? event.u.CreateProcessInfo.hFile
                        : event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT ? event.u.LoadDll.hFile
                                                                         : nullptr;
    if (file != nullptr) CloseHandle(file);
    ContinueDebugEvent(event.dwProcessId, event.dwThreadId,
                       failed ? DBG_EXCEPTION_NOT_HANDLED : DBG_CONTINUE);
    if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) break;
  }
  return failure;
}

// Windows keeps a report of such an end, not of one that a program orders itself.
TEST(Overrun, isStoppedByAFailFast) {
  EXPECT_FALSE(failureOf("stack", 16).has_value());
  for (const char* where : {"copy", "stack"}) {
    const std::optional<EXCEPTION_RECORD> failure = failureOf(where, 32);
    ASSERT_TRUE(failure) << where;
    EXPECT_EQ(failure->ExceptionCode, static_cast<DWORD>(STATUS_STACK_BUFFER_OVERRUN));
    ASSERT_GE(failure->NumberParameters, 1U);
    EXPECT_EQ(failure->ExceptionInformation[0],
              std::uint64_t{FAST_FAIL_STACK_COOKIE_CHECK_FAILURE});
  }
}

TEST(Overrun, ofTheStackIsStoppedWhenTheFunctionEnds) {
  EXPECT_EQ(overrun("stack", 16), 0U);
  EXPECT_EQ(overrun("stack", 32), kOverrun);
}

}  // namespace
