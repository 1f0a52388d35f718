// LiveSplit's files as the stage reads them, and which of them its LiveSplit opens.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "rehearsal/stage/timer_files.h"
#include "rehearsal/stage/xml_text.h"

namespace {

using stage::readTimerSettings;
using stage::readTimerSplits;
using stage::readXml;
using stage::XmlElement;
using Texts = std::vector<std::string>;

// XML --------------------------------------------------------------------------------------

TEST(XmlText, elementsAttributesAndTextsAreRead) {
  const std::optional<XmlElement> root = readXml(
      "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<!-- a note -->\n"
      "<a one=\"1\" two = '&lt;2'>x&amp;<b/>y<![CDATA[<&]]><!-- - --><b>&#65;&#x4E2D;</b ></a>\n");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->name, "a");
  EXPECT_EQ(root->attribute("one"), "1");
  EXPECT_EQ(root->attribute("two"), "<2");
  EXPECT_EQ(root->attribute("three"), "");
  EXPECT_EQ(root->text, "x&y<&");
  ASSERT_EQ(root->children.size(), 2U);
  EXPECT_EQ(root->child("b"), root->children.data());
  EXPECT_EQ(root->children[1].text, "A中");
  EXPECT_EQ(root->child("c"), nullptr);
}

TEST(XmlText, whatIsNotWellFormedIsRefused) {
  for (const std::string text :
       {"", "text", "<a>", "<a></b>", "<a><b></a></b>", "<a/><b/>", "<a>&</a>", "<a>&nbsp;</a>",
        "<a>R&D</a>", "<a b=1/>", "<a b=\"1\" b=\"2\"/>", "<a b=\"<\"/>", "<a b=\"1\"c=\"2\"/>",
        "<a>\xD6\xD0</a>", "<a>\x01</a>", "<a>&#1;</a>", "<a>&#xD800;</a>", "<!-- ", "<a><!-- </a>",
        "<a><![CDATA[</a>", "<1/>", "<a", "<a>&#;</a>"}) {
    EXPECT_FALSE(readXml(text)) << text;
  }
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<a>";
  EXPECT_FALSE(readXml(deep));
}

TEST(XmlText, escapedTextComesBack) {
  const std::string text = "a & b < c > d \" e";
  const std::optional<XmlElement> root =
      readXml("<a b=\"" + stage::xmlEscaped(text) + "\">" + stage::xmlEscaped(text) + "</a>");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->attribute("b"), text);
  EXPECT_EQ(root->text, text);
}

// settings.cfg and splits --------------------------------------------------------------------

TEST(TimerFiles, settingsNameSplitsLayoutsAndServer) {
  const auto settings = readTimerSettings(
      stage::liveSplitSettings({"C:\\older.lsl", "C:\\loaded-at-start.lsl"}, "C:\\R & D\\a.lss"));
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->splits, Texts{"C:\\R & D\\a.lss"});
  EXPECT_EQ(settings->layouts, (Texts{"C:\\older.lsl", "C:\\loaded-at-start.lsl"}));
  EXPECT_EQ(settings->serverPort, "16834");
  EXPECT_EQ(settings->serverStartup, "0");
}

TEST(TimerFiles, settingsThatLiveSplitGivesUpAreNone) {
  const std::string good = stage::liveSplitSettings({"C:\\a.lsl"});
  EXPECT_TRUE(readTimerSettings(good));
  for (const std::string path : {"C:\\R & D\\a.lsl", "C:\\a<b\\a.lsl", "C:\\\xD6\xD0\\a.lsl"}) {
    EXPECT_FALSE(readTimerSettings(stage::replaceAll(good, "C:\\a.lsl", path))) << path;
  }
  EXPECT_FALSE(readTimerSettings(stage::replaceAll(good, "RecentLayouts", "Recent")));
  EXPECT_FALSE(readTimerSettings(stage::replaceAll(good, "Settings", "Run")));
  EXPECT_FALSE(readTimerSettings(""));
}

TEST(TimerFiles, splitsTellWhetherTheyHaveTimes) {
  const auto fresh = readTimerSplits(stage::splitsFile());
  ASSERT_TRUE(fresh);
  EXPECT_FALSE(fresh->hasTimes);
  EXPECT_FALSE(fresh->personalBest);
  EXPECT_EQ(fresh->startOffset, 0);

  const auto used = readTimerSplits(stage::splitsFile("01:23:45.6780000"));
  ASSERT_TRUE(used);
  EXPECT_TRUE(used->hasTimes);
  EXPECT_EQ(used->personalBest, stage::ticksOf(5025.678));

  // A time in a best segment is one, too, but no personal best.
  const auto golden = readTimerSplits(
      "<Run><Offset>-00:00:10</Offset><Segments><Segment><BestSegmentTime><RealTime>00:00:59"
      "</RealTime></BestSegmentTime></Segment></Segments></Run>");
  ASSERT_TRUE(golden);
  EXPECT_TRUE(golden->hasTimes);
  EXPECT_FALSE(golden->personalBest);
  EXPECT_EQ(golden->startOffset, stage::ticksOf(-10));
}

TEST(TimerFiles, splitsThatLiveSplitCannotReadAreNone) {
  for (const std::string text : {"", "<Layout/>", "<Run>", "<Run><GameName>R&D</GameName></Run>"}) {
    EXPECT_FALSE(readTimerSplits(text)) << text;
  }
}

// Which splits LiveSplit opens ---------------------------------------------------------------

/// The stage's LiveSplit, started with the race's splits on its command line.
class OpenedSplits : public ::testing::Test {
 protected:
  OpenedSplits() { machine.installLiveSplit({.phase = "Running", .currentTime = 12.0}); }

  void writeSettings(const std::string& bytes) {
    stage::writeFile(machine.liveSplitFolder() / "settings.cfg", bytes);
  }
  void writeSplits(const std::string& name, const std::string& bytes) {
    stage::writeFile(machine.liveSplitFolder() / name, bytes);
  }
  [[nodiscard]] std::string opened() {
    machine.startLiveSplit();
    const std::string file = machine.timeline().first("livesplit", "splits").value_or("");
    machine.endLiveSplit();
    return file;
  }
  [[nodiscard]] std::string inFolder(const std::string& name) const {
    return stage::textOf(machine.liveSplitFolder() / name);
  }

  stage::Stage machine{"splits"};
};

TEST_F(OpenedSplits, areThoseOfItsSettings) { EXPECT_EQ(opened(), inFolder("race.lss")); }

TEST_F(OpenedSplits, areTheLastOfItsSettingsWhateverTheCommandLineSays) {
  writeSplits("other.lss", stage::splitsFile());
  writeSettings(stage::liveSplitSettings({}, inFolder("other.lss")));
  EXPECT_EQ(opened(), inFolder("other.lss"));
  EXPECT_EQ(machine.timeline().first("livesplit", "start"),
            "\"" + inFolder("LiveSplit.exe") + "\" \"" + inFolder("race.lss") + "\"");
}

TEST_F(OpenedSplits, mayBeNamedRelativeToItsFolder) {
  writeSettings(stage::liveSplitSettings({"halvorn.lsl"}, "race.lss"));
  EXPECT_EQ(opened(), inFolder("race.lss"));
}

TEST_F(OpenedSplits, areNoneWithoutSettingsOrWithBrokenOnes) {
  writeSettings("");
  EXPECT_EQ(opened(), "none");
}

TEST_F(OpenedSplits, areNoneWhenTheRewriteBrokeTheSettings) {
  writeSettings(stage::replaceAll(stage::liveSplitSettings({"C:\\a.lsl"}, inFolder("race.lss")),
                                  "C:\\a.lsl", "C:\\R&D\\halvorn.lsl"));
  EXPECT_EQ(opened(), "none");
}

TEST_F(OpenedSplits, areNoneWhenTheFileIsGone) {
  std::filesystem::remove(machine.splits());
  EXPECT_EQ(opened(), "none");
}

}  // namespace
