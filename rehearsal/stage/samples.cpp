#include "rehearsal/stage/samples.h"

#include <cstdio>

#include "rehearsal/stage/text.h"
#include "rehearsal/stage/xml_text.h"

namespace stage {

namespace {

std::string seconds(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", value);
  return text;
}

/// Doubled backslashes, as Valve's text files write them.
std::string escaped(const std::string& text) { return replaceAll(text, "\\", "\\\\"); }

std::string vdfPair(const std::string& indent, std::string_view key, std::string_view value) {
  return indent + "\"" + std::string(key) + "\"\t\t\"" + std::string(value) + "\"\n";
}

}  // namespace

std::string Receipt::text() const {
  std::string members;
  const auto member = [&](const std::string& name, const std::string& raw) {
    members += (members.empty() ? "\"" : ",\"") + name + "\":" + raw;
  };
  const auto quoted = [](const std::string& value) { return "\"" + value + "\""; };

  if (!week.empty()) member("week", quoted(week));
  if (!seed.empty()) member("seed", seed);
  if (!status.empty()) member("status", quoted(status));
  std::string list;
  for (std::size_t i = 0; i < splits.size(); ++i) {
    list += (i == 0 ? "" : ",") + std::string("{\"i\":") + std::to_string(i) + ",\"map\":" +
            quoted(splits[i].map) + ",\"t\":" + splits[i].time + "}";
  }
  member("splits", "[" + list + "]");
  if (!ending.empty()) member("ending", quoted(ending));
  if (!total.empty()) member("total", total);
  if (!difficulty.empty()) member("difficulty", quoted(difficulty));
  return "{" + members + "}";
}

Receipt finishedRun() {
  Receipt run;
  run.splits = {{"Level 0", "61.208"},        {"Level 1", "118.940"},
                {"Level 2", "187.415"},       {"Level 4", "266.082"},
                {"Level 5", "339.731"},       {"Level 37", "428.019"},
                {"Level 188", "512.644"},     {"Level Run", "601.377"},
                {"Level 94", "688.250"},      {"ENDING:main", "754.560"}};
  return run;
}

Receipt unfinishedRun() {
  Receipt run = finishedRun();
  run.splits.resize(6);
  run.status = "running";
  run.ending = "";
  run.total = "428.019";
  return run;
}

Receipt runWithSplits(std::size_t count, std::string_view ending) {
  Receipt run;
  run.ending = ending;
  double time = 0;
  for (std::size_t i = 0; i + 1 < count; ++i) {
    time += 15.125;
    run.splits.push_back({"Level " + std::to_string(i), seconds(time)});
  }
  time += 15.125;
  run.splits.push_back({"ENDING:" + run.ending, seconds(time)});
  run.total = seconds(time);
  return run;
}

std::string inForm(std::string_view text, TextForm form) {
  std::string bytes = form.byteOrderMark ? "\xEF\xBB\xBF" : "";
  bytes += text;
  return form.crLf ? replaceAll(std::move(bytes), "\n", "\r\n") : bytes;
}

std::string libraryFoldersVdf(const std::vector<std::string>& folders,
                              LibraryFileGeneration generation, TextForm form) {
  std::string text;
  if (generation == LibraryFileGeneration::before2021) {
    text = "\"LibraryFolders\"\n{\n";
    text += vdfPair("\t", "TimeNextStatsReport", "1621190000");
    text += vdfPair("\t", "ContentStatsID", "-1234567890123456789");
    for (std::size_t i = 1; i < folders.size(); ++i) {
      text += vdfPair("\t", std::to_string(i), escaped(folders[i]));
    }
    return inForm(text + "}\n", form);
  }
  text = "\"libraryfolders\"\n{\n";
  text += vdfPair("\t", "contentstatsid", "-1234567890123456789");
  for (std::size_t i = 0; i < folders.size(); ++i) {
    text += "\t\"" + std::to_string(i) + "\"\n\t{\n";
    text += vdfPair("\t\t", "path", escaped(folders[i]));
    text += vdfPair("\t\t", "label", i == 0 ? "" : "games");
    text += vdfPair("\t\t", "contentid", "1234567890123456789");
    text += vdfPair("\t\t", "totalsize", "0");
    text += vdfPair("\t\t", "update_clean_bytes_tally", "0");
    text += vdfPair("\t\t", "time_last_update_verified", "1736955628");
    text += "\t\t\"apps\"\n\t\t{\n";
    text += vdfPair("\t\t\t", i == 0 ? "228980" : "1943950", "300000000");
    text += "\t\t}\n\t}\n";
  }
  return inForm(text + "}\n", form);
}

std::string loginUsersVdf(const std::vector<SteamAccount>& accounts, TextForm form) {
  std::string text = "\"users\"\n{\n";
  for (const SteamAccount& account : accounts) {
    text += "\t\"" + account.id + "\"\n\t{\n";
    text += vdfPair("\t\t", "AccountName", account.name);
    text += vdfPair("\t\t", "PersonaName", account.persona);
    text += vdfPair("\t\t", "RememberPassword", "1");
    text += vdfPair("\t\t", "WantsOfflineMode", "0");
    text += vdfPair("\t\t", "SkipOfflineModeWarning", "0");
    text += vdfPair("\t\t", "AllowAutoLogin", "1");
    if (account.mostRecent) text += vdfPair("\t\t", account.mostRecentKey, *account.mostRecent);
    text += vdfPair("\t\t", "Timestamp", "1736955628");
    text += "\t}\n";
  }
  return inForm(text + "}\n", form);
}

std::string liveSplitSettings(const std::vector<std::string>& layoutPaths,
                              std::string_view splits) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<Settings version=\"1.8.17\">\n"
      "  <RecentSplits>\n"
      "    <SplitsFile gameName=\"\" categoryName=\"\" lastTimingMethod=\"RealTime\" "
      "lastHotkeyProfile=\"Default\">" +
      xmlEscaped(splits) +
      "</SplitsFile>\n"
      "  </RecentSplits>\n"
      "  <RecentLayouts>\n";
  for (const std::string& path : layoutPaths) {
    text += "    <LayoutPath>" + path + "</LayoutPath>\n";
  }
  text +=
      "  </RecentLayouts>\n"
      "  <ServerPort>16834</ServerPort>\n"
      "  <ServerStartup>0</ServerStartup>\n"
      "  <ServerState>0</ServerState>\n"
      "</Settings>\n";
  return inForm(text, {.crLf = true, .byteOrderMark = true});
}

std::string splitsFile(std::string_view personalBest) {
  std::string times;
  if (!personalBest.empty()) {
    times = "<SplitTimes><SplitTime name=\"Personal Best\"><RealTime>" +
            std::string(personalBest) + "</RealTime></SplitTime></SplitTimes>";
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<Run version=\"1.7.0\">\n"
         "  <GameName>Escape the Backrooms</GameName>\n"
         "  <CategoryName>KOV weekly</CategoryName>\n"
         "  <Segments><Segment><Name>Level 0</Name>" + times +
         "</Segment></Segments>\n"
         "</Run>\n";
}

}  // namespace stage
