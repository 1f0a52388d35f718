// The queue on a real disk and a real connection: its order, a server that goes away amid it, and
// names after the machine's clock.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <map>
#include <set>
#include <tuple>

#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::Reply;

constexpr char kMembers[] = R"({"player":"runner","difficulty":"normal",)";

class PendingQueue : public FullRunTest {
 protected:
  [[nodiscard]] fs::path pending() const { return machine.data() / "pending"; }
  void queue(const std::string& name, std::string_view bytes) const {
    stage::writeFile(pending() / name, bytes);
  }
  /// Everything in the queue folder with its bytes.
  [[nodiscard]] std::map<std::string, std::string> entries() const {
    std::map<std::string, std::string> all;
    for (const std::string& name : stage::listFolder(pending())) {
      all[name] = stage::readFile(pending() / name).value_or("(folder)");
    }
    return all;
  }
  /// The whole log of a run that sent so many.
  [[nodiscard]] Lines logOf(std::size_t sent) const {
    return wholeLog({.weekly = weeklyUpdated(),
                     .flush = {"pending flushed: " + std::to_string(sent)},
                     .upload = kNothingToUpload});
  }
};

TEST_F(PendingQueue, entriesAreSentOldestFirstAndDeleted) {
  withServer();
  const stage::Receipt run = stage::finishedRun();
  queue("p_20261114_201500.json", run.text());
  queue("p_20261107_080910.json", R"({"n":1,"status":"running"})");
  queue("p_20261114_201501.json", R"({"n":3})");
  fs::create_directories(pending() / "x_folder.json");
  EXPECT_EQ(maskedLog(play()), logOf(3));
  const std::string front = kMembers;
  EXPECT_EQ(submissions(), (Lines{front + R"("n":1,"status":"running"})",
                                  front + run.text().substr(1), front + R"("n":3})"}));
  EXPECT_EQ(stage::listFolder(pending()), Lines{"x_folder.json\\"});
}

TEST_F(PendingQueue, ofManyEntriesExactlyTheAcceptedOnesAreGone) {
  constexpr std::size_t kEntries = 60;
  constexpr std::size_t kTaken = 15;       // the server accepts so many,
  constexpr std::size_t kRefused = 30;     // refuses the next up to here,
  constexpr std::size_t kCutOff = 40;      // ends the connection up to here without an answer,
  std::map<std::string, std::string> all;  // and then goes away with the next one unanswered
  // A connection for each request: on one that stays, the system holds every body back
  // until the head in front of it has been acknowledged.
  stage::RaceServer first({.keepAlive = false});
  first.answer("POST", "/submit", Reply::json(kAccepted));
  set("server", first.url());
  std::map<std::string, std::string> nameOfBody;
  for (std::size_t i = 0; i < kEntries; ++i) {
    char name[40];
    std::snprintf(name, sizeof name, "p_20261101_%06u.json", static_cast<unsigned>(i));
    const std::string rest = "\"n\":" + std::to_string(i) + ",\"raw\":\"\r\n\xFF\x1A\"}\n";
    all[name] = "{" + rest;
    queue(name, all[name]);
    nameOfBody[kMembers + rest] = name;
  }
  for (std::size_t nth = kTaken + 1; nth <= kCutOff; ++nth) {
    Reply reply = Reply::json(kRefusal);
    if (nth > kRefused) reply = nth % 2 == 0 ? Reply::resetConnection() : Reply::closeConnection();
    first.answerNth("POST", "/submit", nth, reply);
  }
  first.answerNth("POST", "/submit", kCutOff + 1, Reply::json(kAccepted).after(60000));

  stage::LauncherRun run = start();
  const std::uint64_t end = GetTickCount64() + 60000;
  while (first.requests("POST", "/submit").size() <= kCutOff && GetTickCount64() < end) Sleep(10);
  ASSERT_GT(first.requests("POST", "/submit").size(), kCutOff);
  // Another is there before the launcher is let go: it would be through with the rest in no time.
  first.closePort();
  stage::RaceServer back({.port = first.port(),
                          .keepAlive = false,
                          .answers = {{"POST", "/submit", Reply::json(kAccepted)}}});
  first.stop();
  const stage::RunResult result = finish(run);

  std::set<std::string> gone;
  const Lines before = bodies(first, "/submit");
  for (std::size_t i = 0; i < kTaken; ++i) gone.insert(nameOfBody.at(before.at(i)));
  for (const std::string& body : before) EXPECT_EQ(nameOfBody.count(body), 1U) << body;
  const Lines later = bodies(back, "/submit");
  for (const std::string& body : later) gone.insert(nameOfBody.at(body));
  EXPECT_EQ(later.size(), kEntries - kCutOff - 1);
  std::map<std::string, std::string> kept = all;
  for (const std::string& name : gone) kept.erase(name);
  EXPECT_GT(kept.size(), kCutOff - kTaken);
  EXPECT_TRUE(entries() == kept);
  EXPECT_EQ(maskedLog(result), logOf(gone.size()));

  // The next start sends exactly what was kept, in its order, and then nothing is left.
  EXPECT_EQ(maskedLog(play()), logOf(kept.size()));
  Lines keptBodies;
  for (const auto& entry : kept) keptBodies.push_back(kMembers + entry.second.substr(1));
  const Lines again = bodies(back, "/submit");
  EXPECT_TRUE(Lines(again.begin() + static_cast<std::ptrdiff_t>(later.size()), again.end()) ==
              keptBodies);
  EXPECT_EQ(entries().size(), 0U);
}

/// The time stamp of this moment on the player's clock.
std::string stampNow() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  char text[32];
  std::snprintf(text, sizeof text, "%04u%02u%02u_%02u%02u%02u", now.wYear, now.wMonth, now.wDay,
                now.wHour, now.wMinute, now.wSecond);
  return text;
}

// The tests run in a zone that is not UTC: own_calls_test.cpp.
TEST_F(PendingQueue, copiesAreNamedAfterTheLocalTime) {
  const std::string receipt = stage::finishedRun().text() + "\r\n\t\xFF\x1A";
  machine.writeReceipt(receipt);
  const std::string before = stampNow();
  const stage::RunResult run = play();
  const std::string after = stampNow();
  EXPECT_EQ(maskedLog(run), wholeLog({.receipt = archived(kFinishedSummary), .result = queued()}));
  for (const auto& [folder, prefix, line] :
       {std::tuple{"pending", "p_", "pending saved: "},
        std::tuple{"receipts", "receipt_", "receipt archived: "}}) {
    const Lines names = stage::listFolder(machine.data() / folder);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_GE(names[0], prefix + before + ".json");
    EXPECT_LE(names[0], prefix + after + ".json");
    EXPECT_EQ(textsIn(machine.data() / folder), Lines{receipt});
    EXPECT_TRUE(run.hasLogLine(line + stage::textOf(machine.data() / folder / names[0])));
  }
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt);
}

}  // namespace
}  // namespace e2e
