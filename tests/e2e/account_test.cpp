#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/support.h"

namespace {

using e2e::Lines;
using stage::SteamAccount;
using stage::textOf;

constexpr char kFirstId[] = "76561198000000001";
constexpr char kSecondId[] = "76561198000000002";

class Account : public testing::Test {
 protected:
  Account() {
    machine_.setSteamPath();
    machine_.writeIni({{"receipt", "r"}, {"data", "d"}, {"dryrun", "1"}});
  }
  /// "id persona" as the last line of a dry run tells them.
  std::string detected() {
    const Lines lines = machine_.runLauncher().logLines();
    const std::string prefix = "DRYRUN steam_id=";
    EXPECT_TRUE(lines.back().starts_with(prefix)) << lines.back();
    return stage::replaceAll(lines.back().substr(prefix.size()), " persona=", "|");
  }
  std::string detected(const std::vector<SteamAccount>& accounts, stage::TextForm form = {}) {
    machine_.writeLoginUsers(accounts, form);
    return detected();
  }
  std::string detectedIn(std::string_view bytes) {
    machine_.writeRawLoginUsers(bytes);
    return detected();
  }

  stage::Stage machine_{"acc"};
};

SteamAccount account(std::string id, std::string persona, std::optional<std::string> recent) {
  SteamAccount made;
  made.id = std::move(id);
  made.persona = std::move(persona);
  made.mostRecent = std::move(recent);
  return made;
}

TEST_F(Account, withoutFileThereIsNone) { EXPECT_EQ(detected(), "|"); }

TEST_F(Account, anEmptyFileOrOneWithoutAccountsHasNone) {
  EXPECT_EQ(detectedIn(""), "|");
  EXPECT_EQ(detectedIn("\"users\"\n{\n}\n"), "|");
}

TEST_F(Account, theOneMarkedMostRecentIsTakenInEveryFormOfTheFile) {
  const std::vector<SteamAccount> accounts = {account(kFirstId, "first", "0"),
                                              account(kSecondId, "竞速玩家", "1"),
                                              account("76561198000000003", "third", "0")};
  const std::string wanted = std::string(kSecondId) + "|竞速玩家";
  EXPECT_EQ(detected(accounts), wanted);
  EXPECT_EQ(detected(accounts, {.crLf = true, .byteOrderMark = true}), wanted);
}

TEST_F(Account, ofSeveralMarkedTheLastIsTaken) {
  EXPECT_EQ(detected({account(kFirstId, "first", "1"), account(kSecondId, "second", "1")}),
            std::string(kSecondId) + "|second");
}

TEST_F(Account, withoutAMarkTheFirstIsTaken) {
  const std::string first = std::string(kFirstId) + "|first";
  EXPECT_EQ(detected({account(kFirstId, "first", std::nullopt)}), first);
  EXPECT_EQ(detected({account(kFirstId, "first", "0"), account(kSecondId, "second", "true")}),
            first);
  SteamAccount lowerCase = account(kSecondId, "second", "1");
  lowerCase.mostRecentKey = "mostrecent";
  EXPECT_EQ(detected({account(kFirstId, "first", "0"), lowerCase}), first);
}

TEST_F(Account, aMarkBeforeTheNameRecordsAnEmptyNameBesideWhichTheFirstNameStands) {
  EXPECT_EQ(detectedIn("\"76561198000000001\" { \"PersonaName\" \"first\" }\n"
                       "\"76561198000000002\" { \"MostRecent\" \"1\" \"PersonaName\" \"second\" }"),
            "76561198000000002|first");
}

TEST_F(Account, theFirstAccountIsTheFirstOneWithAName) {
  EXPECT_EQ(detectedIn("\"76561198000000001\" { }\n"
                       "\"76561198000000002\" { \"PersonaName\" \"second\" }"),
            "76561198000000002|second");
}

TEST_F(Account, aNameBeforeAnyAccountOrAtTheEndOfTheFileDoesNotCount) {
  EXPECT_EQ(detectedIn("\"PersonaName\" \"early\" \"76561198000000001\""), "|");
  EXPECT_EQ(detectedIn("\"76561198000000001\" \"PersonaName\""), "|");
  EXPECT_EQ(detectedIn("\"PersonaName\" \"early\" "
                       "\"76561198000000001\" { \"PersonaName\" \"mine\" }"),
            "76561198000000001|mine");
}

TEST_F(Account, onlyLengthAndFirstFourCharactersMakeAnId) {
  EXPECT_EQ(detectedIn("\"7656abcdefghijklm\" \"PersonaName\" \"odd\""), "7656abcdefghijklm|odd");
  EXPECT_EQ(detectedIn("\"7656119800000000\" \"PersonaName\" \"short\""), "|");
  EXPECT_EQ(detectedIn("\"765611980000000011\" \"PersonaName\" \"long\""), "|");
  EXPECT_EQ(detectedIn("\"86561198000000001\" \"PersonaName\" \"other\""), "|");
}

TEST_F(Account, valuesAreLookedAtAsKeysToo) {
  EXPECT_EQ(detected({account(kFirstId, "PersonaName", std::nullopt)}),
            std::string(kFirstId) + "|PersonaName");
  // The walk takes the value for a key, and what follows it for the account's name.
  EXPECT_EQ(detectedIn("\"76561198000000001\" "
                       "\"PersonaName\" \"PersonaName\" \"MostRecent\" \"1\""),
            "76561198000000001|MostRecent");
}

TEST_F(Account, aBackslashBeforeAQuoteEndsTheNameAtTheQuote) {
  EXPECT_EQ(detectedIn("\"76561198000000001\" { \"PersonaName\" \"say \\\"hi\\\" now\" "
                       "\"MostRecent\" \"1\" }"),
            "76561198000000001|say \\");
}

TEST_F(Account, theNamesBytesPassUnchanged) {
  const std::string odd = "\xFF\xFE \t%s \xE7\xAB raw";
  EXPECT_EQ(detectedIn("\"76561198000000001\" { \"PersonaName\" \"" + odd + "\" }"),
            "76561198000000001|" + odd);
}

TEST_F(Account, theConfiguredSteamProgramDoesNotMatter) {
  machine_.writeLoginUsers();
  const std::string program = textOf(machine_.launcher());
  machine_.writeIni({{"receipt", "r"},
                     {"data", "d"},
                     {"dryrun", "1"},
                     {"steam", program},
                     {"game", program}});
  EXPECT_EQ(detected(), std::string(kFirstId) + "|竞速玩家");
}

// Without Steam in the registry ------------------------------------------------------------

TEST(AccountWithoutRegistry, theUsualSteamFolderIsRead) {
  stage::Stage machine("acc");
  const e2e::UsualSteamFolder folder;
  if (!folder.isOurs()) GTEST_SKIP() << "cannot put a Steam into its usual folder";
  stage::writeFile(e2e::UsualSteamFolder::path() / "config" / "loginusers.vdf",
                   stage::loginUsersVdf({SteamAccount{}}));
  const stage::RunResult run = machine.runLauncher("--detect");
  EXPECT_EQ(run.logLines(),
            (Lines{e2e::kStartLine, "detected persona bytes: 竞速玩家"}));
}

// The persona in a run ---------------------------------------------------------------------

/// A full run up to the skip report of a run that was not finished.
class AccountInRun : public testing::Test {
 protected:
  stage::RunResult play() {
    machine_.installGame(e2e::staysAfterRun(machine_, stage::unfinishedRun().text()));
    machine_.installSteam();
    machine_.installCard();
    machine_.writeIni({{"receipt", textOf(machine_.receipt())},
                       {"data", textOf(machine_.data())},
                       {"steam", textOf(machine_.steamExe())},
                       {"game", textOf(machine_.gameExe())},
                       {"server", server_.url()},
                       {"player", "from settings"}});
    return e2e::runUntilGameEnds(machine_);
  }
  std::string reported() {
    const std::vector<stage::Request> reports = server_.requests("POST", "/client/log");
    return reports.size() == 1 ? reports.front().body : "";
  }

  stage::Stage machine_{"acc"};
  stage::RaceServer server_;
};

TEST_F(AccountInRun, thePersonaReplacesThePlayerOfTheSettings) {
  machine_.writeLoginUsers();
  const stage::RunResult run = play();
  EXPECT_EQ(run.logLines()[1], "steam persona detected: 竞速玩家");
  EXPECT_EQ(reported(),
            "{\"player\":\"竞速玩家\",\"reason\":\"run not finished (no ending screen)\"}");
}

TEST_F(AccountInRun, withoutPersonaThePlayerOfTheSettingsStays) {
  const stage::RunResult run = play();
  EXPECT_EQ(run.logLines()[1], "steam persona not found, using ini player: from settings");
  EXPECT_EQ(reported(),
            "{\"player\":\"from settings\",\"reason\":\"run not finished (no ending screen)\"}");
}

TEST_F(AccountInRun, theAccountIsReadAgainForTheSubmission) {
  machine_.writeLoginUsers({account(kFirstId, "early", "1")});
  machine_.installGame(e2e::staysAfterRun(machine_, stage::finishedRun().text()));
  machine_.installSteam();
  machine_.installCard();
  machine_.installBrowser();
  machine_.writeIni({{"receipt", textOf(machine_.receipt())},
                     {"data", textOf(machine_.data())},
                     {"steam", textOf(machine_.steamExe())},
                     {"game", textOf(machine_.gameExe())},
                     {"server", server_.url()}});
  stage::LauncherRun launcher = machine_.startLauncher();
  ASSERT_TRUE(launcher.waitForLog("waiting for exit..."));
  machine_.writeLoginUsers({account(kSecondId, "late", "1")});
  machine_.endGame();
  EXPECT_EQ(launcher.wait().exitCode, 0U);
  ASSERT_EQ(server_.requests("POST", "/submit").size(), 1U);
  EXPECT_EQ(server_.requests("POST", "/submit").front().body,
            "{\"player\":\"early\",\"playerId\":\"76561198000000002\"," +
                stage::finishedRun().text().substr(1));
}

}  // namespace
