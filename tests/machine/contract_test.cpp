// The contract between the operations and their seam: small scripts of calls whose results
// are the same on both bodies. This file is part of two programs: natively, on the machine in
// memory, and as a Windows program, on Windows' own calls. Both must give what stands here.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/file_io.h"
#include "core/log.h"
#include "core/platform.h"
#include "livesplit/client.h"
#include "server/http.h"
#include "steam/registry.h"
#include "tests/machine/contract_ground.h"

namespace contract {
namespace {

using namespace launcher;  // the seam, as the operations see it

using Texts = std::vector<std::string>;

// Of all characters of the two code pages, as Windows' tables have them.
constexpr std::uint64_t kWesternDigest = 5269594527550927878U;
constexpr std::uint64_t kChineseDigest = 6369594599804102695U;

class Contract : public ::testing::Test {
 protected:
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

  Ground ground;
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
  EXPECT_TRUE(httpGet(ground.server(Answers::whole, "{\"a\":1}") + "/week/current", reply));
  EXPECT_EQ(reply, "before {\"a\":1}");
  reply.clear();
  EXPECT_TRUE(httpPostJson(ground.server(Answers::withoutBody, "") + "/submit", "{\"b\":\"\xC3\xA9\"}", reply));
  EXPECT_EQ(reply, "");
  EXPECT_FALSE(httpGet(ground.server(Answers::closes, "") + "/x", reply));
  EXPECT_TRUE(httpGet(ground.server(Answers::half, "0123456789") + "/half", reply));
  EXPECT_EQ(reply, "01234");
  EXPECT_FALSE(httpGet(ground.nobody() + "/x", reply));
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
  EXPECT_GE(ground.clockMs(), before + 30);
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
  ground.setSteamPath("c:/" + std::string(256, 'x'));
  EXPECT_EQ(readSteamRoot().size(), 259U);
  ground.setSteamPath("c:/" + std::string(257, 'x'));
  EXPECT_EQ(readSteamRoot(), "");
}

TEST_F(Contract, programsAreFoundByNameAndStartedByPath) {
  EXPECT_EQ(findProcessByName(L"kov-no-such-program.exe"), 0U);
  const unsigned long id = findProcessByName(ground.runningImage().c_str());
  ASSERT_NE(id, 0U);
  const std::optional<Process> process = openProcess(id);
  ASSERT_TRUE(process.has_value());
  const long long before = ground.clockMs();
  process->waitForEnd(60);
  EXPECT_GE(ground.clockMs(), before + 40);
  EXPECT_EQ(startProcess("\"" + in("none.exe") + "\"").error, 2U);
  EXPECT_EQ(startProcessWide(L"\"" + ansiToWide(in("none.exe")) + L"\" x").error, 2U);
  EXPECT_NE(startProcess("\"" + in("none\\none.exe") + "\"").error, 0U);  // Wine: 2, not 3
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

}  // namespace
}  // namespace contract
