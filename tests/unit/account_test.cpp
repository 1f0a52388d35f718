#include "steam/account.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

constexpr char kFirstId[] = "76561198000000001";
constexpr char kSecondId[] = "76561198000000002";

/// "id/persona" of the account that a file's tokens name; `tokens` uses ' for ".
std::string recent(std::string tokens) {
  for (char& c : tokens) {
    if (c == '\'') c = '"';
  }
  const SteamAccount account = recentAccount(tokens);
  return account.steamId + "/" + account.persona;
}

std::string id(const char* steamId) { return std::string("'") + steamId + "' "; }

TEST(Account, realFileNamesTheMostRecentAccount) {
  EXPECT_EQ(recent(R"('users'
{
	'76561198000000001'
	{
		'AccountName'		'someone'
		'PersonaName'		'First'
		'RememberPassword'		'1'
		'WantsOfflineMode'		'0'
		'SkipOfflineModeWarning'		'0'
		'AllowAutoLogin'		'1'
		'MostRecent'		'0'
		'Timestamp'		'1736955628'
	}
	'76561198000000002'
	{
		'AccountName'		'other'
		'PersonaName'		'竞速玩家'
		'RememberPassword'		'1'
		'MostRecent'		'1'
		'Timestamp'		'1736955629'
	}
}
)"),
            "76561198000000002/竞速玩家");
}

TEST(Account, withoutAccountsBothAreEmpty) {
  EXPECT_EQ(recent(""), "/");
  EXPECT_EQ(recent("'users' { }"), "/");
  EXPECT_EQ(recent("'AccountName' 'x'"), "/");
}

// Among these counts are those at which the list of tokens has no room left, so that one
// more lies beyond what was allocated.
TEST(Account, lastTokenIsFollowedByNothing) {
  for (const char* key : {"'MostRecent'", "'PersonaName'"}) {
    std::string tokens = id(kFirstId) + "'PersonaName' 'A' ";
    for (int count = 4; count <= 64; ++count) {
      EXPECT_EQ(recent(tokens + key), "76561198000000001/A") << count;
      tokens += "'x' ";
    }
  }
}

TEST(Account, oneAccountWithoutMostRecentIsTaken) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A'"), "76561198000000001/A");
}

TEST(Account, withoutAMostRecentOneTheFirstNamedAccountIsTaken) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'MostRecent' '0' " + id(kSecondId) +
                   "'PersonaName' 'B' 'MostRecent' '0'"),
            "76561198000000001/A");
  EXPECT_EQ(recent(id(kFirstId) + "'AccountName' 'a' " + id(kSecondId) + "'PersonaName' 'B'"),
            "76561198000000002/B");
}

TEST(Account, onlyOneMarksTheMostRecent) {
  for (const char* value : {"0", "", "2", "11", "01", " 1", "true"}) {
    EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) +
                     "'PersonaName' 'B' 'MostRecent' '" + value + "'"),
              "76561198000000001/A")
        << value;
  }
}

TEST(Account, lastMostRecentWins) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'MostRecent' '1' " + id(kSecondId) +
                   "'PersonaName' 'B' 'MostRecent' '1'"),
            "76561198000000002/B");
}

TEST(Account, earlierMostRecentStaysBeforeUnmarkedAccounts) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'MostRecent' '1' " + id(kSecondId) +
                   "'PersonaName' 'B' 'MostRecent' '0'"),
            "76561198000000001/A");
}

TEST(Account, keysAreExactInLetterCase) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) +
                   "'PersonaName' 'B' 'mostrecent' '1' 'MOSTRECENT' '1'"),
            "76561198000000001/A");
  EXPECT_EQ(recent(id(kFirstId) + "'personaname' 'A' 'PersonaName ' 'B'"), "/");
}

TEST(Account, idHas17CharactersThatBeginWith7656) {
  EXPECT_EQ(recent("'7656119800000000' 'PersonaName' 'A'"), "/");
  EXPECT_EQ(recent("'765611980000000001' 'PersonaName' 'A'"), "/");
  EXPECT_EQ(recent("'76571198000000001' 'PersonaName' 'A'"), "/");
  EXPECT_EQ(recent("' 7656119800000001' 'PersonaName' 'A'"), "/");
}

TEST(Account, restOfAnIdNeedNotBeDigits) {
  EXPECT_EQ(recent("'7656 and letters.' 'PersonaName' 'A'"), "7656 and letters./A");
}

TEST(Account, nameBeforeAnyIdRecordsNoAccount) {
  EXPECT_EQ(recent("'PersonaName' 'A'"), "/");
  EXPECT_EQ(recent("'PersonaName' 'A' " + id(kFirstId) + "'PersonaName' 'B'"),
            "76561198000000001/B");
}

TEST(Account, mostRecentBeforeAnyIdGivesItsNameOnly) {
  EXPECT_EQ(recent("'PersonaName' 'A' 'MostRecent' '1'"), "/A");
  EXPECT_EQ(recent("'PersonaName' 'A' 'MostRecent' '1' " + id(kFirstId) + "'PersonaName' 'B'"),
            "76561198000000001/A");
}

TEST(Account, emptyRecentNameFallsBackOnItsOwn) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) +
                   "'PersonaName' '' 'MostRecent' '1'"),
            "76561198000000002/A");
}

TEST(Account, mostRecentBeforeTheNameRecordsAnEmptyName) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) +
                   "'MostRecent' '1' 'PersonaName' 'B'"),
            "76561198000000002/A");
  EXPECT_EQ(recent(id(kFirstId) + "'MostRecent' '1'"), "76561198000000001/");
}

TEST(Account, idStartsWithNoNameWhateverTheAccountBeforeWasCalled) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'PersonaName' 'B' " + id(kSecondId) +
                   "'MostRecent' '1'"),
            "76561198000000002/A");
}

TEST(Account, firstAccountIsRecordedOnceWithItsFirstName) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'PersonaName' 'B'"),
            "76561198000000001/A");
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' '' 'PersonaName' 'B' " + id(kSecondId) +
                   "'PersonaName' 'C'"),
            "76561198000000001/");
}

TEST(Account, recentAccountHasItsLatestName) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' 'PersonaName' 'B' 'MostRecent' '1'"),
            "76561198000000001/B");
}

TEST(Account, keyAsTheLastTokenIsIgnored) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName'"), "/");
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) + "'MostRecent'"),
            "76561198000000001/A");
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) + "'PersonaName'"),
            "76561198000000001/A");
}

TEST(Account, idAsTheLastTokenStartsAnAccountWithoutAName) {
  EXPECT_EQ(recent("'PersonaName' 'A' " + id(kFirstId)), "/");
}

TEST(Account, valueIsLookedAtAsAKeyToo) {
  // A login called PersonaName takes the next key for the persona ...
  EXPECT_EQ(recent(id(kFirstId) + "'AccountName' 'PersonaName' 'PersonaName' 'A'"),
            "76561198000000001/PersonaName");
  // ... one called MostRecent can mark its account ...
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'A' " + id(kSecondId) +
                   "'PersonaName' 'MostRecent' '1' 'x'"),
            "76561198000000002/MostRecent");
  // ... and one that looks like an id starts an account.
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' '" + kSecondId + "' 'MostRecent' '1'"),
            std::string(kSecondId) + "/" + kSecondId);
}

TEST(Account, escapedQuoteInANameTurnsTheRestInsideOut) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' 'a\\'b' 'MostRecent' '1'"),
            "76561198000000001/a\\");
}

TEST(Account, nameIsBytes) {
  EXPECT_EQ(recent(id(kFirstId) + "'PersonaName' '\xFF\xFE 玩家 '"),
            "76561198000000001/\xFF\xFE 玩家 ");
}

/// "accounts, marked, mixed" of a choice.
std::string reasons(const char* text) {
  const AccountChoice choice = chooseAccount(text);
  return std::to_string(choice.accounts) + (choice.isMarked ? ", marked" : "") +
         (choice.isMixed ? ", mixed" : "");
}

TEST(Account, choiceSaysWhy) {
  EXPECT_EQ(reasons(""), "0");
  EXPECT_EQ(reasons("\"76561198000000001\" { \"PersonaName\" \"a\" }"), "1");
  EXPECT_EQ(reasons("\"76561198000000001\" { \"PersonaName\" \"a\" }"
                    "\"76561198000000002\" { \"PersonaName\" \"b\" \"MostRecent\" \"1\" }"),
            "2, marked");
  EXPECT_EQ(reasons("\"76561198000000001\" { \"PersonaName\" \"a\" }"
                    "\"76561198000000002\" { \"MostRecent\" \"1\" }"),
            "2, marked, mixed");
  EXPECT_EQ(reasons("\"76561198000000002\" { \"MostRecent\" \"1\" }"), "1, marked");
  EXPECT_EQ(reasons("\"76561198000000002\" { \"MostRecent\" \"0\" }"), "1");
}

}  // namespace
}  // namespace launcher
