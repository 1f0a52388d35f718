// docs/architecture.md says who may include whom. Here its table is compared with the
// #include lines of the product.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "tests/source_tree.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kOtherFolders[] = {"rehearsal", "tests", "build"};
constexpr std::string_view kPage = "docs/architecture.md";

struct SourceFile {
  std::string path;                   ///< "core/log_win.cpp"
  std::vector<std::string> own;       ///< what it includes of the project: "core/log.h"
  std::vector<std::string> system;    ///< and what else: "windows.h"
};

/// What stands between the first `open` and the next `close` of a line.
std::optional<std::string> between(std::string_view line, char open, char close) {
  const std::size_t begin = line.find(open);
  const std::size_t end = line.find(close, begin == std::string_view::npos ? begin : begin + 1);
  if (begin == std::string_view::npos || end == std::string_view::npos) return std::nullopt;
  return std::string(line.substr(begin + 1, end - begin - 1));
}

SourceFile readSource(const std::string& path, std::string_view code) {
  SourceFile file{path, {}, {}};
  std::istringstream lines{std::string(code)};
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("#include")) continue;
    if (const auto own = between(line, '"', '"')) file.own.push_back(*own);
    if (const auto system = between(line, '<', '>')) file.system.push_back(*system);
  }
  return file;
}

/// Every header and source of the product: of the folders that are no tests and no stage.
std::vector<SourceFile> product() {
  std::vector<SourceFile> files;
  std::error_code error;
  for (const fs::directory_entry& folder : fs::directory_iterator(source_tree::folder(), error)) {
    const std::string name = folder.path().filename().string();
    if (!folder.is_directory() || name.starts_with('.') ||
        std::find(std::begin(kOtherFolders), std::end(kOtherFolders), name) !=
            std::end(kOtherFolders)) {
      continue;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".cpp" && extension != ".h") continue;
      const std::string path = name + "/" + entry.path().filename().string();
      files.push_back(readSource(path, source_tree::read(path)));
    }
  }
  return files;
}

/// The name that a header, its body and its shell share: "core/log" of "core/log_win.cpp".
std::string unitOf(const std::string& path) {
  std::string unit = path.substr(0, path.rfind('.'));
  if (unit.ends_with("_win")) unit.resize(unit.size() - 4);
  return unit;
}

bool isShell(const std::string& path) { return path.find("_win.") != std::string::npos; }

// The page's table ----------------------------------------------------------------------------

struct Row {
  std::vector<std::string> files;
  std::vector<std::string> mayInclude;
};

/// The names in back quotes of a table's cell.
std::vector<std::string> quotedNames(std::string_view cell) {
  std::vector<std::string> names;
  for (std::size_t open = cell.find('`'); open != std::string_view::npos;) {
    const std::size_t close = cell.find('`', open + 1);
    if (close == std::string_view::npos) break;
    names.emplace_back(cell.substr(open + 1, close - open - 1));
    open = cell.find('`', close + 1);
  }
  return names;
}

std::vector<Row> rowsOf(const std::string& page) {
  std::vector<Row> rows;
  std::istringstream lines(page.substr(std::min(page.find("| Files | may include"), page.size())));
  for (std::string line; std::getline(lines, line) && line.starts_with('|');) {
    const std::size_t middle = line.find('|', 1);
    Row row{quotedNames(line.substr(0, middle)), quotedNames(line.substr(middle))};
    if (!row.files.empty()) rows.push_back(std::move(row));
  }
  return rows;
}

/// The name in the table that fits a file best: itself, else its folder; "" for none.
std::string nameInTable(const std::vector<Row>& rows, const std::string& unit) {
  std::string best;
  for (const Row& row : rows) {
    for (const std::string& name : row.files) {
      const bool fits = name == unit || (name.ends_with('/') && unit.starts_with(name));
      if (fits && name.size() > best.size()) best = name;
    }
  }
  return best;
}

bool holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool mayInclude(const std::vector<Row>& rows, const std::string& unit, const std::string& other) {
  const std::string self = nameInTable(rows, unit);
  const std::string target = nameInTable(rows, other);
  for (const Row& row : rows) {
    if (!holds(row.files, self)) continue;
    return holds(row.files, target) || holds(row.mayInclude, target) ||
           holds(row.mayInclude, other);
  }
  return false;
}

// The libraries -------------------------------------------------------------------------------

/// The sources that the build lists for a library: "core/text.cpp".
std::set<std::string> sourcesOf(const std::string& library) {
  std::set<std::string> sources;
  for (const std::string folder : {"core", "steam", "livesplit", "server", "result", "card",
                                   "check"}) {
    const std::string text = source_tree::read(folder + "/CMakeLists.txt");
    for (const std::string& start :
         {"target_sources(" + library + " PRIVATE", "add_library(" + library + " STATIC"}) {
      const std::size_t at = text.find(start);
      if (at == std::string::npos) continue;
      const std::size_t begin = at + start.size();
      std::istringstream names(text.substr(begin, text.find(')', begin) - begin));
      for (std::string name; names >> name;) sources.insert(folder + "/" + name);
    }
  }
  return sources;
}

std::set<std::string> unitsOf(const std::set<std::string>& sources) {
  std::set<std::string> units;
  for (const std::string& source : sources) units.insert(unitOf(source));
  return units;
}

/// The files that belong to the text libraries, headers included.
std::set<std::string> textUnits() {
  std::set<std::string> units = unitsOf(sourcesOf("kov_text"));
  units.merge(unitsOf(sourcesOf("kov_card_text")));
  units.merge(unitsOf(sourcesOf("kov_check_text")));
  return units;
}

/// The units that have a source of their own; the others are headers alone.
std::set<std::string> unitsWithSource(const std::vector<SourceFile>& files) {
  std::set<std::string> units;
  for (const SourceFile& file : files) {
    if (file.path.ends_with(".cpp")) units.insert(unitOf(file.path));
  }
  return units;
}

// The rules -----------------------------------------------------------------------------------

TEST(Includes, goOneWayAsThePageSays) {
  const std::vector<Row> rows = rowsOf(source_tree::read(fs::path(kPage)));
  ASSERT_GT(rows.size(), 5U);
  const std::vector<SourceFile> files = product();
  ASSERT_GT(files.size(), 80U);
  for (const SourceFile& file : files) {
    EXPECT_NE(nameInTable(rows, unitOf(file.path)), "") << file.path << " is not in the table";
    for (const std::string& included : file.own) {
      EXPECT_TRUE(mayInclude(rows, unitOf(file.path), unitOf(included)))
          << file.path << " includes " << included;
    }
  }
}

TEST(Includes, pageAllowsNothingThatIsNotNeeded) {
  const std::vector<Row> rows = rowsOf(source_tree::read(fs::path(kPage)));
  const std::vector<SourceFile> files = product();
  for (const Row& row : rows) {
    for (const std::string& allowed : row.mayInclude) {
      const bool used = std::any_of(files.begin(), files.end(), [&](const SourceFile& file) {
        return holds(row.files, nameInTable(rows, unitOf(file.path))) &&
               std::any_of(file.own.begin(), file.own.end(), [&](const std::string& included) {
                 return unitOf(included) == allowed ||
                        nameInTable(rows, unitOf(included)) == allowed;
               });
      });
      EXPECT_TRUE(used) << row.files.front() << " never includes " << allowed;
    }
  }
}

TEST(Includes, noFilesIncludeEachOtherOverAnyDetour) {
  std::map<std::string, std::set<std::string>> includes;
  for (const SourceFile& file : product()) {
    for (const std::string& included : file.own) {
      if (unitOf(included) != unitOf(file.path)) includes[unitOf(file.path)].insert(unitOf(included));
    }
  }
  // Units that include only units already taken away are taken away, until none is left.
  for (bool changed = true; changed;) {
    changed = std::erase_if(includes, [&](const auto& unit) {
      return std::none_of(unit.second.begin(), unit.second.end(),
                          [&](const std::string& other) { return includes.contains(other); });
    }) > 0;
  }
  std::string circle;
  for (const auto& [unit, others] : includes) circle += unit + " ";
  EXPECT_EQ(circle, "");
}

TEST(Includes, textFilesIncludeTextFilesAlone) {
  const std::vector<SourceFile> files = product();
  const std::set<std::string> texts = textUnits();
  const std::set<std::string> withSource = unitsWithSource(files);
  ASSERT_GT(texts.size(), 25U);
  for (const SourceFile& file : files) {
    if (!texts.contains(unitOf(file.path))) continue;
    for (const std::string& included : file.own) {
      const std::string unit = unitOf(included);
      const bool isText = texts.contains(unit) || !withSource.contains(unit);
      EXPECT_TRUE(isText || included == "core/platform.h") << file.path << " includes " << included;
      EXPECT_NE(unit, "core/win_handle") << file.path;
    }
  }
}

/// Headers of Windows, and of the C library's part that only Windows has.
bool isWindowsHeader(const std::string& name) {
  static const std::set<std::string> kHeaders = {
      "windows.h", "windowsx.h", "winsock2.h", "ws2tcpip.h", "winhttp.h", "shellapi.h",
      "shlobj.h",  "tlhelp32.h", "objbase.h",  "dwmapi.h",   "io.h",      "fcntl.h"};
  return kHeaders.contains(name);
}

TEST(Includes, onlyShellsSeeWindows) {
  int shells = 0;
  for (const SourceFile& file : product()) {
    if (isShell(file.path) || file.path == "core/win_handle.h") {
      ++shells;
      continue;
    }
    for (const std::string& name : file.system) {
      EXPECT_FALSE(isWindowsHeader(name)) << file.path << " includes <" << name << ">";
    }
    for (const std::string& included : file.own) {
      EXPECT_NE(included, "core/win_handle.h") << file.path;
    }
  }
  EXPECT_GT(shells, 10);
}

// What the reading above sees and what it does not.
TEST(Includes, linesAreReadAsTheCompilerDoes) {
  const SourceFile file = readSource(
      "a/b.cpp", "#include <windows.h>\n#include \"a/b.h\"  // why\n// #include \"x.h\"\nint a;\n");
  EXPECT_EQ(file.own, std::vector<std::string>{"a/b.h"});
  EXPECT_EQ(file.system, std::vector<std::string>{"windows.h"});
}

TEST(Includes, ownRowOfAFileCountsBeforeItsFolders) {
  const std::vector<Row> rows = rowsOf(
      "| Files | may include |\n|---|---|\n| `a/main` | `b/`, `a/` |\n| `b/` | `a/` |\n| `a/` | |\n");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_TRUE(mayInclude(rows, "a/main", "b/x"));
  EXPECT_TRUE(mayInclude(rows, "a/main", "a/text"));
  EXPECT_TRUE(mayInclude(rows, "b/x", "b/y"));
  EXPECT_FALSE(mayInclude(rows, "a/text", "b/x"));
  EXPECT_FALSE(mayInclude(rows, "b/x", "a/main"));
  EXPECT_FALSE(mayInclude(rows, "b/x", "c/x"));
}

}  // namespace
