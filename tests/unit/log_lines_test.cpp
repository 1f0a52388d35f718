// docs/log-lines.md explains every line that the launcher can write. Here its tables are
// compared with the calls of logLine in the sources, so that neither side can go stale.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "result/run_check.h"
#include "tests/source_tree.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFolders[] = {"core", "steam", "livesplit", "server", "result"};

/// Position of the first byte at or after `at` that is no blank or line end.
std::size_t skipBlanks(std::string_view code, std::size_t at) {
  return std::min(code.find_first_not_of(" \t\r\n", at), code.size());
}

/// The value of the string literals that stand side by side at `at`, which moves after them.
std::string readLiterals(std::string_view code, std::size_t& at) {
  std::string value;
  for (at = skipBlanks(code, at); at < code.size() && code[at] == '"';
       at = skipBlanks(code, at + 1)) {
    for (++at; at < code.size() && code[at] != '"'; ++at) {
      if (code[at] == '\\') ++at;
      value += code[at];
    }
  }
  return value;
}

/// The formats of every call of logLine in a source. A call whose first argument is no
/// literal is given as "(no literal)". The declaration and the definition are not calls.
std::vector<std::string> formatsIn(std::string_view code) {
  constexpr std::string_view kCall = "logLine(";
  std::vector<std::string> formats;
  for (std::size_t at = code.find(kCall); at != std::string_view::npos;
       at = code.find(kCall, at)) {
    at += kCall.size();
    if (code.substr(at).starts_with("const char* format")) continue;
    std::string format = readLiterals(code, at);
    formats.push_back(format.empty() ? "(no literal)" : format);
  }
  return formats;
}

/// The lines of every `Rejection` that a source defines: the first text of each pair.
std::vector<std::string> rejectionsIn(std::string_view code) {
  constexpr std::string_view kDefinition = "constexpr Rejection ";
  std::vector<std::string> lines;
  for (std::size_t at = code.find(kDefinition); at != std::string_view::npos;
       at = code.find(kDefinition, at)) {
    at = std::min(code.find('{', at), code.size() - 1) + 1;
    lines.push_back(readLiterals(code, at));
  }
  return lines;
}

std::set<std::string> linesOfTheCode() {
  std::set<std::string> lines;
  for (const fs::path folder : kFolders) {
    std::error_code error;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(source_tree::folder() / folder, error)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".cpp" && extension != ".h") continue;
      const std::string code = source_tree::read(folder / entry.path().filename());
      for (std::string& format : formatsIn(code)) lines.insert(std::move(format));
      for (std::string& line : rejectionsIn(code)) lines.insert(std::move(line));
    }
  }
  // How a rejection is logged; its lines themselves are listed instead.
  EXPECT_EQ(lines.erase("%s"), 1U);
  return lines;
}

/// The cells of a table's row, trimmed: "| a | b |".
std::vector<std::string> cellsOf(std::string_view row) {
  std::vector<std::string> cells;
  for (std::size_t bar = 0, next; (next = row.find('|', bar + 1)) != std::string_view::npos;
       bar = next) {
    std::string_view cell = row.substr(bar + 1, next - bar - 1);
    while (cell.starts_with(' ')) cell.remove_prefix(1);
    while (cell.ends_with(' ')) cell.remove_suffix(1);
    cells.emplace_back(cell);
  }
  return cells;
}

struct Row {
  std::string line;
  std::vector<std::string> cells;
};

/// The rows of the page's tables whose first cell is a line in back quotes.
std::vector<Row> rowsOfThePage() {
  std::vector<Row> rows;
  std::istringstream page(source_tree::read("docs/log-lines.md"));
  for (std::string text; std::getline(page, text);) {
    if (!text.starts_with("| `")) continue;
    Row row{"", cellsOf(text)};
    if (row.cells.front().ends_with('`')) {
      row.line = row.cells.front().substr(1, row.cells.front().size() - 2);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

TEST(LogLines, pageListsExactlyTheLinesOfTheCode) {
  std::set<std::string> listed;
  for (const Row& row : rowsOfThePage()) {
    EXPECT_TRUE(listed.insert(row.line).second) << "listed twice: " << row.line;
  }
  const std::set<std::string> written = linesOfTheCode();
  EXPECT_GT(written.size(), 50U);
  EXPECT_THAT(listed, testing::ContainerEq(written));
}

TEST(LogLines, everyLineHasAMeaningAndANextStep) {
  const std::vector<Row> rows = rowsOfThePage();
  ASSERT_FALSE(rows.empty());
  for (const Row& row : rows) {
    ASSERT_EQ(row.cells.size(), 3U) << row.line;
    EXPECT_GT(row.cells[1].size(), 5U) << row.line;
    EXPECT_GT(row.cells[2].size(), 5U) << row.line;
  }
}

TEST(LogLines, rejectionsAreFoundInTheCode) {
  const std::set<std::string> written = linesOfTheCode();
  EXPECT_TRUE(written.contains(launcher::kNoReceipt.logLine));
  EXPECT_TRUE(written.contains(launcher::kNoEndingMap.logLine));
}

// What the reading above sees and what it does not.
TEST(LogLines, literalsOfACallAreJoined) {
  EXPECT_EQ(formatsIn("logLine(\"a %s\"\n   \" \\\"b\\\"\", x); logLine(text);"),
            (std::vector<std::string>{"a %s \"b\"", "(no literal)"}));
  EXPECT_EQ(rejectionsIn("constexpr Rejection kOne = {\n  \"line\"\n \"s\", \"reason\"};"),
            (std::vector<std::string>{"lines"}));
}

}  // namespace
