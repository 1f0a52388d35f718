// What both bodies of check/system.h do with files: Windows' and the machine in memory.

#include <gtest/gtest.h>

#include <string>

#include "check/system.h"
#include "tests/machine/contract_ground.h"

namespace contract {
namespace {

namespace check = launcher::check;

std::wstring wide(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }

TEST(CheckContract, newFileIsNeverWrittenOverAnother) {
  Ground ground;
  ground.put("there", "old");
  EXPECT_FALSE(check::writeNewFile(ground.in("there"), "new"));
  EXPECT_EQ(ground.bytesOf("there"), "old");
  EXPECT_TRUE(check::writeNewFile(ground.in("fresh"), "new"));
  EXPECT_EQ(ground.bytesOf("fresh"), "new");
  EXPECT_TRUE(check::writeNewFile(ground.in("empty"), ""));
  EXPECT_EQ(ground.bytesOf("empty"), "");
  ground.makeFolder("folder");
  EXPECT_FALSE(check::writeNewFile(ground.in("folder"), "new"));
  EXPECT_FALSE(check::writeNewFile(ground.in("gone\\fresh"), "new"));
}

TEST(CheckContract, fileIsReplacedWholeOrNotAtAll) {
  Ground ground;
  ground.put("there", "old");
  ground.put("there.kov-new", "left by an earlier one");
  EXPECT_TRUE(check::replaceFile(ground.in("there"), "new"));
  EXPECT_EQ(ground.bytesOf("there"), "new");
  EXPECT_EQ(ground.bytesOf("there.kov-new"), std::nullopt);
  EXPECT_TRUE(check::replaceFile(ground.in("fresh"), "new"));
  EXPECT_EQ(ground.bytesOf("fresh"), "new");
  EXPECT_FALSE(check::replaceFile(ground.in("gone\\fresh"), "new"));

  ground.put("held", "old");
  ground.hold("held", Leaves::reading);
  EXPECT_FALSE(check::replaceFile(ground.in("held"), "new"));
  ground.letGo();
  EXPECT_EQ(ground.bytesOf("held"), "old");
  EXPECT_EQ(ground.bytesOf("held.kov-new"), std::nullopt);

  ground.makeFolder("folder");
  EXPECT_FALSE(check::replaceFile(ground.in("folder"), "new"));
  EXPECT_EQ(ground.bytesOf("folder.kov-new"), std::nullopt);
}

TEST(CheckContract, fileIsWrittenOverAnother) {
  Ground ground;
  ground.put("there", "longer than the new one");
  EXPECT_TRUE(check::writeFileWhole(wide(ground.in("there")), "new"));
  EXPECT_EQ(ground.bytesOf("there"), "new");
  EXPECT_FALSE(check::writeFileWhole(wide(ground.in("gone\\fresh")), "new"));
}

TEST(CheckContract, endOfAFileIsRead) {
  Ground ground;
  ground.put("there", "12345");
  EXPECT_EQ(check::readFileEnd(ground.in("there"), 2), "45");
  EXPECT_EQ(check::readFileEnd(ground.in("there"), 5), "12345");
  EXPECT_EQ(check::readFileEnd(ground.in("there"), 50), "12345");
  EXPECT_EQ(check::readFileEnd(ground.in("gone"), 2), std::nullopt);
  EXPECT_EQ(check::readFileEnd(ground.folder(), 2), std::nullopt);
  ground.hold("there", Leaves::nothing);
  EXPECT_EQ(check::readFileEnd(ground.in("there"), 2), std::nullopt);
  ground.letGo();
}

TEST(CheckContract, foldersAreTriedAndLeftAsTheyWere) {
  Ground ground;
  ground.put("file", "x");
  EXPECT_TRUE(check::isFolder(ground.folder()));
  EXPECT_FALSE(check::isFolder(ground.in("file")));
  EXPECT_FALSE(check::isFolder(ground.in("gone")));
  EXPECT_TRUE(check::canCreateFolder(ground.in("fresh")));
  EXPECT_FALSE(check::isFolder(ground.in("fresh")));
  EXPECT_FALSE(check::canCreateFolder(ground.folder()));
  EXPECT_FALSE(check::canCreateFolder(ground.in("gone\\fresh")));
  EXPECT_TRUE(check::canWriteInto(ground.folder()));
  EXPECT_EQ(ground.bytesOf("kov_check.tmp"), std::nullopt);
  EXPECT_FALSE(check::canWriteInto(ground.in("gone")));
  EXPECT_FALSE(check::canWriteInto(ground.in("file")));
}

TEST(CheckContract, textsAreTurnedIntoTheCodePageOnlyWhole) {
  const Ground ground;
  EXPECT_EQ(check::toAnsi(L"C:\\race"), "C:\\race");
  EXPECT_EQ(check::toAnsi(L""), "");
  const wchar_t half[] = {L'a', 0xD800, 0};  // of a pair: in no code page
  EXPECT_EQ(check::toAnsi(half), std::nullopt);
}

}  // namespace
}  // namespace contract
