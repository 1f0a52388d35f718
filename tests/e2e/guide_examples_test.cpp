// docs/organiser-guide.md tells organisers what the launcher sends and what an answer must
// hold. Its examples are played here: what the guide shows as somebody else's words (the
// receipt, the server's answers) goes in, and what it shows as the launcher's must come out
// byte for byte. Its tables are asked from the same functions that the launcher uses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/result_text.h"
#include "rehearsal/stage/stage.h"
#include "result/run_check.h"
#include "server/server_text.h"
#include "tests/e2e/full_run.h"
#include "tests/source_tree.h"

namespace e2e {
namespace {

const std::string& guide() {
  static const std::string text = source_tree::read("docs/organiser-guide.md");
  return text;
}

/// The block of the guide after "<!-- example: NAME -->", without its last line end.
std::string example(const std::string& name) {
  const std::string& text = guide();
  const std::string mark = "<!-- example: " + name + " -->\n```\n";
  const std::size_t at = text.find(mark);
  const std::size_t begin = at + mark.size();
  const std::size_t end = at == std::string::npos ? at : text.find("\n```\n", begin);
  EXPECT_NE(end, std::string::npos) << "the guide has no example " << name;
  return end == std::string::npos ? std::string() : text.substr(begin, end - begin);
}

Lines linesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The cells of a table's row without their back quotes: "| `a` | b |".
Lines cellsOf(const std::string& row) {
  Lines cells;
  for (std::size_t bar = 0, next; (next = row.find('|', bar + 1)) != std::string::npos;
       bar = next) {
    std::string cell = row.substr(bar + 1, next - bar - 1);
    for (const char* edge : {" ", "`"}) {
      const std::size_t first = cell.find_first_not_of(edge);
      const std::size_t last = cell.find_last_not_of(edge);
      cell = first == std::string::npos ? "" : cell.substr(first, last - first + 1);
    }
    cells.push_back(cell);
  }
  return cells;
}

/// The rows of the guide's table with this heading; at least two.
std::vector<Lines> table(const std::string& heading) {
  std::vector<Lines> rows;
  const std::size_t at = guide().find("\n" + heading + "\n|---");
  EXPECT_NE(at, std::string::npos) << "the guide has no table " << heading;
  if (at == std::string::npos) return rows;
  const Lines lines = linesOf(guide().substr(at + 1));
  for (std::size_t i = 2; i < lines.size() && lines[i].starts_with("|"); ++i) {
    rows.push_back(cellsOf(lines[i]));
  }
  EXPECT_GE(rows.size(), 2U) << heading;
  return rows;
}

/// A request as the guide shows it: the request line, the headers that the launcher sets
/// itself, and the body.
std::string asInTheGuide(const stage::Request& request) {
  std::string text = request.method + " " + request.target + " HTTP/1.1\n";
  for (const char* name : {"User-Agent", "Content-Type", "Content-Length"}) {
    text += std::string(name) + ": " + request.header(name) + "\n";
  }
  return text + "\n" + request.body;
}

/// The standard machine. Its player has one run in the queue and plays the guide's receipt.
class OrganiserGuide : public FullRunTest {
 protected:
  OrganiserGuide() : FullRunTest("guide") {
    server.clearAnswers();  // an organiser's own
    machine.putUpStandardMachine(server.url());
    machine.setGame(machine.playsRun(example("receipt")));
  }

  void queueARun() {
    stage::writeFile(machine.data() / "pending" / "p_20261114_201500.json", example("receipt"));
  }

  /// A full run; the server sends this answer to every submission.
  stage::RunResult runAnsweredBy(const std::string& answer) {
    server.answer("POST", "/submit", stage::Reply::json(answer));
    stage::RunResult run = machine.runLauncher();
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 0U);
    return run;
  }

  /// The last command line of the card, after the program's path.
  [[nodiscard]] std::string cardArguments() const {
    const Lines all = cards();
    if (all.empty()) return "(no card)";
    const std::size_t afterPath = all.back().find("\" ", 1);
    return afterPath == std::string::npos ? all.back() : all.back().substr(afterPath + 2);
  }
};

TEST_F(OrganiserGuide, acceptedRun) {
  queueARun();
  server.answer("GET", "/week/current", stage::Reply::json(example("week")));

  const stage::RunResult run = runAnsweredBy(example("accepted"));

  Lines requests;
  for (const stage::Request& request : server.requests()) {
    requests.push_back(request.method + " " + request.target);
  }
  EXPECT_EQ(requests, linesOf(example("requests")));
  EXPECT_EQ(machine.dataFile("rand_seed.txt"), "20261147");
  ASSERT_EQ(submissions().size(), 2U);
  EXPECT_EQ(submissions().front(), example("resend"));
  EXPECT_EQ(asInTheGuide(server.requests("POST", "/submit").back()), example("submit-request"));
  const Lines log = run.logLines();
  const Lines told = linesOf(example("log"));
  const auto begin = std::find(log.begin(), log.end(), told.front());
  ASSERT_LE(told.size(), static_cast<std::size_t>(log.end() - begin));
  EXPECT_EQ(Lines(begin, begin + static_cast<std::ptrdiff_t>(told.size())), told);
  EXPECT_EQ(cardArguments(), example("card-accepted"));
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
  EXPECT_EQ(stage::listFolder(machine.data() / "pending"), Lines{});
}

TEST_F(OrganiserGuide, refusedRun) {
  const stage::RunResult run = runAnsweredBy(example("refused"));

  EXPECT_TRUE(run.hasLogLine("upload response: " + example("refused")));
  EXPECT_EQ(cardArguments(), example("card-refused"));
  EXPECT_EQ(stage::readFile(machine.receipt()), example("receipt"));
  const Lines queue = stage::listFolder(machine.data() / "pending");
  ASSERT_EQ(queue.size(), 1U);
  EXPECT_EQ(stage::readFile(machine.data() / "pending" / queue.front()), example("receipt"));
}

TEST_F(OrganiserGuide, runThatIsNotSent) {
  machine.setGame(machine.playsRun(stage::unfinishedRun().text()));

  (void)runAnsweredBy(example("accepted"));

  EXPECT_EQ(submissions(), Lines{});
  const std::vector<stage::Request> reports = server.requests("POST", "/client/log");
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports.front().body, example("skip"));
}

TEST(OrganiserGuideTables, everyReasonOfASkippedRunIsListed) {
  stage::Stage machine("guide-skips");
  stage::RaceServer server;
  machine.writeIni({{"server", server.url()}, {"player", "runner"}});
  const auto upload = [&machine] { (void)machine.runLauncher("--upload"); };
  upload();
  machine.writeReceipt("\xEF\xBB\xBF" + stage::finishedRun().text());
  upload();
  machine.writeReceipt(stage::unfinishedRun().text());
  upload();
  machine.writeModResult(stage::unfinishedRun().text());
  upload();

  Lines sent;
  for (const stage::Request& request : server.requests("POST", "/client/log")) {
    sent.push_back(request.body);
  }
  Lines listed;
  for (const Lines& row : table("| `reason` | Why |")) {
    listed.push_back("{\"player\":\"runner\",\"reason\":\"" + row.front() + "\"}");
  }
  EXPECT_EQ(sent, listed);
}

TEST(OrganiserGuideTables, spellingsThatAccept) {
  for (const Lines& row : table("| In the answer | Counts as accepted |")) {
    ASSERT_EQ(row.size(), 2U);
    EXPECT_EQ(launcher::acceptsRun("{" + row[0] + "}") ? "yes" : "no", row[1]) << row[0];
  }
}

TEST(OrganiserGuideTables, errorTexts) {
  for (const Lines& row : table("| Your error text contains | The card says |")) {
    ASSERT_EQ(row.size(), 2U);
    EXPECT_EQ(launcher::detailMessage(launcher::ResultKind::fail,
                                      "{\"error\":\"so: " + row[0] + "!\"}"),
              row[1] + ". Result saved locally - it will retry next launch.");
  }
}

TEST(OrganiserGuideTables, endings) {
  for (const Lines& row : table("| Last ending split | Splits | Ending |")) {
    ASSERT_EQ(row.size(), 3U);
    EXPECT_EQ(launcher::inferEnding(row[0], std::stoi(row[1])), row[2]) << row[0];
  }
}

TEST(OrganiserGuideTables, everyExampleOfTheGuideIsPlayed) {
  std::set<std::string> found;
  const std::regex mark("<!-- example: ([a-z-]+) -->");
  for (std::sregex_iterator at(guide().begin(), guide().end(), mark), end; at != end; ++at) {
    found.insert((*at)[1].str());
  }
  EXPECT_THAT(found, testing::UnorderedElementsAre(
                         "requests", "week", "receipt", "submit-request", "log", "accepted",
                         "card-accepted", "refused", "card-refused", "resend", "skip"));
}

}  // namespace
}  // namespace e2e
