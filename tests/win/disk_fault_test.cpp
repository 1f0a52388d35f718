// Files that change or cannot be had while the launcher's file helpers are at them.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "check/system.h"
#include "core/file_io.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"

namespace launcher {
namespace {

namespace fs = std::filesystem;
constexpr int kRounds = 200;

/// A receipt that somebody keeps replacing: two complete texts of different lengths.
class ReplacedReceipt : public ::testing::Test {
 protected:
  ReplacedReceipt() { stage::writeFile(file, first); }
  ~ReplacedReceipt() override {
    stop();
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  /// Calls `write` with the two texts in turn until stop().
  template <class Write>
  void keepReplacing(Write write) {
    writer_ = std::thread([this, write] {
      for (bool other = true; !stopping_; other = !other) {
        write(other ? second : first);
        ++written_;
      }
    });
  }
  void stop() {
    stopping_ = true;
    if (writer_.joinable()) writer_.join();
  }
  /// How often each outcome came in 200 reads: "first", "second", "none" (it did not open),
  /// "empty", "start" (of either), "both" (a start of one, then the other's bytes of the places
  /// after it), else the text itself.
  std::map<std::string, int> readOften() {
    std::map<std::string, int> outcomes;
    const ULONGLONG limit = GetTickCount64() + 30000;
    for (int round = 0; round < kRounds; ++round) {
      const int before = written_;
      ++outcomes[outcomeOf(readFile(stage::textOf(file)))];
      while (written_ == before && GetTickCount64() < limit) Sleep(0);
    }
    stop();
    EXPECT_GE(written_, kRounds);
    return outcomes;
  }
  std::string outcomeOf(const std::optional<std::string>& text) const {
    if (!text) return "none";
    if (text->empty()) return "empty";
    if (*text == first) return "first";
    if (*text == second) return "second";
    if (first.starts_with(*text) || second.starts_with(*text)) return "start";
    if (continues(first, second, *text) || continues(second, first, *text)) return "both";
    return *text;
  }
  /// Whether the text begins as the one and goes on as the other.
  static bool continues(const std::string& one, const std::string& other, const std::string& text) {
    const auto split = std::mismatch(text.begin(), text.end(), one.begin(), one.end()).first;
    const auto at = static_cast<std::size_t>(split - text.begin());
    return at < other.size() && other.compare(at, text.size() - at, text, at) == 0;
  }

  const fs::path folder = fs::temp_directory_path() / "kov-replaced-receipt";
  const fs::path file = folder / "receipt.json";
  const std::string first = "{\"status\":\"ending\",\"pad\":\"" + std::string(3000, 'a') + "\"}";
  // Large, so that the file often shrinks between the question for its size and the reading.
  const std::string second =
      "{\"status\":\"ending\",\"pad\":\"" + std::string(2 << 20, 'b') + "\"}";

 private:
  std::thread writer_;
  std::atomic<bool> stopping_ = false;
  std::atomic<int> written_ = 0;
};

// The clean way: a new file takes the old one's name in one step.
TEST_F(ReplacedReceipt, byRenamingIsOneOrTheOtherWhole) {
  keepReplacing([this](const std::string& text) {
    stage::writeFile(folder / "new.json", text);
    // Fails while the reader has the old one open; then it is tried again.
    while (!MoveFileExW((folder / "new.json").c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING)) {
      Sleep(0);
    }
  });
  for (const auto& [outcome, times] : readOften()) {
    EXPECT_TRUE(outcome == "first" || outcome == "second" || outcome == "none")
        << times << " times, " << outcome.size() << " bytes: " << outcome.substr(0, 100);
    RecordProperty(outcome.substr(0, 10), times);
  }
}

// The careless way: cut to nothing and written again. A read in between has a part of it, or
// as much of the new text as the old one was long. Very rarely it has a start of the one and then
// the other: what a short read leaves of the asked length is read once more, and by then the file
// may be written again. Nothing else, and never more.
TEST_F(ReplacedReceipt, byRewritingHasNoForeignBytes) {
  keepReplacing([this](const std::string& text) { stage::writeFile(file, text); });
  for (const auto& [outcome, times] : readOften()) {
    EXPECT_TRUE(outcome == "first" || outcome == "second" || outcome == "none" ||
                outcome == "empty" || outcome == "start" || outcome == "both")
        << times << " times, " << outcome.size() << " bytes: " << outcome.substr(0, 100);
    RecordProperty(outcome.substr(0, 10), times);
  }
}

TEST_F(ReplacedReceipt, byDeletingAndWritingHasNoForeignBytes) {
  keepReplacing([this](const std::string& text) {
    (void)DeleteFileW(file.c_str());
    const HANDLE made = CreateFileW(file.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS, 0,
                                    nullptr);
    if (made == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    (void)WriteFile(made, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    (void)CloseHandle(made);
  });
  for (const auto& [outcome, times] : readOften()) {
    EXPECT_TRUE(outcome == "first" || outcome == "second" || outcome == "none" ||
                outcome == "empty" || outcome == "start" || outcome == "both")
        << times << " times, " << outcome.size() << " bytes: " << outcome.substr(0, 100);
    RecordProperty(outcome.substr(0, 10), times);
  }
}

// What the companion writes anew, LiveSplit's settings for one, is a file that scanners look at.
TEST_F(ReplacedReceipt, byTheCompanionWaitsForAReaderOfAMoment) {
  HANDLE reader = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              0, nullptr);
  ASSERT_NE(reader, INVALID_HANDLE_VALUE);
  std::thread ends([this, reader] {
    const ULONGLONG limit = GetTickCount64() + 10000;
    while (!fs::exists(folder / "receipt.json.kov-new") && GetTickCount64() < limit) Sleep(1);
    Sleep(60);
    (void)CloseHandle(reader);
  });
  EXPECT_TRUE(check::replaceFile(stage::textOf(file), second));
  ends.join();
  EXPECT_EQ(stage::readFile(file), second);
}

}  // namespace
}  // namespace launcher
