// The contract between the operations and their seam: small scripts whose results and whose
// calls of the seam, with their arguments and their order, are the same on both bodies. This
// file is part of two programs: natively, on the machine in memory, and as a Windows program,
// on Windows' own calls. Both must give what stands here, and the calls of
// tests/data/contract/, one file a script; with KOV_WRITE_RUNS set these are written instead,
// to be read before they are committed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/settings_file.h"
#include "livesplit/client.h"
#include "livesplit/start.h"
#include "result/receipt.h"
#include "result/upload.h"
#include "server/http.h"
#include "server/pending_queue.h"
#include "server/weekly_sync.h"
#include "steam/discovery.h"
#include "steam/mod_files.h"
#include "steam/mod_install.h"
#include "steam/registry.h"
#include "tests/machine/contract_ground.h"
#include "tests/source_tree.h"

namespace contract {
namespace {

using namespace launcher;  // the seam, as the operations see it

using Texts = std::vector<std::string>;

// Of all characters of the two code pages, as Windows' tables have them.
constexpr std::uint64_t kWesternDigest = 5269594527550927878U;
constexpr std::uint64_t kChineseDigest = 6369594599804102695U;

constexpr char kReceipt[] =
    "{\"status\":\"ending\",\"seed\":1001,\"splits\":[{\"i\":0,\"map\":\"Level 0\",\"t\":0.0},"
    "{\"i\":1,\"map\":\"ENDING:main\",\"t\":754.5}],\"ending\":\"main\",\"total\":754.50,"
    "\"difficulty\":\"hard\"}";

/// A text without the bytes that a reader or a diff could take otherwise.
std::string plain(const std::string& text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string shown;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x20 && value < 0x7F) {
      shown += byte;
    } else {
      shown += {'\\', 'x', kDigits[value / 16], kDigits[value % 16]};
    }
  }
  return shown;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// Without the time in the name of an archived or queued run: "receipt_20261121_144502.json".
std::string withoutTime(std::string line) {
  constexpr std::string_view kTime = "_20261121_144502";
  for (std::size_t at = line.find('_'); at != std::string::npos; at = line.find('_', at + 1)) {
    bool isTime = at + kTime.size() <= line.size();
    for (std::size_t i = 0; isTime && i < kTime.size(); ++i) {
      const char unit = line[at + i];
      isTime = kTime[i] == '_' ? unit == '_' : unit >= '0' && unit <= '9';
    }
    if (isTime) line.replace(at, kTime.size(), "_<time>");
  }
  return line;
}

class Contract : public ::testing::Test {
 protected:
  Contract() {
    hide(ground.folder(), "<folder>");
    hide(replaced(ground.folder(), "\\", "\\\\"), "<folder>");
  }

  /// The script's calls are those of its file.
  void TearDown() override {
    const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::filesystem::path file = "tests/data/contract/" + name + ".txt";
    if (std::getenv("KOV_WRITE_RUNS") != nullptr) {
      std::ofstream(source_tree::folder() / file, std::ios::binary) << calls();
      GTEST_SKIP() << "written: " << file;
    }
    EXPECT_EQ(calls(), source_tree::read(file));
  }

  /// Shows `what` as `as` in the calls: it is of this machine or of this moment.
  void hide(const std::string& what, const std::string& as) { hidden_.emplace_back(what, as); }

  /// The same for how large a file is that names the folder.
  void hideSize(const std::string& bytes) {
    hide(std::to_string(bytes.size()) + " bytes", "<size> bytes");
  }

  [[nodiscard]] std::string calls() const {
    std::string all;
    for (std::string line : ground.calls()) {
      for (const auto& [what, as] : hidden_) line = replaced(std::move(line), what, as);
      all += plain(withoutTime(std::move(line))) + "\n";
    }
    return all;
  }

  /// The names of a listing, folders with a backslash; {"none"} when it does not start.
  static Texts listed(const std::string& pattern) {
    FolderListing listing(pattern);
    if (!listing.started()) return {"none"};
    Texts names;
    while (const FolderEntry* entry = listing.next()) {
      names.push_back(entry->name + (entry->isFolder ? "\\" : ":" + std::to_string(entry->bytes)));
    }
    return names;
  }
  [[nodiscard]] std::string in(const std::string& name) const { return ground.in(name); }
  [[nodiscard]] std::string server(Answers answers, const std::string& body) {
    const std::string url = ground.server(answers, body);
    hide(url, "<server>");
    return url;
  }
  [[nodiscard]] std::string nobody() {
    const std::string url = ground.nobody();
    hide(url, "<nobody>");
    return url;
  }
  /// Settings with a data folder and a receipt, of which the latter is there.
  [[nodiscard]] Settings afterARun(const std::string& url) {
    ground.makeFolder("data");
    ground.put("receipt.json", kReceipt);
    Settings settings;
    settings.data = in("data");
    settings.receipt = in("receipt.json");
    settings.server = url;
    settings.player = "runner";
    settings.difficulty = "normal";
    return settings;
  }

  Ground ground;

 private:
  std::vector<std::pair<std::string, std::string>> hidden_;
};

TEST_F(Contract, filesAreWrittenReadEmptiedAndReplaced) {
  EXPECT_EQ(readFile(in("a")), std::nullopt);
  EXPECT_TRUE(writeWholeFile(in("a"), std::string("x\r\n\x1A\0y", 6)));
  EXPECT_EQ(readFile(in("a")), std::string("x\r\n\x1A\0y", 6));
  EXPECT_EQ(readFileStart(in("a"), 3), "x\r\n");
  EXPECT_EQ(fileSize(in("a")), 6U);
  EXPECT_TRUE(writeWholeFile(in("a"), ""));
  EXPECT_EQ(readFile(in("a")), "");
  EXPECT_EQ(readWholeFile(in("none")), "");
  EXPECT_FALSE(writeWholeFile(in("none\\a"), "x"));
  EXPECT_FALSE(writeWholeFile(ground.folder(), "x"));
  EXPECT_FALSE(opensForReading(ground.folder()));
  EXPECT_EQ(fileSize(in("none")), std::nullopt);
}

TEST_F(Contract, namesKnowNoCaseAndBothSlashes) {
  ground.put("Folder/File.TXT", "x");
  EXPECT_TRUE(pathExists(in("folder\\file.txt")));
  EXPECT_TRUE(pathExists(in("FOLDER/FILE.txt")));
  EXPECT_TRUE(pathExists(in("folder\\\\file.txt")));
  EXPECT_TRUE(pathExists(in("folder\\..\\folder\\.\\file.txt")));
  EXPECT_TRUE(pathExists(in("folder\\")));
  EXPECT_TRUE(pathExists(in("folder\\file.txt.")));
  EXPECT_TRUE(pathExists(in("folder\\file.txt ")));
  EXPECT_TRUE(pathExists(std::string(in("folder")) + std::string("\0x", 2)));
  EXPECT_FALSE(pathExists(""));
  EXPECT_FALSE(pathExists(in("folder\\none")));
  EXPECT_TRUE(writeWholeFile(in("FOLDER\\FILE.TXT"), "y"));
  EXPECT_EQ(listed(in("folder\\*")), (Texts{".\\", "..\\", "File.TXT:1"}));
}

TEST_F(Contract, someNamesAreNone) {
  for (const char* name : {"a*b", "a?b", "a|b", "a<b", "a\"b"}) {
    EXPECT_FALSE(writeWholeFile(in(name), "x")) << name;
    EXPECT_FALSE(pathExists(in(name))) << name;
  }
  const std::string longest(255, 'n');
  hide(longest, "<255 n>");
  EXPECT_FALSE(writeWholeFile(in(longest + "n"), "x"));
}

TEST_F(Contract, foldersAreMadeOneLevelDeep) {
  createFolder(in("one"));
  createFolder(in("one"));
  createFolder(in("two\\deep"));
  ground.put("file", "x");
  createFolder(in("file"));
  EXPECT_TRUE(pathExists(in("one")));
  EXPECT_FALSE(pathExists(in("two")));
  EXPECT_EQ(readFile(in("file")), "x");
}

TEST_F(Contract, listingsMatchAndAreInTheOrderOfNames) {
  ground.put("q/b.json", "12");
  ground.put("q/A.json", "1");
  ground.put("q/c.txt", "");
  ground.makeFolder("q/d.json");
  EXPECT_EQ(listed(in("q\\*.json")), (Texts{"A.json:1", "b.json:2", "d.json\\"}));
  EXPECT_EQ(listed(in("q\\*")), (Texts{".\\", "..\\", "A.json:1", "b.json:2", "c.txt:0",
                                       "d.json\\"}));
  EXPECT_EQ(listed(in("q\\*.none")), Texts{"none"});
  EXPECT_EQ(listed(in("none\\*")), Texts{"none"});
  EXPECT_EQ(listed(in("q\\c.txt\\*")), Texts{"none"});
}

TEST_F(Contract, filesAreCopiedOverAndDeleted) {
  ground.put("from", "new");
  ground.put("to", "old one");
  EXPECT_TRUE(copyFileOver(in("from"), in("to")));
  EXPECT_EQ(ground.bytesOf("to"), "new");
  EXPECT_FALSE(copyFileOver(in("none"), in("to")));
  EXPECT_FALSE(copyFileOver(in("from"), in("none\\to")));
  EXPECT_FALSE(copyFileOver(in("from"), ground.folder()));
  deleteFile(in("to"));
  deleteFile(in("to"));
  deleteFile(ground.folder());
  EXPECT_FALSE(pathExists(in("to")));
  EXPECT_TRUE(pathExists(ground.folder()));
}

TEST_F(Contract, readOnlyFilesStay) {
  ground.put("a", "kept");
  ground.setReadOnly("a");
  EXPECT_FALSE(writeWholeFile(in("a"), "x"));
  deleteFile(in("a"));
  ground.put("b", "x");
  EXPECT_FALSE(copyFileOver(in("b"), in("a")));
  EXPECT_EQ(readFile(in("a")), "kept");
  // On Windows the copy of a read-only file is read-only, below Wine it is not.
  EXPECT_TRUE(copyFileOver(in("a"), in("b")));
}

TEST_F(Contract, filesThatAreOpenElsewhereAreShared) {
  ground.put("a", "held");
  ground.hold("a", Leaves::everything);
  EXPECT_EQ(readFile(in("a")), "held");
  EXPECT_TRUE(writeWholeFile(in("a"), "kept"));
  deleteFile(in("a"));
  EXPECT_TRUE(pathExists(in("a")));
  ground.letGo();
  ground.hold("a", Leaves::reading);
  EXPECT_EQ(readFile(in("a")), "kept");
  EXPECT_FALSE(writeWholeFile(in("a"), "x"));
  ground.letGo();
  ground.hold("a", Leaves::nothing);
  EXPECT_EQ(readFile(in("a")), std::nullopt);
  EXPECT_FALSE(opensForReading(in("a")));
  EXPECT_FALSE(writeWholeFile(in("a"), "x"));
  EXPECT_TRUE(pathExists(in("a")));
  EXPECT_EQ(fileSize(in("a")), 4U);
  ground.letGo();
  deleteFile(in("a"));
  EXPECT_FALSE(pathExists(in("a")));
}

TEST_F(Contract, narrowNamesAreOfTheAnsiCodePage) {
  const std::string name = ground.ansi("caf\xC3\xA9.txt");
  EXPECT_EQ(name, "caf\xE9.txt");
  EXPECT_TRUE(writeWholeFile(in(name), "x"));
  EXPECT_TRUE(pathExists(in(ground.ansi("CAF\xC3\x89.TXT"))));
  EXPECT_TRUE(pathExistsWide(ansiToWide(in("caf")) + L"\u00E9.txt"));
  EXPECT_FALSE(pathExists(in("caf\xC3\xA9.txt")));
  EXPECT_EQ(listed(in("*.txt")), Texts{name + ":1"});
}

TEST_F(Contract, textsAreConverted) {
  EXPECT_EQ(ansiToUtf8("caf\xE9 \x80"), "caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ(ansiToUtf8(""), "");
  EXPECT_EQ(ansiToWide(""), L"");
  EXPECT_EQ(utf8ToWide("\xE7\xAB\x9E\xE9\x80\x9F"), L"\u7ADE\u901F");
  EXPECT_EQ(wideToUtf8(L"\u7ADE\u901F"), "\xE7\xAB\x9E\xE9\x80\x9F");
  EXPECT_EQ(wideToUtf8(utf8ToWide("\xF0\x9F\x8F\x81")), "\xF0\x9F\x8F\x81");
  for (const char* broken : {"\xFF", "a\xC3", "\xC3(", "\x80", "\xED\xA0\x80", "\xF0\x9F"}) {
    EXPECT_NE(utf8ToWide(broken).find(L'\uFFFD'), std::wstring::npos) << broken;
  }
  EXPECT_EQ(utf8ToWide("a\xC3(b"), L"a\uFFFD(b");
}

std::uint64_t digest(std::uint64_t hash, const std::wstring& text) {
  for (const wchar_t unit : text) hash = (hash ^ static_cast<std::uint16_t>(unit)) * 0x100000001B3U;
  return (hash ^ text.size()) * 0x100000001B3U;
}

TEST_F(Contract, everyByteOfTheWesternCodePage) {
  std::wstring all;
  for (int byte = 1; byte < 256; ++byte) {
    all += ground.decoded(1252, std::string(1, static_cast<char>(byte)));
  }
  EXPECT_EQ(digest(0xCBF29CE484222325U, all), kWesternDigest);
}

TEST_F(Contract, everyPairOfTheChineseCodePage) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (int lead = 0x81; lead < 0xFF; ++lead) {
    for (int trail = 0x40; trail < 0xFF; ++trail) {
      const std::string pair = {static_cast<char>(lead), static_cast<char>(trail)};
      const std::wstring units = ground.decoded(936, pair);
      // What stands for nothing is "?" or a middle dot, as the table's maker liked it.
      if (units.size() == 1 && units != L"?" && units != L"\u30FB") hash = digest(hash, units);
    }
  }
  EXPECT_EQ(hash, kChineseDigest);
}

TEST_F(Contract, requestsAndAnswers) {
  std::string reply = "before ";
  EXPECT_TRUE(httpGet(server(Answers::whole, "{\"a\":1}") + "/week/current", reply));
  EXPECT_EQ(reply, "before {\"a\":1}");
  reply.clear();
  EXPECT_TRUE(httpPostJson(server(Answers::withoutBody, "") + "/submit", "{\"b\":\"\xC3\xA9\"}", reply));
  EXPECT_EQ(reply, "");
  EXPECT_FALSE(httpGet(server(Answers::closes, "") + "/x", reply));
  EXPECT_TRUE(httpGet(server(Answers::half, "0123456789") + "/half", reply));
  EXPECT_EQ(reply, "01234");
  EXPECT_FALSE(httpGet(nobody() + "/x", reply));
  EXPECT_FALSE(httpGet("no address", reply));
  EXPECT_FALSE(httpGet("", reply));
  EXPECT_FALSE(httpPostJson("race.example/submit", "{}", reply));
  EXPECT_EQ(reply, "01234");
  const Texts requests = ground.requests();
  ASSERT_GE(requests.size(), 4U);
  EXPECT_EQ(requests.front(), "GET /week/current ");
  EXPECT_EQ(requests[1], "POST /submit {\"b\":\"\xC3\xA9\"}");
  EXPECT_EQ(requests.back(), "GET /half ");
}

TEST_F(Contract, timerAnswersWhileItListens) {
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "");
  ground.startTimer("Ended");
  const long long before = ground.clockMs();
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Ended");
  EXPECT_GE(ground.clockMs(), before + 240);
  ground.stopTimer();
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "");
  ground.startTimer("00:12:34.5600000");
  double seconds = 0;
  EXPECT_TRUE(livesplitReadTime(seconds));
  EXPECT_EQ(seconds, 754.56);
  ground.stopTimer();
  EXPECT_FALSE(livesplitReadTime(seconds));
}

TEST_F(Contract, steamIsWhereTheRegistrySays) {
  ground.setSteamPath(std::nullopt);
  EXPECT_EQ(readSteamRoot(), "");
  ground.setSteamPath("c:/program files (x86)/steam");
  EXPECT_EQ(readSteamRoot(), "c:\\program files (x86)\\steam");
  ground.setSteamPath("d:/\xE7\xAB\x9E\xE9\x80\x9F/");
  EXPECT_EQ(readSteamRoot(), "d:\\\xE7\xAB\x9E\xE9\x80\x9F\\");
  hide(std::string(256, 'x'), "<256 x>");
  ground.setSteamPath("c:/" + std::string(256, 'x'));
  EXPECT_EQ(readSteamRoot().size(), 259U);
  ground.setSteamPath("c:/" + std::string(257, 'x'));
  EXPECT_EQ(readSteamRoot(), "");
}

TEST_F(Contract, programsAreFoundByNameAndStartedByPath) {
  EXPECT_EQ(findProcessByName(L"kov-no-such-program.exe"), 0U);
  const std::wstring image = ground.runningImage();
  hide(wideToUtf8(image), "<image>");
  const unsigned long id = findProcessByName(image.c_str());
  ASSERT_NE(id, 0U);
  hide("-> " + std::to_string(id), "-> <id>");
  hide("[" + std::to_string(id) + "]", "[<id>]");
  const std::optional<Process> process = openProcess(id);
  ASSERT_TRUE(process.has_value());
  const long long before = ground.clockMs();
  process->waitForEnd(60);
  EXPECT_GE(ground.clockMs(), before + 40);
  EXPECT_EQ(startProcess("\"" + in("none.exe") + "\"").error, 2U);
  EXPECT_EQ(startProcessWide(L"\"" + ansiToWide(in("none.exe")) + L"\" x").error, 2U);
  EXPECT_NE(startProcess("\"" + in("none\\none.exe") + "\"").error, 0U);
  for (const char* error : {"error 2", "error 3"}) hide(error, "error");  // Wine: 2, not 3
}

TEST_F(Contract, clockGoesOnAndOnlyOn) {
  const long long before = ground.clockMs();
  sleepMilliseconds(30);
  const long long after = ground.clockMs();
  EXPECT_GE(after, before + 15);
  const LocalTime now = localTimeNow();
  EXPECT_GE(now.year, 2024);
  EXPECT_GE(now.month, 1);
  EXPECT_LE(now.month, 12);
  EXPECT_LE(now.second, 59);
}

TEST_F(Contract, logIsAppendedInTextMode) {
  ground.put("log", "earlier\r\n");
  openLog(in("log"));
  logLine("line %d of %s", 1, "two\nlines");
  EXPECT_EQ(ground.bytesOf("log"), "earlier\r\nline 1 of two\r\nlines\r\n");
  logLine("%s", "%d");
  consolePrint("%s", "");
  closeLog();
  logLine("console alone");
  EXPECT_EQ(ground.bytesOf("log"), "earlier\r\nline 1 of two\r\nlines\r\n%d\r\n");
  openLog(in("none\\log"));
  logLine("console alone");
  closeLog();
  EXPECT_FALSE(pathExists(in("none")));
}

TEST_F(Contract, settingsAreReadWhole) {
  ground.put("launcher.ini", "data=d\r\nplayer=caf\xE9\r\nserver=http://race.example\r\n");
  Settings settings = loadSettings(in("launcher.ini"));
  EXPECT_EQ(settings.data, "d");
  EXPECT_EQ(playerName(settings), "caf\xC3\xA9");
  settings = loadSettings(in("none.ini"));
  EXPECT_EQ(settings.data, "");
  EXPECT_EQ(playerName(settings), "anonymous");
}

TEST_F(Contract, steamTheGameAndThePlayerAreFound) {
  std::string steam = ground.folder() + "\\Steam";
  ground.put("Steam/config/loginusers.vdf",
             "\"users\" { \"76561198000000001\" { \"PersonaName\" \"r\xC3\xBCnner\" } }");
  const std::string libraries =
      "\"libraryfolders\" { \"0\" { \"path\" \"C:\\\\none\" } \"1\" { \"path\" \"" +
      replaced(ground.folder(), "\\", "\\\\") + "\\\\Library\" } }";
  ground.put("Steam/steamapps/libraryfolders.vdf", libraries);
  hideSize(libraries);
  ground.put("Library/steamapps/common/EscapeTheBackrooms/EscapeTheBackrooms/Binaries/Win64/"
             "Backrooms-Win64-Shipping.exe", "MZ");
  std::replace(steam.begin(), steam.end(), '\\', '/');
  ground.setSteamPath(steam);
  Settings settings;
  EXPECT_TRUE(resolveSteam(settings));
  EXPECT_EQ(settings.steam, in("Steam\\steam.exe"));
  EXPECT_EQ(resolveGame(settings), GameSearch::found);
  EXPECT_TRUE(settings.game.starts_with(in("Library\\"))) << settings.game;
  EXPECT_EQ(resolveGame(settings), GameSearch::notNeeded);
  EXPECT_TRUE(resolvePlayer(settings));
  EXPECT_EQ(settings.player, "r\xC3\xBCnner");
  EXPECT_EQ(detectSteamAccount().steamId, "76561198000000001");
}

TEST_F(Contract, modIsInstalledWhereSizesDiffer) {
  for (const char* file : kRequiredModFiles) {
    ground.put(replaced(std::string("pkg") + file, "\\", "/"), std::string("new ") + file);
  }
  ground.put("game/game.exe", "MZ");
  ground.put("game/dwmapi.dll", "old \\dwmapi.dll");
  Settings settings;
  settings.game = in("game\\game.exe");
  settings.install_from = in("pkg");
  installMod(settings);
  installMod(settings);
  EXPECT_EQ(ground.bytesOf("game/dwmapi.dll"), "old \\dwmapi.dll");
  EXPECT_EQ(ground.bytesOf("game/ue4ss/UE4SS.dll"), "new \\ue4ss\\UE4SS.dll");
  EXPECT_EQ(missingModFiles(in("game")), std::vector<const char*>());
  settings.install_from = in("none");
  installMod(settings);
}

TEST_F(Contract, layoutIsSetWhereItIsAnother) {
  fixLivesplitLayout(in("ls\\LiveSplit.exe"));
  ground.put("ls/settings.cfg", "<LayoutPath>C:\\older.lsl</LayoutPath>");
  fixLivesplitLayout(in("ls\\LiveSplit.exe"));
  fixLivesplitLayout(in("ls\\LiveSplit.exe"));
  const std::string written = "<LayoutPath>" + in("ls\\halvorn.lsl") + "</LayoutPath>";
  EXPECT_EQ(ground.bytesOf("ls/settings.cfg"), written);
  hideSize(written);
}

TEST_F(Contract, weeklyFilesAreFetchedOrKept) {
  Settings settings = afterARun(server(Answers::whole, "{\"seed\":20261147}"));
  syncWeeklyData(settings);
  EXPECT_EQ(ground.bytesOf("data/rand_seed.txt"), "20261147");
  EXPECT_EQ(ground.bytesOf("data/board.tsv"), "{\"seed\":20261147}");
  settings.server = nobody();
  syncWeeklyData(settings);
  EXPECT_EQ(ground.bytesOf("data/week.json"), "{\"seed\":20261147}");
  settings.server = "";
  syncWeeklyData(settings);
}

TEST_F(Contract, receiptIsArchivedAndQueued) {
  Settings settings = afterARun("");
  archiveReceipt(settings);
  savePending(settings);
  EXPECT_EQ(listed(in("data\\receipts\\*.json")).size(), 1U);
  EXPECT_EQ(listed(in("data\\pending\\*.json")).size(), 1U);
  settings.receipt = in("none.json");
  archiveReceipt(settings);
  savePending(settings);
}

TEST_F(Contract, queueIsSentInItsOrder) {
  Settings settings = afterARun(nobody());
  ground.put("data/pending/p_b.json", kReceipt);
  ground.put("data/pending/p_A.json", kReceipt);
  ground.put("data/pending/p_c.json", "no run");
  flushPending(settings);
  EXPECT_EQ(listed(in("data\\pending\\*")).size(), 5U);
  settings.server = server(Answers::whole, "{\"accepted\":false,\"error\":\"week closed\"}");
  flushPending(settings);
  EXPECT_EQ(listed(in("data\\pending\\*")).size(), 5U);
  settings.server = server(Answers::whole, "{\"accepted\":true}");
  flushPending(settings);
  EXPECT_EQ(listed(in("data\\pending\\*")), (Texts{".\\", "..\\", "p_c.json:6"}));
}

TEST_F(Contract, runIsJudgedSentAndItsReceiptDeleted) {
  ground.setSteamPath(std::nullopt);
  ground.startTimer("00:12:34.5600000");
  const Settings settings = afterARun(server(Answers::whole, "{\"accepted\":true,\"rank\":3}"));
  UploadOutcome outcome;
  EXPECT_TRUE(uploadRun(settings, outcome));
  EXPECT_EQ(outcome.reply, "{\"accepted\":true,\"rank\":3}");
  EXPECT_FALSE(pathExists(in("receipt.json")));
  ground.stopTimer();
  EXPECT_FALSE(uploadRun(settings, outcome));
  const Texts requests = ground.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_NE(requests[0].find("\"total\":754.56"), std::string::npos) << requests[0];
  EXPECT_TRUE(requests[1].starts_with("POST /client/log ")) << requests[1];
}

TEST_F(Contract, runThatDoesNotArriveStaysInItsReceipt) {
  ground.setSteamPath(std::nullopt);
  Settings settings = afterARun(nobody());
  UploadOutcome outcome;
  EXPECT_FALSE(uploadRun(settings, outcome));
  EXPECT_EQ(outcome.reply, "");
  settings.server = server(Answers::half, "{\"accepted\":true}");
  EXPECT_FALSE(uploadRun(settings, outcome));
  EXPECT_EQ(outcome.reply, "{\"accept");
  settings.server = server(Answers::closes, "");
  EXPECT_FALSE(uploadRun(settings, outcome));
  EXPECT_EQ(ground.bytesOf("receipt.json"), kReceipt);
}

}  // namespace
}  // namespace contract
