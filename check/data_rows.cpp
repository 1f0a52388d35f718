#include "check/data_rows.h"

namespace launcher::check {
namespace {

constexpr std::size_t kLongestPath = 259;
constexpr std::size_t kLongestName = sizeof("\\receipts\\receipt_20250301_214502.json") - 1;
constexpr std::uint64_t kNoRoom = 1U << 20;
constexpr std::uint64_t kLittleRoom = 100U << 20;

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::string_view value = {}) {
  return filledRow(Stage::dataFolder, state, what, todo, language, {value});
}

constexpr Wording kAnotherFolder = {
    "把玩家包解压到一个你能写文件的短文件夹，例如 D:\\KOV-Race；或改正 launcher.ini 的 data=。",
    "Extract the zip into a short folder that you can write to, such as D:\\KOV-Race; or correct "
    "data= in launcher.ini."};

/// What makes the folder unusable, or nothing.
std::optional<Finding> folderFault(const DataFacts& facts, Language language) {
  const auto bad = [&](const Wording& what) {
    return row(State::bad, what, kAnotherFolder, language, facts.data);
  };
  if (facts.isFile) {
    return bad({"数据文件夹的位置上是一个文件：{1}", "A file stands where the data folder goes: {1}"});
  }
  if (facts.ansiBytes + kLongestName > kLongestPath) {
    return bad({"数据文件夹的路径太长，成绩存不进去：{1}",
                "The data folder's path is too long to keep results in it: {1}"});
  }
  if (!facts.exists && !facts.canCreate) {
    return bad({"数据文件夹不存在，也建不起来（只能建最后一级）：{1}",
                "The data folder does not exist and cannot be created (only its last level "
                "is): {1}"});
  }
  if (facts.exists && !facts.canWrite) {
    return bad({"数据文件夹里不能写文件，成绩存不下来：{1}",
                "The data folder cannot be written to, so results cannot be kept: {1}"});
  }
  return std::nullopt;
}

std::optional<Finding> roomRow(const DataFacts& facts, Language language) {
  if (!facts.freeBytes || *facts.freeBytes >= kLittleRoom) return std::nullopt;
  return row(*facts.freeBytes < kNoRoom ? State::bad : State::worthKnowing,
             {"数据文件夹所在的磁盘快满了（还剩 {1} MB）。",
              "The disk of the data folder is nearly full ({1} MB left)."},
             {"腾出空间。", "Make room."}, language, std::to_string(*facts.freeBytes >> 20));
}

std::optional<Finding> receiptFolderRow(const DataFacts& facts, Language language) {
  if (facts.receiptFolderExists) return std::nullopt;
  return row(State::worthKnowing,
             {"成绩单的文件夹还不存在，要由计时 mod 自己建立：{1}",
              "The receipt's folder does not exist yet; the mod has to create it: {1}"},
             {"跑完后没有成绩时问主办方。", "Ask the organiser if a run leaves no result."}, language,
             facts.receiptFolder);
}

/// What the next run would do with files of an earlier one.
void addLeftovers(const DataFacts& facts, Language language, Findings& rows) {
  const Wording seeRuns = {"先在“我的成绩”里看它有没有传上去。",
                           "Look at \"My runs\" first, whether it was sent."};
  if (facts.modResult == Leftover::finished) {
    rows.push_back(row(State::worthKnowing,
                       {"数据文件夹里还有上一次的 kovw_result.json；下一次没有写出新的时，会再传这一份。",
                        "A kovw_result.json of an earlier run is still there; a next run that "
                        "writes none sends it again."},
                       seeRuns, language));
  } else if (facts.modResult == Leftover::unfinished) {
    rows.push_back(row(State::worthKnowing,
                       {"数据文件夹里还有一份没跑完的 kovw_result.json，它会挡住后面的成绩单。",
                        "A kovw_result.json of an unfinished run is still there and would hide a "
                        "later receipt."},
                       seeRuns, language));
  }
  if (facts.receipt == Leftover::finished) {
    rows.push_back(row(State::worthKnowing,
                       {"上一次的成绩单还在，下一次比赛会覆盖它：{1}",
                        "The receipt of an earlier run is still there; the next run overwrites "
                        "it: {1}"},
                       seeRuns, language, facts.receiptFile));
  }
}

}  // namespace

Findings dataRows(const DataFacts& facts, Language language) {
  if (!facts.isSet) {
    return {row(State::bad, {"没有设置数据文件夹。", "No data folder is set."},
                {"见“设置”。", "See Settings."}, language)};
  }
  Findings rows;
  for (const auto& found : {folderFault(facts, language), roomRow(facts, language),
                            receiptFolderRow(facts, language)}) {
    if (found) rows.push_back(*found);
  }
  addLeftovers(facts, language, rows);
  if (rows.empty()) {
    rows.push_back(facts.exists
                       ? row(State::good, {"数据文件夹可以读写：{1}",
                                           "The data folder can be written and read: {1}"},
                             kNothingToDo, language, facts.data)
                       : row(State::good, {"数据文件夹会在启动时建立：{1}",
                                           "The data folder will be created at the start: {1}"},
                             kNothingToDo, language, facts.data));
  }
  return rows;
}

}  // namespace launcher::check
