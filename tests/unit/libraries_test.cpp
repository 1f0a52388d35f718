#include "steam/libraries.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launcher {
namespace {

using Folders = std::vector<std::string>;

std::string asItIs(const std::string& text) { return text; }

Folders folders(std::string_view root, std::string_view file) {
  return libraryFolders(root, file, asItIs);
}

constexpr char kRealFile[] = R"("libraryfolders"
{
	"contentstatsid"		"-1234567890123456789"
	"0"
	{
		"path"		"C:\\Program Files (x86)\\Steam"
		"label"		""
		"contentid"		"1234567890123456789"
		"totalsize"		"0"
		"update_clean_bytes_tally"		"0"
		"time_last_update_verified"		"1736955628"
		"apps"
		{
			"228980"		"300000000"
		}
	}
	"1"
	{
		"path"		"D:\\SteamLibrary"
		"label"		"games"
		"apps"
		{
			"1943950"		"9000000000"
		}
	}
	"2"
	{
		"path"		"E:\\Spiele\\Steam"
		"label"		""
	}
}
)";

TEST(Libraries, slashesBecomeBackslashes) {
  EXPECT_EQ(withBackslashes("c:/program files (x86)/steam"), "c:\\program files (x86)\\steam");
  EXPECT_EQ(withBackslashes("a\\b/c//d"), "a\\b\\c\\\\d");
  EXPECT_EQ(withBackslashes(""), "");
}

TEST(Libraries, realFileNamesItsLibrariesAfterTheRoot) {
  EXPECT_EQ(folders("c:\\program files (x86)\\steam", kRealFile),
            (Folders{"c:\\program files (x86)\\steam", "C:\\Program Files (x86)\\Steam",
                     "D:\\SteamLibrary", "E:\\Spiele\\Steam"}));
}

TEST(Libraries, lineEndsAndByteOrderMarkDoNotMatter) {
  std::string file = "\xEF\xBB\xBF";
  for (const char* c = kRealFile; *c != '\0'; ++c) {
    if (*c == '\n') file += '\r';
    file += *c;
  }
  EXPECT_EQ(folders("R", file), (Folders{"R", "C:\\Program Files (x86)\\Steam",
                                         "D:\\SteamLibrary", "E:\\Spiele\\Steam"}));
}

TEST(Libraries, oldFormNamesNone) {
  EXPECT_EQ(folders("C:\\Steam",
                    "\"LibraryFolders\"\n{\n\t\"TimeNextStatsReport\"\t\t\"1621190000\"\n"
                    "\t\"ContentStatsID\"\t\t\"-1234567890123456789\"\n"
                    "\t\"1\"\t\t\"D:\\\\SteamLibrary\"\n}\n"),
            (Folders{"C:\\Steam"}));
}

TEST(Libraries, emptyRootGivesNoLibraries) {
  EXPECT_EQ(folders("", "\"path\" \"D:\\\\L\""), Folders{});
}

TEST(Libraries, rootStandsAloneWithoutAFile) {
  EXPECT_EQ(folders("C:\\Steam", ""), (Folders{"C:\\Steam"}));
  EXPECT_EQ(folders("C:\\Steam", "\"path\""), (Folders{"C:\\Steam"}));
  EXPECT_EQ(folders("C:\\Steam", "{ garbage"), (Folders{"C:\\Steam"}));
}

TEST(Libraries, doubledBackslashesBecomeSingleOnes) {
  EXPECT_EQ(folders("R", "\"path\" \"D:\\\\SteamLibrary\""), (Folders{"R", "D:\\SteamLibrary"}));
  EXPECT_EQ(folders("R", "\"path\" \"D:\\Lone\\\\\\Three\\\\\\\\Four\""),
            (Folders{"R", "D:\\Lone\\\\Three\\\\Four"}));
  // No other escape is known.
  EXPECT_EQ(folders("R", "\"path\" \"D:\\n\\t\""), (Folders{"R", "D:\\n\\t"}));
}

TEST(Libraries, forwardSlashesBecomeBackslashesAfterUnescaping) {
  EXPECT_EQ(folders("R", "\"path\" \"d:/steam/lib\""), (Folders{"R", "d:\\steam\\lib"}));
  EXPECT_EQ(folders("R", "\"path\" \"d://lib\\/x\""), (Folders{"R", "d:\\\\lib\\\\x"}));
}

TEST(Libraries, conversionComesBeforeUnescaping) {
  // 0x95 0x5C is one character in code page 936; its second byte is no backslash.
  const auto toUtf8 = [](const std::string& text) {
    return text == "D:\\\\\x95\\\\\\x" ? std::string("D:\\\\昞\\\\x") : std::string("unexpected");
  };
  EXPECT_EQ(libraryFolders("R", "\"path\" \"D:\\\\\x95\\\\\\x\"", toUtf8),
            (Folders{"R", "D:\\昞\\x"}));
}

TEST(Libraries, everyValueIsConvertedAndNothingElse) {
  const auto mark = [](const std::string& text) { return "<" + text + ">"; };
  EXPECT_EQ(libraryFolders("R", "\"path\" \"a\" \"label\" \"b\" \"path\" \"c\"", mark),
            (Folders{"R", "<a>", "<c>"}));
}

TEST(Libraries, emptyValuesAreDropped) {
  EXPECT_EQ(folders("R", "\"path\" \"\" \"path\" \"D:\""), (Folders{"R", "D:"}));
}

TEST(Libraries, sameTextIsListedOnce) {
  EXPECT_EQ(folders("C:\\Steam", "\"path\" \"C:\\\\Steam\" \"path\" \"D:\" \"path\" \"D:\""),
            (Folders{"C:\\Steam", "D:"}));
}

TEST(Libraries, otherLetterCaseOrTrailingBackslashIsAnotherLibrary) {
  EXPECT_EQ(folders("C:\\Steam", "\"path\" \"c:\\\\steam\" \"path\" \"C:\\\\Steam\\\\\""),
            (Folders{"C:\\Steam", "c:\\steam", "C:\\Steam\\"}));
}

TEST(Libraries, keyIsExact) {
  EXPECT_EQ(folders("R", "\"Path\" \"a\" \"PATH\" \"b\" \"paths\" \"c\" \" path\" \"d\""),
            (Folders{"R"}));
}

TEST(Libraries, lastTokenPathIsIgnored) {
  EXPECT_EQ(folders("R", "\"path\" \"a\" \"path\""), (Folders{"R", "a"}));
}

TEST(Libraries, valueThatReadsPathMarksTheNextToken) {
  EXPECT_EQ(folders("R", "\"path\" \"a\" \"label\" \"path\" \"contentid\" \"1\""),
            (Folders{"R", "a", "contentid"}));
  EXPECT_EQ(folders("R", "\"path\" \"path\" \"x\""), (Folders{"R", "path", "x"}));
}

TEST(Libraries, nestingIsIgnored) {
  EXPECT_EQ(folders("R", "}}{\"path\"{{{\"a\"}\"apps\"{\"path\"\"b\""), (Folders{"R", "a", "b"}));
}

}  // namespace
}  // namespace launcher
