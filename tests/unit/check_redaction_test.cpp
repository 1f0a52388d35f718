#include "check/redaction.h"

#include <gtest/gtest.h>

#include "check/support.h"

namespace launcher::check {
namespace {

std::string plain(std::string_view text) { return redacted(text, {}); }

TEST(CheckRedaction, aSavedCodeIsTakenOutWhereverItStands) {
  const Secrets secrets = {{"kq7-4821"}, {}};
  EXPECT_EQ(redacted("a kq7-4821 b\nkq7-4821kq7-4821\n", secrets), "a *** b\n***\n");
  EXPECT_EQ(redacted("kq7-482", secrets), "kq7-482");
  EXPECT_EQ(redacted("", secrets), "");
}

TEST(CheckRedaction, aCodeInAReplyIsTakenOutEverywhere) {
  EXPECT_EQ(plain("upload response: {\"accepted\":true,\"token\":\"kq7-4821\"}\r\n"
                  "again kq7-4821\r\nearlier"),
            "upload response: {\"accepted\":true,\"token\":\"***\"}\r\nagain ***\r\nearlier");
  EXPECT_EQ(plain("{\"token\" : \"abcd\"} {\"token\":  \"efgh\"}"),
            "{\"token\" : \"***\"} {\"token\":  \"***\"}");
  // The launcher takes the next quoted text for the code.
  EXPECT_EQ(plain("{\"token\":null,\"next\":1}"), "{\"token\":null,\"***\":1}");
}

TEST(CheckRedaction, aReplyThatBreaksOffStillHoldsItsCode) {
  EXPECT_EQ(plain("{\"token\":\"kq7-48\nkq7-48"), "{\"token\":\"***\n***");
}

TEST(CheckRedaction, escapedFormsAreTakenOut) {
  const Secrets secrets = {{"a\"b\\c/d"}, {}};
  EXPECT_EQ(redacted("x a\"b\\c/d x", secrets), "x *** x");
  EXPECT_EQ(redacted("x a\\\"b\\\\c/d x", secrets), "x *** x");
  EXPECT_EQ(redacted("x a\\\"b\\\\c\\/d x", secrets), "x *** x");
  EXPECT_EQ(redacted("x a%22b%5Cc%2Fd x a%22b%5cc%2fd x", secrets), "x *** x *** x");
  const Secrets chinese = {{"码1"}, {}};
  EXPECT_EQ(redacted("x 码1 \\u78011 %E7%A0%811 %e7%a0%811", chinese), "x *** *** *** ***");
  EXPECT_EQ(plain("{\"log\":\"{\\\"token\\\":\\\"kq7\\\"}\"} kq7"),
            "{\"log\":\"{\\\"token\\\":\\\"***\\\"}\"} ***");
}

TEST(CheckRedaction, aCodeInAnAddressIsTakenOut) {
  EXPECT_EQ(plain("https://x.test/profile?token=kq7-4821&a=1 kq7-4821"),
            "https://x.test/profile?token=***&a=1 ***");
  EXPECT_EQ(plain("u=https%3A%2F%2Fx%3Ftoken%3Dkq7"), "u=https%3A%2F%2Fx%3Ftoken%3D***");
}

TEST(CheckRedaction, aCodeThatAStartCutsIsTakenOutInBothLengths) {
  const std::string code(300, 'x');
  const Secrets secrets = {{code}, {}};
  EXPECT_EQ(redacted("a " + code + " b " + code.substr(0, 255) + " c", secrets), "a *** b *** c");
  EXPECT_EQ(redacted("a " + code.substr(0, 254) + " c", secrets),
            "a " + code.substr(0, 254) + " c");
}

TEST(CheckRedaction, overlappingCodesLeaveNothing) {
  EXPECT_EQ(redacted("xabcdx", {{"abc", "bcd"}, {}}), "x***x");
  EXPECT_EQ(redacted("aaaa", {{"aa"}, {}}), "***");
  EXPECT_EQ(redacted("ababa", {{"aba"}, {}}), "***");
}

TEST(CheckRedaction, whatStandsInstedIsNoCodeItself) {
  EXPECT_EQ(redacted("a*b", {{"*"}, {}}), "a###b");
  EXPECT_EQ(redacted("a*#~b", {{"*", "#", "~"}, {}}), "a\nb");
  EXPECT_EQ(redacted("a\nb", {{"a\nb"}, {}}), "***\n***");
}

TEST(CheckRedaction, tooManyCodesLeaveTheTextOut) {
  std::string text;
  for (int i = 0; i < 100; ++i) text += "{\"token\":\"code" + std::to_string(i) + "\"}\n";
  EXPECT_EQ(plain(text), kTooManyCodes);
}

TEST(CheckRedaction, usersFoldersLoseTheirName) {
  EXPECT_EQ(plain("C:\\Users\\王 小明\\AppData\\x"), "C:\\Users\\***\\AppData\\x");
  EXPECT_EQ(plain("c:/users/bob/x \"D:\\USERS\\bob\""), "c:/users/***/x \"D:\\USERS\\***\"");
  EXPECT_EQ(plain("C:\\\\Users\\\\bob\\\\x"), "C:\\\\Users\\\\***\\\\x");
  EXPECT_EQ(plain("C:\\Users\\BOB~1\\x\nC:\\Users\\bob"), "C:\\Users\\***\\x\nC:\\Users\\***");
  EXPECT_EQ(plain("C:\\Documents and Settings\\bob\\x"), "C:\\Documents and Settings\\***\\x");
  EXPECT_EQ(plain("Users bob, \\Usersx\\bob"), "Users bob, \\Usersx\\bob");
}

TEST(CheckRedaction, knownNamesAreTakenOutOfEveryPath) {
  const Secrets secrets = {{}, {"bob", ""}};
  EXPECT_EQ(redacted("D:\\Games\\Bob\\x bob \\bobby\\", secrets), "D:\\Games\\***\\x bob \\bobby\\");
}

TEST(CheckRedaction, aSteamIdKeepsItsLastFourDigits) {
  EXPECT_EQ(plain("steam_id=76561198000004321 persona=x"), "steam_id=***4321 persona=x");
  EXPECT_EQ(plain("7656119800000432"), "7656119800000432");
  EXPECT_EQ(plain("1765611980000043211"), "1***43211");
}

// Every place of the support file in which a code can stand, with one real-shaped code.
TEST(CheckSupport, noCodeIsInTheFileWhereverItStood) {
  const std::string code = "kq7/48\"21";
  const std::string cut = std::string(300, 'k');
  const Secrets secrets = {{code, cut}, {"bob"}};
  const std::string file = supportFile(
      {{"reply", "upload response: {\"token\":\"kq7/48\\\"21\"}"},
       {"escaped", "{\"token\":\"kq7\\/48\\\"21\"} kq7\\/48\\\"21"},
       {"url", "https://x/profile?token=kq7%2F48%2221 kq7%2f48%2221"},
       {"saved", code + "\n" + cut},
       {"cut", cut.substr(0, 255)},
       {"ini", "player=" + code},
       {"list", "C:\\Users\\bob\\" + code},
       {"id", "76561198000004321"}},
      secrets);
  for (const std::string& form :
       {code, std::string("kq7/48\\\"21"), std::string("kq7\\/48\\\"21"),
        std::string("kq7%2F48%2221"), std::string("kq7%2f48%2221"), cut.substr(0, 255),
        std::string("bob"), std::string("7656119800000")}) {
    EXPECT_EQ(file.find(form), std::string::npos) << form << "\n" << file;
  }
  EXPECT_NE(file.find("***4321"), std::string::npos);
}

TEST(CheckSupport, partsStandUnderTheirTitlesInWindowsLines) {
  EXPECT_EQ(supportFile({{"a", "1\r\n2"}, {"b", ""}}, {}),
            "######## a\r\n1\r\n2\r\n\r\n######## b\r\n\r\n");
}

}  // namespace
}  // namespace launcher::check
