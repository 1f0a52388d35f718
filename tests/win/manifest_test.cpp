// What the manifests in the programs that ship say, as Windows reads them.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"

namespace {

class Manifest : public testing::TestWithParam<const char*> {
 protected:
  // Fails when the manifest cannot be read or names an assembly that Windows does not have.
  Manifest() {
    const std::wstring file = (stage::builtLauncher().parent_path() / GetParam()).wstring();
    ACTCTXW wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
    wanted.lpSource = file.c_str();
    wanted.lpResourceName = MAKEINTRESOURCEW(1);
    context_ = CreateActCtxW(&wanted);
  }
  ~Manifest() override {
    if (cookie_ != 0) DeactivateActCtx(0, cookie_);
    if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
  }
  void SetUp() override { ASSERT_NE(context_, INVALID_HANDLE_VALUE) << GetLastError(); }

  /// A setting of the year in which Windows learned it; "" when the manifest has none.
  [[nodiscard]] std::string setting(const wchar_t* year, const wchar_t* name) const {
    const std::wstring space =
        std::wstring(L"http://schemas.microsoft.com/SMI/") + year + L"/WindowsSettings";
    wchar_t value[128] = {};
    SIZE_T units = 0;
    if (!QueryActCtxSettingsW(0, context_, space.c_str(), name, value, std::size(value), &units)) {
      return {};
    }
    return stage::toUtf8(value);
  }
  /// In force for this thread until the test ends.
  [[nodiscard]] bool activate() { return ActivateActCtx(context_, &cookie_) != FALSE; }
  /// What Windows knows of the whole context; nothing when it does not.
  [[nodiscard]] std::vector<std::byte> information(ULONG kind) const {
    std::vector<std::byte> bytes(8192);
    if (!QueryActCtxW(0, context_, nullptr, kind, bytes.data(), bytes.size(), nullptr)) return {};
    return bytes;
  }

 private:
  HANDLE context_ = INVALID_HANDLE_VALUE;
  ULONG_PTR cookie_ = 0;
};

TEST_P(Manifest, asksForSharpWindowsOnEveryScreen) {
  EXPECT_EQ(setting(L"2016", L"dpiAwareness"), "PerMonitorV2, PerMonitor");
  EXPECT_EQ(setting(L"2005", L"dpiAware"), "true/pm");  // for a Windows before that
}

TEST_P(Manifest, namesOneWindowsAlone) {
  const auto bytes = information(CompatibilityInformationInActivationContext);
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(*reinterpret_cast<const DWORD*>(bytes.data()), 1U);
}

/// The companion's.
class CheckManifest : public Manifest {};

// Groups in lists and task dialogs exist in this version alone. Whoever loads comctl32.dll by
// its name alone, as the program does, gets what this section names.
TEST_P(CheckManifest, takesTheSixthVersionOfTheCommonControls) {
  ASSERT_TRUE(activate());
  ACTCTX_SECTION_KEYED_DATA found = {};
  found.cbSize = sizeof found;
  EXPECT_TRUE(FindActCtxSectionStringW(0, nullptr, ACTIVATION_CONTEXT_SECTION_DLL_REDIRECTION,
                                       L"comctl32.dll", &found));
}

INSTANTIATE_TEST_SUITE_P(Program, CheckManifest, testing::Values("kov_check.exe"),
                         [](const testing::TestParamInfo<const char*>&) {
                           return std::string("kov_check");
                         });

INSTANTIATE_TEST_SUITE_P(Programs, Manifest,
                         testing::Values("launcher.exe", "kov_result.exe", "kov_check.exe"),
                         [](const testing::TestParamInfo<const char*>& program) {
                           const std::string_view name = program.param;
                           return std::string(name.substr(0, name.find('.')));
                         });

}  // namespace
