#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "tests/e2e/full_run.h"

namespace {

using e2e::joined;
using e2e::kNothingToUpload;
using e2e::Lines;
using e2e::maskedLog;
using e2e::weeklyUpdated;
using stage::Reply;
using stage::textOf;
using stage::writeFile;
namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr char kAccepts[] = "{\"accepted\":true}";
constexpr char kPlayerAndDifficulty[] = R"({"player":"runner","difficulty":"normal",)";

// The queue of an earlier run is sent -------------------------------------------------------

class PendingFlush : public e2e::FullRunTest {
 protected:
  PendingFlush() {
    set("server", server.url());
    server.answer("POST", "/submit", Reply::json(kAccepts));
  }

  [[nodiscard]] fs::path pending() const { return machine.data() / "pending"; }
  void queue(const std::string& name, std::string_view bytes) const {
    writeFile(pending() / stage::pathOf(name), bytes);
  }
  /// Everything in the queue folder with its bytes.
  [[nodiscard]] std::map<std::string, std::string> queued() const {
    std::map<std::string, std::string> entries;
    for (const std::string& name : stage::listFolder(pending())) {
      entries[name] = stage::readFile(pending() / stage::pathOf(name)).value_or("(folder)");
    }
    return entries;
  }
  [[nodiscard]] Lines submissions() const { return bodies(server, "/submit"); }
  /// The whole log of a run that flushed so many, or that wrote no line about it.
  [[nodiscard]] Lines logOf(std::optional<int> flushed) const {
    Lines flush;
    if (flushed) flush.push_back("pending flushed: " + std::to_string(*flushed));
    return wholeLog({.weekly = weeklyUpdated(), .flush = flush, .upload = kNothingToUpload});
  }
  stage::RaceServer server;
};

TEST_F(PendingFlush, entriesAreSentOldestFirstBeforeTheGameAndDeleted) {
  const stage::Receipt run = stage::finishedRun();
  queue("p_20261114_201500.json", run.text());
  queue("p_20261107_080910.json", R"({"n":1,"status":"running"})");
  queue("p_20261114_201501.json", R"({"n":3})");
  EXPECT_EQ(maskedLog(play()), logOf(3));
  const std::string front = kPlayerAndDifficulty;
  EXPECT_EQ(submissions(), (Lines{front + R"("n":1,"status":"running"})",
                                  front + run.text().substr(1), front + R"("n":3})"}));
  EXPECT_TRUE(stage::pathExists(pending()));
  EXPECT_EQ(queued().size(), 0U);
}

TEST_F(PendingFlush, withoutAnyEntryNothingIsLogged) {
  EXPECT_EQ(maskedLog(play()), logOf(std::nullopt));
  EXPECT_FALSE(stage::pathExists(pending()));
  fs::create_directories(pending());
  EXPECT_EQ(maskedLog(play()), logOf(std::nullopt));
  queue("p_20261107_080910.txt", R"({"n":1})");
  queue("p_20261107_080910", R"({"n":2})");
  EXPECT_EQ(maskedLog(play()), logOf(std::nullopt));
  EXPECT_EQ(submissions(), Lines{});
}

TEST_F(PendingFlush, whatCannotBeSentStaysAndWhatIsOddIsSentAsItIs) {
  const std::string big = R"({"big":")" + std::string(1'500'000, 'm') + R"("})";
  const std::string binary = "{\"raw\":\"\0\xFF\x1A\r\n竞\",\"status\":\"x\\\"y\",\"ending\":1}"s;
  // Those that are never sent.
  queue("a_blank.json", " {\"n\":1}");
  queue("b_empty.json", "");
  queue("c_feed.json", "\n{\"n\":1}");
  queue("d_list.json", "[{\"n\":1}]");
  queue("e_mark.json", "\xEF\xBB\xBF{\"n\":1}");
  fs::create_directories(pending() / "f_folder.json");
  queue("g_held.json", "{\"n\":1}");
  const std::map<std::string, std::string> never = queued();
  // Those that are.
  queue("h_big.json", big);
  queue("i_binary.json", binary);
  queue("j_brace.json", "{");
  queue("k_object.json", "{}");
  queue("l_upper.JSON", R"({"status":"running","x":{"ending":"exit"},"status":"late"})");
  queue("m_value.json", R"({"status":"running","why":"ending"})");
  queue("n_without.json", R"({"status":"running","endings":"ending2"})");
  queue("o_blank.json", R"({"status": "running","ending":"main"})");
  queue("p_open.json", R"({"ending":"main","status":"running)");
  queue("q_short.json", R"({"status":"","ending":0})");
  queue("r_own.json", R"({"player":"someone","difficulty":"easy","ending":"main"})");
  queue("no name (1).json", R"({"n":9})");
  stage::RunResult run;
  {
    const e2e::HeldFile held(pending() / "g_held.json", 0);
    run = play();
  }
  EXPECT_EQ(maskedLog(run), logOf(12));
  const std::string front = kPlayerAndDifficulty;
  Lines sent = submissions();
  const Lines wanted = {
      front + big.substr(1),
      front + "\"raw\":\"\0\xFF\x1A\r\n竞\",\"status\":\"ending\"y\",\"ending\":1}"s,
      front + R"("n":9})",
      front,
      front + "}",
      front + R"("status":"ending","x":{"ending":"exit"},"status":"late"})",
      front + R"("status":"ending","why":"ending"})",
      front + R"("status":"running","endings":"ending2"})",
      front + R"("status": "running","ending":"main"})",
      front + R"("ending":"main","status":"running)",
      front + R"("status":"ending","ending":0})",
      front + R"("player":"someone","difficulty":"easy","ending":"main"})"};
  ASSERT_EQ(sent.size(), wanted.size());
  // The order is the listing's, which an entry of another name may enter anywhere.
  Lines sortedWanted = wanted;
  std::sort(sent.begin(), sent.end());
  std::sort(sortedWanted.begin(), sortedWanted.end());
  for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_TRUE(sent[i] == sortedWanted[i]) << i;
  EXPECT_EQ(queued(), never);
}

TEST_F(PendingFlush, aFolderAloneIsCountedAsNothingSent) {
  fs::create_directories(pending() / "x.json");
  EXPECT_EQ(maskedLog(play()), logOf(0));
  EXPECT_EQ(submissions(), Lines{});
}

TEST_F(PendingFlush, onlyTheTwoSpellingsOfAcceptedDeleteAnEntry) {
  const std::vector<std::pair<Reply, bool>> replies = {
      {Reply::json("{\"accepted\": false}"), false},
      {Reply::json("{\"ok\":1,\"accepted\":true}"), true},
      {Reply::json("{\"accepted\": true}"), true},
      {Reply::json("{\"accepted\" :true}"), false},
      {Reply::json("{\"accepted\":  true}"), false},
      {Reply::json("{\"Accepted\":true}"), false},
      {Reply::text("\"accepted\":true"), true},    // 15 bytes
      {Reply::text("\"accepted\": true"), true},   // 16 bytes
      {Reply::text("\"accepted\":tru"), false},
      {Reply::text("<html>error \"accepted\":true</html>", 500), true},
      {Reply::json("{\"error\":\"race is closed\"}"), false},
      {Reply::text("", 204), false},
      {Reply::text(""), false},
      {Reply::closeConnection(), false},
      {Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\n{\"accepted\":true}"), true},
      {Reply::resetConnection(), false},
      {Reply::json("{\"accepted\":true,\"token\":\"t-1\",\"rank\":1}"), true},
  };
  std::map<std::string, std::string> kept;
  int accepted = 0;
  for (std::size_t i = 0; i < replies.size(); ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "p_20261101_0000%02u.json", static_cast<unsigned>(i));
    const std::string entry = "{\"n\":" + std::to_string(i) + ",\"status\":\"ending\"}";
    queue(name, entry);
    server.answerNth("POST", "/submit", i + 1, replies[i].first);
    if (replies[i].second) {
      ++accepted;
    } else {
      kept[name] = entry;
    }
  }
  EXPECT_EQ(maskedLog(play()), logOf(accepted));
  EXPECT_EQ(submissions().size(), replies.size());
  EXPECT_EQ(queued(), kept);
  // A token in such a reply is nobody's business.
  EXPECT_FALSE(stage::pathExists(machine.data() / "profile_token.txt"));
}

TEST_F(PendingFlush, anEntryThatCannotBeDeletedCountsAsSentAndIsSentAgain) {
  queue("p_20261101_000000.json", "{\"n\":1}");
  {
    const e2e::HeldFile held(pending() / "p_20261101_000000.json", FILE_SHARE_READ);
    EXPECT_EQ(maskedLog(play()), logOf(1));
  }
  EXPECT_EQ(maskedLog(play()), logOf(1));
  EXPECT_EQ(submissions().size(), 2U);
  EXPECT_EQ(queued().size(), 0U);
}

TEST_F(PendingFlush, everySlashBehindTheAddressGoes) {
  set("server", server.url() + "//");
  queue("p_20261101_000000.json", "{}");
  EXPECT_EQ(maskedLog(play()), logOf(1));
  EXPECT_EQ(submissions(), Lines{std::string(kPlayerAndDifficulty) + "}"});
}

TEST_F(PendingFlush, withoutServerTheQueueIsKeptWithoutALine) {
  set("server", "");
  queue("p_20261101_000000.json", "{\"n\":1}");
  EXPECT_EQ(maskedLog(play()), wholeLog({}));
  EXPECT_EQ(queued(),
            (std::map<std::string, std::string>{{"p_20261101_000000.json", "{\"n\":1}"}}));
}

TEST_F(PendingFlush, anUnreachableServerKeepsEveryEntry) {
  server.stop();
  queue("p_20261101_000000.json", "{\"n\":1}");
  queue("p_20261101_000001.json", "{\"n\":2}");
  const std::map<std::string, std::string> before = queued();
  EXPECT_EQ(maskedLog(play()), wholeLog({.weekly = e2e::weeklyUnreachable(),
                                         .flush = {"pending flushed: 0"},
                                         .upload = kNothingToUpload}));
  EXPECT_EQ(queued(), before);
}

// Who and how hard -------------------------------------------------------------------------

TEST_F(PendingFlush, playerAndDifficultyAreTheSettingsAsTheyStand) {
  set("player", "a\"b\\c");
  set("difficulty", "hardest ever");
  queue("p_20261101_000000.json", R"({"difficulty":"easy"})");
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("pending flushed: 1"));
  EXPECT_EQ(submissions(),
            Lines{R"({"player":"a"b\c","difficulty":"hardest ever","difficulty":"easy"})"});
}

TEST_F(PendingFlush, withoutPlayerAndDifficultyTheyHaveTheirUsualValues) {
  set("player", "");
  queue("p_20261101_000000.json", "{}");
  EXPECT_TRUE(play().hasLogLine("pending flushed: 1"));
  EXPECT_EQ(submissions(), Lines{R"({"player":"anonymous","difficulty":"normal",})"});
}

TEST_F(PendingFlush, theSteamNameGoesInAsItIsAndTheSteamIdIsNotSent) {
  machine.setSteamPath();
  machine.writeLoginUsers();
  queue("p_20261101_000000.json", "{\"n\":1}");
  EXPECT_TRUE(play().hasLogLine("pending flushed: 1"));
  EXPECT_EQ(submissions(), Lines{R"({"player":"竞速玩家","difficulty":"normal","n":1})"});
}

TEST_F(PendingFlush, thePlayerOfTheSettingsIsConvertedFromTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  set("player", "Ren\xE9");
  queue("p_20261101_000000.json", "{\"n\":1}");
  EXPECT_TRUE(play().hasLogLine("pending flushed: 1"));
  EXPECT_EQ(submissions(), Lines{R"({"player":"René","difficulty":"normal","n":1})"});
}

class PendingFlushCp936 : public PendingFlush {};

TEST_F(PendingFlushCp936, thePlayerOfTheSettingsIsConvertedFromTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  set("player", "\xC0\xEE\xC0\xD7");
  queue("p_20261101_000000.json", "{\"n\":1}");
  EXPECT_TRUE(play().hasLogLine("pending flushed: 1"));
  EXPECT_EQ(submissions(), Lines{R"({"player":"李雷","difficulty":"normal","n":1})"});
}

// Many -------------------------------------------------------------------------------------

TEST_F(PendingFlush, of500EntriesExactlyTheAcceptedOnesAreGone) {
  constexpr std::size_t kEntries = 500;
  constexpr std::size_t kTaken = 120;      // the server accepts so many,
  constexpr std::size_t kRefused = 240;    // refuses the next up to here,
  constexpr std::size_t kCutOff = 300;     // ends the connection up to here without an answer,
  std::map<std::string, std::string> all;  // and then goes away altogether
  // A connection for each request: on one that stays, the system holds every body back
  // until the head in front of it has been acknowledged.
  stage::RaceServer first({.keepAlive = false});
  first.answer("POST", "/submit", Reply::json(kAccepts));
  set("server", first.url());
  std::map<std::string, std::string> nameOfBody;
  for (std::size_t i = 0; i < kEntries; ++i) {
    char name[40];
    std::snprintf(name, sizeof name, "p_20261101_%06u.json", static_cast<unsigned>(i));
    const std::string rest = "\"n\":" + std::to_string(i) + ",\"raw\":\"\r\n\xFF\x1A\"}\n";
    all[name] = "{" + rest;
    queue(name, all[name]);
    nameOfBody[kPlayerAndDifficulty + rest] = name;
  }
  for (std::size_t nth = kTaken + 1; nth <= kCutOff; ++nth) {
    Reply reply = Reply::json("{\"accepted\":false,\"error\":\"race is closed\"}");
    if (nth > kRefused) reply = nth % 2 == 0 ? Reply::resetConnection() : Reply::closeConnection();
    first.answerNth("POST", "/submit", nth, reply);
  }
  first.answerNth("POST", "/submit", kCutOff + 1, Reply::json(kAccepts).after(60000));

  stage::LauncherRun run = start({.limitMs = 120000});
  const std::uint64_t end = GetTickCount64() + 60000;
  while (first.requests("POST", "/submit").size() <= kCutOff && GetTickCount64() < end) Sleep(10);
  ASSERT_GT(first.requests("POST", "/submit").size(), kCutOff);
  first.stop();
  // The launcher may reach the server the moment that it listens again.
  stage::RaceServer back({.port = first.port(),
                          .keepAlive = false,
                          .answers = {{"POST", "/submit", Reply::json(kAccepts)}}});
  const stage::RunResult result = finish(run);

  std::set<std::string> gone;
  const Lines before = bodies(first, "/submit");
  for (std::size_t i = 0; i < kTaken; ++i) gone.insert(nameOfBody.at(before.at(i)));
  for (const std::string& body : before) EXPECT_EQ(nameOfBody.count(body), 1U) << body;
  const Lines later = bodies(back, "/submit");
  for (const std::string& body : later) gone.insert(nameOfBody.at(body));
  EXPECT_GT(later.size(), 0U);
  std::map<std::string, std::string> kept = all;
  for (const std::string& name : gone) kept.erase(name);
  EXPECT_GT(kept.size(), kCutOff - kTaken);
  EXPECT_TRUE(queued() == kept);
  EXPECT_EQ(maskedLog(result), logOf(static_cast<int>(gone.size())));

  // The next start sends exactly what was kept, in its order, and then nothing is left.
  EXPECT_EQ(maskedLog(play({.limitMs = 120000})), logOf(static_cast<int>(kept.size())));
  Lines keptBodies;
  for (const auto& entry : kept) {
    keptBodies.push_back(kPlayerAndDifficulty + entry.second.substr(1));
  }
  const Lines again = bodies(back, "/submit");
  EXPECT_TRUE(Lines(again.begin() + static_cast<std::ptrdiff_t>(later.size()), again.end()) ==
              keptBodies);
  EXPECT_EQ(queued().size(), 0U);
}

// A run is queued ---------------------------------------------------------------------------

/// The time stamp of an entry saved so many seconds after this moment.
std::string stampIn(int seconds) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  FILETIME file{};
  SystemTimeToFileTime(&now, &file);
  ULARGE_INTEGER ticks{};
  ticks.LowPart = file.dwLowDateTime;
  ticks.HighPart = file.dwHighDateTime;
  ticks.QuadPart += static_cast<ULONGLONG>(seconds) * 10'000'000ULL;
  file.dwLowDateTime = ticks.LowPart;
  file.dwHighDateTime = ticks.HighPart;
  SYSTEMTIME then{};
  FileTimeToSystemTime(&file, &then);
  char text[32];
  std::snprintf(text, sizeof text, "%04u%02u%02u_%02u%02u%02u", then.wYear, then.wMonth, then.wDay,
                then.wHour, then.wMinute, then.wSecond);
  return text;
}

/// A finished run that cannot be delivered, for there is no server.
class PendingSave : public e2e::FullRunTest {
 protected:
  PendingSave() { machine.writeReceipt(receipt_); }

  [[nodiscard]] fs::path pending() const { return machine.data() / "pending"; }
  [[nodiscard]] std::string savedLine() const {
    return "pending saved: " + textOf(machine.data()) + "\\pending\\p_YYYYMMDD_hhmmss.json";
  }
  /// The whole log of a run that was queued with these lines.
  [[nodiscard]] Lines logOf(const Lines& saved) const {
    return wholeLog({.receipt = archived(e2e::kFinishedSummary),
                     .result = joined({{"stage: upload failed, saving pending"},
                                       saved,
                                       {"stage: upload done (ok=0)",
                                        "result card: kind=fail ok=0"}})});
  }

  const std::string receipt_ = stage::finishedRun().text() + "\r\n\t\xFF\x1A";
};

TEST_F(PendingSave, theEntryIsACopyNamedAfterTheLocalTime) {
  const std::string before = stampIn(0);
  EXPECT_EQ(maskedLog(play()), logOf({savedLine()}));
  const std::string after = stampIn(0);
  const Lines names = stage::listFolder(pending());
  ASSERT_EQ(names.size(), 1U);
  EXPECT_GE(names[0], "p_" + before + ".json");
  EXPECT_LE(names[0], "p_" + after + ".json");
  EXPECT_EQ(stage::readFile(pending() / names[0]), receipt_);
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);
}

TEST_F(PendingSave, theLogNamesTheEntry) {
  const stage::RunResult run = play();
  const Lines names = stage::listFolder(pending());
  ASSERT_EQ(names.size(), 1U);
  EXPECT_TRUE(run.hasLogLine("pending saved: " + textOf(pending()) + "\\" + names[0]));
}

TEST_F(PendingSave, theModsResultGoesBeforeTheReceipt) {
  const std::string result = "{\"status\":\"ending\",\"from\":\"the mod\"}";
  machine.writeModResult(result);
  EXPECT_EQ(maskedLog(play()), logOf({savedLine()}));
  const Lines names = stage::listFolder(pending());
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(stage::readFile(pending() / names[0]), result);
}

TEST_F(PendingSave, aModsResultThatDoesNotOpenIsTheSourceAllTheSameAndNothingIsQueued) {
  fs::create_directories(machine.modResult());
  EXPECT_EQ(maskedLog(play()), logOf({}));
  EXPECT_EQ(stage::listFolder(pending()), Lines{});
}

TEST_F(PendingSave, anEntryThatCannotBeWrittenIsSilent) {
  writeFile(pending(), "a file of this name\n");
  EXPECT_EQ(maskedLog(play()), logOf({}));
  EXPECT_EQ(stage::readFile(pending()), "a file of this name\n");
}

TEST_F(PendingSave, anEntryOfTheSameSecondIsOverwritten) {
  constexpr int kSeconds = 90;
  const std::string old = "{\"old\":\"" + std::string(5000, 'x') + "\"}";
  for (int i = 0; i < kSeconds; ++i) writeFile(pending() / ("p_" + stampIn(i) + ".json"), old);
  const std::size_t before = stage::listFolder(pending()).size();
  EXPECT_EQ(maskedLog(play()), logOf({savedLine()}));
  const Lines names = stage::listFolder(pending());
  EXPECT_EQ(names.size(), before);
  EXPECT_EQ(std::count_if(names.begin(), names.end(),
                          [&](const std::string& name) {
                            return stage::readFile(pending() / name) == receipt_;
                          }),
            1);
}

TEST_F(PendingSave, whatWasQueuedIsSentByTheNextStart) {
  EXPECT_EQ(maskedLog(play()), logOf({savedLine()}));
  fs::remove(machine.receipt());
  stage::RaceServer server;
  server.answer("POST", "/submit", Reply::json(kAccepts));
  set("server", server.url());
  set("player", "");
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("pending flushed: 1"));
  EXPECT_EQ(bodies(server, "/submit"),
            Lines{R"({"player":"anonymous","difficulty":"normal",)" + receipt_.substr(1)});
  EXPECT_EQ(stage::listFolder(pending()), Lines{});
}

TEST_F(PendingSave, aPathCutAt259CharactersLosesItsEndingAndIsNeverSent) {
  // The entry's path would have five characters too many: ".json".
  constexpr std::size_t kLongest = 259;
  constexpr std::size_t kEntry = sizeof "\\pending\\p_20261121_034702" - 1;
  std::string data = textOf(machine.root()) + "\\" + std::string(100, 'a') + "\\";
  data += std::string(kLongest - kEntry - data.size(), 'b');
  fs::create_directories(stage::pathOf(data));
  set("data", data);
  const stage::RunResult run = play();
  const Lines log = maskedLog(run);
  const auto queueing = std::find(log.begin(), log.end(), "stage: upload failed, saving pending");
  ASSERT_NE(queueing, log.end());
  EXPECT_EQ(Lines(queueing, log.end()),
            (Lines{"stage: upload failed, saving pending",
                   "pending saved: " + data + "\\pending\\p_YYYYMMDD_hhmmss",
                   "stage: upload done (ok=0)", "result card: kind=fail ok=0", e2e::kDoneLine}));
  const fs::path folder = stage::pathOf(data) / "pending";
  const Lines names = stage::listFolder(folder);
  ASSERT_EQ(names.size(), 1U);
  EXPECT_EQ(e2e::maskStamps(names[0]), "p_YYYYMMDD_hhmmss");
  EXPECT_EQ(stage::readFile(folder / names[0]), receipt_);

  fs::remove(machine.receipt());
  stage::RaceServer server;
  set("server", server.url());
  const stage::RunResult next = play();
  EXPECT_EQ(next.log.find("pending flushed"), std::string::npos);
  EXPECT_EQ(bodies(server, "/submit"), Lines{});
  EXPECT_EQ(stage::listFolder(folder), names);
}

}  // namespace
