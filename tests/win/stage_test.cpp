// The stage itself: what the tests of the launcher lean on must do what the real programs do.

#include "rehearsal/stage/stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <winsock2.h>
#include <windows.h>

#include <shellapi.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "rehearsal/stage/failure.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using stage::TimerGeneration;
using stage::TimerManner;
using stage::TimerReply;
using stage::TimerServer;
using stage::TimerSimulation;

// A client ---------------------------------------------------------------------------------

/// A plain TCP client of the loopback.
class Client {
 public:
  explicit Client(unsigned short port) {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    socket_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ =
        connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~Client() {
    closesocket(socket_);
    WSACleanup();
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] bool connected() const { return connected_; }

  void say(std::string_view bytes) const {
    send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0);
  }

  /// Bytes until `wanted` of them are there, nothing more comes within the limit, or the
  /// connection ends.
  std::string hear(std::size_t wanted, unsigned limitMs = 3000) {
    std::string bytes;
    while (bytes.size() < wanted && waitReadable(limitMs)) {
      char buffer[4096];
      const int got = recv(socket_, buffer, sizeof buffer, 0);
      if (got <= 0) {
        end_ = got == 0 ? "closed" : "reset";
        break;
      }
      bytes.append(buffer, static_cast<std::size_t>(got));
    }
    return bytes;
  }

  /// Everything until the connection ends.
  std::string hearAll() { return hear(static_cast<std::size_t>(-1)); }

  std::string ask(std::string_view command, std::string_view reply) {
    say(command);
    return hear(reply.size());
  }

  /// "closed", "reset", or empty while the connection stands.
  [[nodiscard]] const std::string& end() const { return end_; }

 private:
  [[nodiscard]] bool waitReadable(unsigned limitMs) const {
    fd_set set;
    set.fd_count = 1;
    set.fd_array[0] = socket_;
    timeval wait{static_cast<long>(limitMs / 1000), static_cast<long>(limitMs % 1000) * 1000};
    return select(0, &set, nullptr, nullptr, &wait) > 0;
  }

  SOCKET socket_ = INVALID_SOCKET;
  bool connected_ = false;
  std::string end_;
};

std::string httpRequest(std::string_view method, std::string_view target,
                        std::string_view body = {}) {
  std::string request = std::string(method) + " " + std::string(target) +
                        " HTTP/1.1\r\nHost: stage\r\nX-Odd-Name: kept\r\n";
  if (!body.empty()) {
    request += "Content-Type: application/json\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n";
  }
  return request + "\r\n" + std::string(body);
}

/// One exchange on a connection of its own, as an HTTP/1.1 client that asks for the close.
std::string exchange(const stage::RaceServer& server, std::string_view method,
                     std::string_view target, std::string_view body = {}) {
  Client client(server.port());
  std::string request = httpRequest(method, target, body);
  request.insert(request.find("X-Odd-Name"), "Connection: close\r\n");
  client.say(request);
  return client.hearAll();
}

std::string bodyOf(const std::string& response) {
  const std::size_t at = response.find("\r\n\r\n");
  return at == std::string::npos ? "" : response.substr(at + 4);
}

// Timer: texts and phases ------------------------------------------------------------------

TEST(TimerTimeText, currentGenerationWritesInvariantText) {
  const auto text = [](double seconds) {
    return stage::formatTimerTime(stage::ticksOf(seconds), TimerGeneration::current);
  };
  EXPECT_EQ("00:12:34.5600000", text(754.56));
  EXPECT_EQ("00:00:59", text(59));
  EXPECT_EQ("1.02:03:04.5000000", text(93784.5));
  EXPECT_EQ("-00:00:10", text(-10));
  EXPECT_EQ("-00:00:09.5163381", text(-9.5163381));
  EXPECT_EQ("-", stage::formatTimerTime(std::nullopt, TimerGeneration::current));
}

TEST(TimerTimeText, componentGenerationWritesShortText) {
  const auto text = [](double seconds) {
    return stage::formatTimerTime(stage::ticksOf(seconds), TimerGeneration::component);
  };
  EXPECT_EQ("0:05.00", text(5));
  EXPECT_EQ("2:34.50", text(154.5));
  EXPECT_EQ("1:02:03.67", text(3723.67));
  EXPECT_EQ("25:01:02.25", text(90062.25));
  EXPECT_EQ("\xE2\x88\x92" "0:10.00", text(-10));
  EXPECT_EQ("0.00", stage::formatTimerTime(std::nullopt, TimerGeneration::component));
}

/// The real timer's answers in every state that was recorded from it.
class TimerStates : public testing::Test {
 protected:
  void setUp(TimerSimulation::Setup setup) {
    setup.clock = [this] { return now_; };
    timer_.emplace(std::move(setup));
  }
  void pass(double seconds) { now_ += stage::ticksOf(seconds); }
  void tell(std::string_view command) {
    EXPECT_EQ(std::nullopt, timer_->answer(command)) << command << " has no reply";
  }
  std::vector<std::string> answers() {
    std::vector<std::string> all;
    for (const char* command :
         {"getcurrenttimerphase", "getfinaltime", "getlastsplittime", "getcurrenttime"}) {
      all.push_back(timer_->answer(command).value_or("(silence)"));
    }
    return all;
  }

  stage::Ticks now_ = 123456789;
  std::optional<TimerSimulation> timer_;
};

TEST_F(TimerStates, withoutPersonalBest) {
  setUp({.segments = 2});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "-", "-", "00:00:00"));
  tell("starttimer");
  pass(0.4816310);
  EXPECT_THAT(answers(), ElementsAre("Running", "-", "-", "00:00:00.4816310"));
  pass(0.4215406);
  tell("split");
  pass(0.4813485);
  EXPECT_THAT(answers(), ElementsAre("Running", "-", "00:00:00.9031716", "00:00:01.3845201"));
  pass(0.1209272);
  tell("pause");
  pass(100);
  EXPECT_THAT(answers(), ElementsAre("Paused", "-", "00:00:00.9031716", "00:00:01.5054473"));
  tell("resume");
  pass(0.7225640);
  tell("split");
  pass(100);
  EXPECT_THAT(answers(), ElementsAre("Ended", "00:00:02.2280113", "00:00:02.2280113",
                                     "00:00:02.2280113"));
  tell("reset");
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "00:00:02.2280113", "-", "00:00:00"));
}

TEST_F(TimerStates, withPersonalBest) {
  setUp({.segments = 3, .personalBest = stage::ticksOf(5025.678)});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "01:23:45.6780000", "-", "00:00:00"));
  tell("starttimer");
  pass(0.7238798);
  tell("split");
  pass(0.4813250);
  EXPECT_THAT(answers(), ElementsAre("Running", "01:23:45.6780000", "00:00:00.7238798",
                                     "00:00:01.2052048"));
  tell("skipsplit");
  pass(0.6021766);
  EXPECT_THAT(answers(), ElementsAre("Running", "01:23:45.6780000", "-", "00:00:01.8073814"));
}

TEST_F(TimerStates, personalBestOfWholeSecondsAndOfMoreThanADay) {
  setUp({.personalBest = stage::ticksOf(59)});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "00:00:59", "-", "00:00:00"));
  setUp({.personalBest = stage::ticksOf(93784.5)});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "1.02:03:04.5000000", "-", "00:00:00"));
}

TEST_F(TimerStates, withStartOffset) {
  setUp({.startOffset = stage::ticksOf(-10)});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "-", "-", "-00:00:10"));
  tell("starttimer");
  pass(0.4836619);
  EXPECT_THAT(answers(), ElementsAre("Running", "-", "-", "-00:00:09.5163381"));

  setUp({.startOffset = stage::ticksOf(3723)});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "-", "-", "01:02:03"));
  tell("starttimer");
  pass(1.4457582);
  tell("split");
  EXPECT_THAT(answers(), ElementsAre("Ended", "01:02:04.4457582", "01:02:04.4457582",
                                     "01:02:04.4457582"));
}

TEST_F(TimerStates, withGameTime) {
  setUp({.gameTimeChosen = true});
  tell("starttimer");
  pass(1.3248597);
  tell("split");
  EXPECT_THAT(answers(), ElementsAre("Ended", "-", "-", "00:00:01.3248597"));

  setUp({.gameTimeChosen = true});
  tell("starttimer");
  tell("setgametime 30.25");
  pass(1);
  tell("split");
  EXPECT_THAT(answers(),
              ElementsAre("Ended", "00:00:30.2500000", "00:00:30.2500000", "00:00:30.2500000"));
}

TEST_F(TimerStates, componentIsSilentBeforeTheFirstSplit) {
  setUp({.generation = TimerGeneration::component, .segments = 2});
  EXPECT_THAT(answers(), ElementsAre("NotRunning", "0.00", "(silence)", "0:00.00"));
  tell("starttimer");
  pass(5);
  tell("split");
  EXPECT_THAT(answers(), ElementsAre("Running", "0.00", "0:05.00", "0:05.00"));
}

TEST_F(TimerStates, trailingBlankAsksForAnotherComparison) {
  setUp({.personalBest = stage::ticksOf(59)});
  EXPECT_EQ("-", timer_->answer("getfinaltime "));
  EXPECT_EQ(std::nullopt, timer_->answer("GetFinalTime"));
  EXPECT_EQ(std::nullopt, timer_->answer(""));
  EXPECT_EQ(std::nullopt, timer_->answer("getcurrenttimerphase "));
}

// Timer: the wire --------------------------------------------------------------------------

TEST(TimerServerTest, answersWithOneLineFeed) {
  TimerServer timer({.port = 0});
  timer.replyEnded(754.56);
  Client client(timer.port());
  EXPECT_EQ("Ended\n", client.ask("getcurrenttimerphase\r\n", "Ended\n"));
  EXPECT_EQ("00:12:34.5600000\n", client.ask("getfinaltime\n", "00:12:34.5600000\n"));
  EXPECT_EQ("", client.hear(1, 100));
  EXPECT_THAT(timer.commandTexts(), ElementsAre("getcurrenttimerphase", "getfinaltime"));
}

TEST(TimerServerTest, componentAnswersWithCarriageReturnToo) {
  TimerServer timer({.port = 0, .generation = TimerGeneration::component});
  timer.replyState("Running", std::nullopt, std::nullopt, 154.5);
  Client client(timer.port());
  EXPECT_EQ("0.00\r\n", client.ask("getfinaltime\r\n", "0.00\r\n"));
  client.say("getlastsplittime\r\n");
  EXPECT_EQ("", client.hear(1, 100));
  EXPECT_EQ("2:34.50\r\n", client.ask("getcurrenttime\r\n", "2:34.50\r\n"));
}

TEST(TimerServerTest, severalCommandsInOnePacketAreAnsweredInOrder) {
  TimerServer timer({.port = 0});
  timer.replyState("Running", std::nullopt, 61.5, 62);
  Client client(timer.port());
  EXPECT_EQ("Running\n-\n00:01:01.5000000\n00:01:02\n",
            client.ask("getcurrenttimerphase\ngetfinaltime\r\ngetlastsplittime\ngetcurrenttime\n",
                       "Running\n-\n00:01:01.5000000\n00:01:02\n"));
}

TEST(TimerServerTest, aCommandMayComeInPieces) {
  TimerServer timer({.port = 0});
  timer.reply("getfinaltime", "-");
  Client client(timer.port());
  client.say("getfinal");
  EXPECT_EQ("", client.hear(1, 100));
  EXPECT_EQ("-\n", client.ask("time\r\n", "-\n"));
}

TEST(TimerServerTest, staysSilentOnWhatItDoesNotKnow) {
  TimerServer timer({.port = 0});
  timer.simulate(TimerSimulation());
  Client client(timer.port());
  client.say("nosuchcommand\r\n\r\nGETFINALTIME\r\nstarttimer\r\nsplit\r\n");
  EXPECT_EQ("", client.hear(1, 150));
  EXPECT_EQ("", client.end()) << "the connection stays open";
  EXPECT_EQ("Ended\n", client.ask("getcurrenttimerphase\r\n", "Ended\n"));
}

TEST(TimerServerTest, severalClientsAtOnce) {
  TimerServer timer({.port = 0});
  timer.reply("getcurrenttimerphase", "Running");
  Client one(timer.port());
  Client two(timer.port());
  EXPECT_EQ("Running\n", two.ask("getcurrenttimerphase\n", "Running\n"));
  EXPECT_EQ("Running\n", one.ask("getcurrenttimerphase\n", "Running\n"));
  EXPECT_EQ(2U, timer.connections());
  const std::vector<stage::TimerCommand> commands = timer.commands();
  ASSERT_EQ(2U, commands.size());
  EXPECT_EQ(2U, commands[0].connection);
  EXPECT_EQ(1U, commands[1].connection);
}

TEST(TimerServerTest, repliesFollowTheirScript) {
  TimerServer timer({.port = 0});
  timer.reply("getfinaltime", {TimerReply::line("-"), TimerReply::raw("odd"),
                               TimerReply::silence(), TimerReply::line("last")});
  Client client(timer.port());
  EXPECT_EQ("-\n", client.ask("getfinaltime\n", "-\n"));
  EXPECT_EQ("odd", client.ask("getfinaltime\n", "odd"));
  client.say("getfinaltime\n");
  EXPECT_EQ("", client.hear(1, 100));
  EXPECT_EQ("last\n", client.ask("getfinaltime\n", "last\n"));
  EXPECT_EQ("last\n", client.ask("getfinaltime\n", "last\n"));
}

TEST(TimerServerTest, canCloseAndReset) {
  TimerServer timer({.port = 0});
  timer.reply("close", {TimerReply::close()});
  timer.reply("reset", {TimerReply::reset()});
  Client closed(timer.port());
  closed.say("close\n");
  EXPECT_EQ("", closed.hearAll());
  EXPECT_EQ("closed", closed.end());
  Client reset(timer.port());
  reset.say("reset\n");
  EXPECT_EQ("", reset.hearAll());
  EXPECT_NE("", reset.end());  // Wine puts a regular end in front of every reset
}

TEST(TimerServerTest, canAcceptAndClose) {
  TimerServer timer({.port = 0, .manner = TimerManner::acceptsAndCloses});
  Client client(timer.port());
  EXPECT_TRUE(client.connected());
  EXPECT_EQ("", client.hearAll());
  EXPECT_NE("", client.end());
}

TEST(TimerServerTest, losesWhatComesAtOnceButNothingLater) {
  TimerServer timer({.port = 0, .manner = TimerManner::dropsFirst20Ms});
  timer.reply("getcurrenttimerphase", "Running");
  for (int i = 0; i < 20; ++i) {
    Client patient(timer.port());
    Sleep(50);
    EXPECT_EQ("Running\n", patient.ask("getcurrenttimerphase\r\n", "Running\n"));
  }
  EXPECT_EQ(0U, timer.lostBytes());

  unsigned lost = 0;
  // On a busy machine the timer may come to a connection late and then loses nothing.
  for (int i = 0; i < 200 && lost < 3; ++i) {
    Client hasty(timer.port());
    hasty.say("getcurrenttimerphase\r\n");
    if (hasty.hear(1, 1000).empty()) {
      ++lost;
      EXPECT_EQ("", hasty.end()) << "a lost command leaves the connection open";
      EXPECT_EQ("Running\n", hasty.ask("getcurrenttimerphase\r\n", "Running\n"));
    }
  }
  EXPECT_GE(lost, 1U);
  EXPECT_EQ(lost * 22U, timer.lostBytes());
}

TEST(TimerServerTest, itsPortIsFreeAgainAtOnce) {
  for (int i = 0; i < 20; ++i) {
    TimerServer timer;
    timer.reply("q", {TimerReply::close()});
    Client client(stage::kTimerPort);
    ASSERT_TRUE(client.connected());
    client.say("q\n");
    client.hearAll();
  }
  Client nobody(stage::kTimerPort);
  EXPECT_FALSE(nobody.connected());
}

TEST(TimerServerTest, secondTimerFindsThePortTaken) {
  TimerServer first({.port = 0});
  EXPECT_THAT(stage::failureOf([&] { const TimerServer second({.port = first.port()}); }),
              StartsWith("the timer cannot listen on port"));
}

// Race server ------------------------------------------------------------------------------

std::string submission(const stage::Receipt& receipt, const std::string& player = "runner") {
  return "{\"player\":\"" + player + "\"," + receipt.text().substr(1);
}

TEST(OrganiserTest, acceptsAFinishedRun) {
  stage::Organiser organiser;
  const stage::Verdict verdict =
      organiser.answer("POST", "/submit", submission(stage::finishedRun()));
  EXPECT_EQ(200, verdict.status);
  EXPECT_EQ(R"({"accepted":true,"rank":1,"points":100,"token":"kq7-4821"})", verdict.body);
}

TEST(OrganiserTest, ranksByTimeAndKeepsThePlayersBest) {
  stage::Organiser organiser;
  const auto submit = [&](const std::string& player, const std::string& total) {
    stage::Receipt run = stage::finishedRun();
    run.total = total;
    return organiser.answer("POST", "/submit", submission(run, player)).body;
  };
  submit("one", "700");
  EXPECT_THAT(submit("two", "800.5"), HasSubstr(R"("rank":2,"points":95)"));
  EXPECT_THAT(submit("three", "650"), HasSubstr(R"("rank":1,"points":100)"));
  EXPECT_THAT(submit("three", "900"), HasSubstr(R"("rank":1,"points":100)"));
  EXPECT_THAT(submit("two", "600"), HasSubstr(R"("rank":1,"points":100)"));
  EXPECT_EQ(3U, organiser.leaderboard().size());
  EXPECT_EQ("rank\tplayer\ttime\tending\tpoints\n1\ttwo\t10:00.00\tmain\t100\n"
            "2\tthree\t10:50.00\tmain\t95\n3\tone\t11:40.00\tmain\t90\n",
            organiser.answer("GET", "/leaderboard.tsv", "").body);
}

TEST(OrganiserTest, refusesInThePlayersWords) {
  const auto refusal = [](const stage::Rules& rules, const stage::Receipt& run) {
    stage::Organiser organiser(rules);
    const std::string body = organiser.answer("POST", "/submit", submission(run)).body;
    EXPECT_THAT(body, StartsWith(R"({"accepted":false,"error":")"));
    EXPECT_THAT(organiser.leaderboard(), IsEmpty());
    return body;
  };
  const stage::Receipt good = stage::finishedRun();

  stage::Rules rules;
  rules.raceOpen = false;
  EXPECT_THAT(refusal(rules, good), HasSubstr("race is closed"));
  rules = {};
  rules.weekOpen = false;
  EXPECT_THAT(refusal(rules, good), HasSubstr("week window closed"));
  rules = {};
  stage::Receipt run = good;
  run.week = "2026-W46";
  EXPECT_THAT(refusal(rules, run), HasSubstr("week window closed"));
  run = good;
  run.splits.erase(run.splits.begin() + 4, run.splits.end());
  EXPECT_THAT(refusal(rules, run), HasSubstr("splits too few (4 of at least 5)"));
  run = good;
  run.splits.erase(run.splits.begin());
  EXPECT_THAT(refusal(rules, run), HasSubstr("run did not start at Level 0"));
  run = good;
  run.difficulty = "hard";
  EXPECT_THAT(refusal(rules, run), HasSubstr("hard difficulty"));
  run = good;
  run.status = "running";
  EXPECT_THAT(refusal(rules, run), HasSubstr("status is not ending"));
  run = good;
  run.total = "";
  EXPECT_THAT(refusal(rules, run), HasSubstr("total missing"));
  run = good;
  run.ending = "exit";
  EXPECT_THAT(refusal(rules, run), HasSubstr("ending unknown"));
}

TEST(OrganiserTest, ofAMemberThatStandsTwiceTheReceiptsOneCounts) {
  stage::Organiser organiser;
  stage::Receipt run = stage::finishedRun();
  run.difficulty = "easy";
  const std::string body =
      "{\"player\":\"runner\",\"difficulty\":\"hard\"," + run.text().substr(1);
  EXPECT_THAT(organiser.answer("POST", "/submit", body).body, HasSubstr("\"accepted\":true"));
  EXPECT_EQ("easy", organiser.leaderboard().at(0).difficulty);
}

TEST(OrganiserTest, aLateResultGoesToItsOwnWeek) {
  stage::Rules rules;
  rules.lateWeeks = {"2026-W46"};
  stage::Organiser organiser(rules);
  stage::Receipt run = stage::finishedRun();
  run.week = "2026-W46";
  EXPECT_THAT(organiser.answer("POST", "/submit", submission(run)).body,
              HasSubstr("\"accepted\":true,\"rank\":1"));
  EXPECT_THAT(organiser.leaderboard(), IsEmpty());
  rules.week = "2026-W46";
  organiser.setRules(rules);
  EXPECT_EQ(1U, organiser.leaderboard().size());
}

TEST(OrganiserTest, refusesWhatIsNoJson) {
  stage::Organiser organiser;
  for (const std::string body : {"{\"player\":\"a\"b\"}", "{\"player\":\"x\",}", "", "[]",
                                 "{\"player\":\"\xC3\"}"}) {
    const stage::Verdict verdict = organiser.answer("POST", "/submit", body);
    EXPECT_EQ(400, verdict.status) << body;
    EXPECT_THAT(verdict.body, HasSubstr("not valid JSON"));
  }
}

TEST(OrganiserTest, takesClientReports) {
  stage::Organiser organiser;
  EXPECT_EQ(R"({"ok":true})",
            organiser.answer("POST", "/client/log", R"({"player":"a","reason":"b"})").body);
  EXPECT_EQ(422, organiser.answer("POST", "/client/log", R"({"player":"a"})").status);
}

TEST(OrganiserTest, hasEveryWeeklyPath) {
  stage::Organiser organiser;
  EXPECT_EQ(R"({"week":"2026-W47","seed":20261147,"open":true})",
            organiser.answer("GET", "/week/current", "").body);
  for (const char* target :
       {"/leaderboard", "/board-data", "/board-en", "/leaderboard.txt", "/leaderboard.tsv"}) {
    EXPECT_EQ(200, organiser.answer("GET", target, "").status) << target;
  }
  EXPECT_EQ(404, organiser.answer("GET", "/nothing", "").status);
  EXPECT_EQ(404, organiser.answer("GET", "/submit", "").status);
}

TEST(RaceServerTest, recordsRequestsWhole) {
  stage::RaceServer server;
  const std::string body = submission(stage::finishedRun(), "竞速玩家");
  EXPECT_THAT(exchange(server, "POST", "/submit", body), HasSubstr("\"accepted\":true"));
  const std::vector<stage::Request> requests = server.requests();
  ASSERT_EQ(1U, requests.size());
  EXPECT_EQ("POST", requests[0].method);
  EXPECT_EQ("/submit", requests[0].target);
  EXPECT_EQ(body, requests[0].body);
  EXPECT_EQ("application/json", requests[0].header("content-type"));
  EXPECT_EQ(std::to_string(body.size()), requests[0].header("Content-Length"));
  EXPECT_EQ("X-Odd-Name", requests[0].headers.at(2).first);
  EXPECT_EQ("竞速玩家", server.leaderboard().at(0).player);
}

TEST(RaceServerTest, servesSeveralRequestsOnOneConnection) {
  stage::RaceServer server;
  Client client(server.port());
  for (int i = 0; i < 3; ++i) {
    client.say(httpRequest("GET", "/week/current"));
    EXPECT_THAT(client.hear(60), StartsWith("HTTP/1.1 200 OK\r\n"));
  }
  EXPECT_EQ("", client.end());
  EXPECT_EQ(1U, server.connections());
  ASSERT_EQ(3U, server.requests("GET", "/week/current").size());
  EXPECT_EQ(1U, server.requests().back().connection);
}

TEST(RaceServerTest, canCloseAfterEveryAnswer) {
  stage::RaceServer server({.keepAlive = false});
  Client client(server.port());
  client.say(httpRequest("GET", "/week/current"));
  EXPECT_THAT(client.hearAll(), HasSubstr("Connection: close"));
  EXPECT_EQ("closed", client.end());
}

TEST(RaceServerTest, answersFromItsScript) {
  stage::RaceServer server;
  server.answer("GET", "*", stage::Reply::text("<h1>down</h1>", 500));
  server.answerNth("GET", "/leaderboard", 2, stage::Reply::json("", 204));
  EXPECT_THAT(exchange(server, "GET", "/leaderboard"), StartsWith("HTTP/1.1 500"));
  EXPECT_THAT(exchange(server, "GET", "/leaderboard"), StartsWith("HTTP/1.1 204"));
  EXPECT_EQ("<h1>down</h1>", bodyOf(exchange(server, "GET", "/leaderboard")));
  server.clearAnswers();
  EXPECT_THAT(exchange(server, "GET", "/leaderboard"), StartsWith("HTTP/1.1 200"));
}

TEST(RaceServerTest, misbehavesOnRequest) {
  stage::RaceServer server;
  server.answerNth("POST", "/submit", 1, stage::Reply::closeConnection());
  server.answerNth("POST", "/submit", 2, stage::Reply::resetConnection());
  server.answerNth("POST", "/submit", 3, stage::Reply::rawBytes("not HTTP"));
  server.answerNth("POST", "/submit", 4,
                   stage::Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\nhalf"));
  server.answerNth("POST", "/submit", 5, stage::Reply::json("{}").after(300));
  const auto submit = [&](std::string* end) {
    Client client(server.port());
    client.say(httpRequest("POST", "/submit", "{}"));
    const std::string response = client.hear(4096, 1000);
    *end = client.end();
    return response;
  };
  std::string end;
  EXPECT_EQ("", submit(&end));
  EXPECT_EQ("closed", end);
  EXPECT_EQ("", submit(&end));
  EXPECT_NE("", end);  // Wine puts a regular end in front of every reset
  EXPECT_EQ("not HTTP", submit(&end));
  EXPECT_THAT(submit(&end), testing::EndsWith("half"));
  EXPECT_EQ("closed", end);
  const ULONGLONG start = GetTickCount64();
  EXPECT_THAT(exchange(server, "POST", "/submit", "{}"), StartsWith("HTTP/1.1 200"));
  EXPECT_GE(GetTickCount64() - start, 290U);
}

TEST(RaceServerTest, stopsWithConnectionsOpen) {
  auto server = std::make_unique<stage::RaceServer>();
  Client idle(server->port());
  Client used(server->port());
  used.say(httpRequest("GET", "/week/current"));
  EXPECT_NE("", used.hear(60));
  const unsigned short port = server->port();
  const ULONGLONG start = GetTickCount64();
  server->stop();
  EXPECT_LT(GetTickCount64() - start, 1000U);
  Client late(port);
  EXPECT_FALSE(late.connected());
  EXPECT_EQ(1U, server->requests().size());
  server.reset();
  EXPECT_EQ("", used.hear(1, 1000));
  EXPECT_NE("", used.end());
}

TEST(RaceServerTest, nobodyListensAtTheUnreachableUrl) {
  const std::string url = stage::unreachableUrl();
  Client client(static_cast<unsigned short>(std::stoi(url.substr(url.rfind(':') + 1))));
  EXPECT_FALSE(client.connected());
}

// Message boxes ----------------------------------------------------------------------------

struct Shown {
  std::thread thread;
  int button = 0;

  Shown(const wchar_t* text, const wchar_t* caption, UINT style)
      : thread([this, text, caption, style] {
          button = MessageBoxW(nullptr, text, caption, style);
        }) {}
  ~Shown() { thread.join(); }
};

class MessageBoxes : public testing::Test {
 protected:
  stage::Stage machine_{"boxes"};  // for its way with windows
};

TEST_F(MessageBoxes, areRecordedAndClosed) {
  stage::MessageBoxWatcher watcher({.processId = GetCurrentProcessId()});
  {
    const Shown shown(L"没有找到游戏。\n\n第二行", L"KOV 周赛", MB_ICONERROR | MB_TOPMOST);
  }
  {
    const Shown shown(L"提醒", L"KOV 周赛", MB_ICONINFORMATION | MB_TOPMOST);
  }
  {
    const Shown shown(L"plain", L"KOV", MB_SETFOREGROUND);
  }
  const std::vector<stage::SeenBox> boxes = watcher.boxes();
  ASSERT_EQ(3U, boxes.size());
  EXPECT_EQ("KOV 周赛", boxes[0].caption);
  EXPECT_EQ("没有找到游戏。\n\n第二行", boxes[0].text);
  EXPECT_EQ("error", boxes[0].icon);
  // Wine 8 ignores the wish, Wine 10 does not.
  EXPECT_EQ(stage::wineVersion() == 0 || stage::wineVersion() >= 10, boxes[0].topmost);
  EXPECT_FALSE(boxes[0].owned);
  EXPECT_EQ(GetCurrentProcessId(), boxes[0].processId);
  EXPECT_EQ(1U, boxes[0].buttons.size());  // its caption is in the user's language
  EXPECT_EQ("information", boxes[1].icon);
  EXPECT_EQ("none", boxes[2].icon);
  EXPECT_FALSE(boxes[2].topmost);
}

TEST_F(MessageBoxes, tellTheOtherIcons) {
  stage::MessageBoxWatcher watcher({.processId = GetCurrentProcessId()});
  {
    const Shown shown(L"w", L"c", MB_ICONWARNING);
  }
  {
    const Shown shown(L"q", L"c", MB_ICONQUESTION);
  }
  ASSERT_EQ(2U, watcher.boxes().size());
  EXPECT_EQ("warning", watcher.boxes()[0].icon);
  EXPECT_EQ("question", watcher.boxes()[1].icon);
}

TEST_F(MessageBoxes, areReadBeforeTheyAreClosed) {
  stage::MessageBoxWatcher watcher(
      {.processId = GetCurrentProcessId(), .closeAfterMs = 500});
  const ULONGLONG start = GetTickCount64();
  {
    const Shown shown(L"text", L"caption", MB_OK);
  }
  EXPECT_GE(GetTickCount64() - start, 450U);
}

TEST_F(MessageBoxes, stayOpenUntilTold) {
  stage::MessageBoxWatcher watcher({.processId = GetCurrentProcessId(), .close = false});
  const Shown shown(L"text", L"caption", MB_OK);
  ASSERT_TRUE(watcher.waitForBoxes(1));
  Sleep(200);
  EXPECT_EQ(0U, watcher.boxes()[0].openMs);
  watcher.closeAll();
}

TEST_F(MessageBoxes, ofOurOwnAreLeftAloneByDefault) {
  stage::MessageBoxWatcher others;
  stage::MessageBoxWatcher own({.processId = GetCurrentProcessId(), .closeAfterMs = 200});
  {
    const Shown shown(L"text", L"caption", MB_OK);
  }
  EXPECT_EQ(1U, own.boxes().size());
  EXPECT_THAT(others.boxes(), IsEmpty());
}

// Timeline ---------------------------------------------------------------------------------

TEST(TimelineTest, keepsExactTextsAndTheirOrder) {
  const stage::Stage machine("timeline");
  const std::string odd("a\\b\tc\nd\re\0f\xFFg \\n", 17);
  machine.timeline().append("one", "what", odd);
  machine.timeline().append("two", "what");
  machine.timeline().append("one", "other", "x");
  const std::vector<stage::Event> events = machine.timeline().events();
  ASSERT_EQ(3U, events.size());
  EXPECT_EQ(odd, events[0].text);
  EXPECT_EQ("two", events[1].who);
  EXPECT_EQ("", events[1].text);
  EXPECT_LE(events[0].tickMs, events[2].tickMs);
  EXPECT_EQ(2U, machine.timeline().events("one").size());
  EXPECT_EQ("x", machine.timeline().first("one", "other"));
  EXPECT_EQ(std::nullopt, machine.timeline().first("three", "what"));
}

TEST(TimelineTest, losesNothingWhenManyWrite) {
  const stage::Stage machine("crowd");
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([&machine, writer] {
      for (int i = 0; i < 50; ++i) {
        machine.timeline().append(std::to_string(writer), "n", std::to_string(i));
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  for (int writer = 0; writer < 4; ++writer) {
    const std::vector<stage::Event> events = machine.timeline().events(std::to_string(writer));
    ASSERT_EQ(50U, events.size());
    for (std::size_t i = 0; i < events.size(); ++i) EXPECT_EQ(std::to_string(i), events[i].text);
  }
}

// The machine ------------------------------------------------------------------------------

TEST(StageTest, hasFoldersAndLauncherAndNoSteam) {
  std::filesystem::path root;
  {
    const stage::Stage machine("plain");
    root = machine.root();
    EXPECT_TRUE(stage::pathExists(machine.launcher()));
    EXPECT_THAT(machine.dataFiles(), IsEmpty());
    EXPECT_EQ(std::nullopt, stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath"));
    EXPECT_LT(stage::textOf(stage::Stage::gameExeIn(machine.secondLibrary())).size(), 200U);
  }
  EXPECT_FALSE(stage::pathExists(root));
}

TEST(StageTest, registryIsPutBack) {
  stage::RegistryKeeper before;
  before.set("Software\\Valve\\Steam", "SteamPath", "c:/somewhere");
  {
    stage::Stage machine("registry");
    EXPECT_EQ(std::nullopt, stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath"));
    machine.installSteam();
    const std::string path =
        stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath").value_or("");
    EXPECT_THAT(path, testing::EndsWith("/registry/steam"));
    EXPECT_THAT(path, Not(HasSubstr("\\")));
  }
  EXPECT_EQ("c:/somewhere", stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath"));
}

TEST(StageTest, steamStartsTheGameAfterItHasReturned) {
  stage::Stage machine("chain");
  const std::string receipt = stage::finishedRun().text();
  stage::writeFile(machine.data() / "launch.state", "playing");
  stage::GameScript game = machine.playsRun(receipt);
  game.exitCode = 3;
  game.thenWaitMs = 300;
  machine.installGame(game);
  machine.installSteam({.delayMs = 400, .exitCode = 7});
  EXPECT_EQ(7, stage::runAndWait(machine.steamExe(), "-applaunch 1943950"));
  EXPECT_EQ(std::nullopt, machine.timeline().first("game", "start"));
  EXPECT_EQ("\"" + stage::textOf(machine.steamExe()) + "\" -applaunch 1943950",
            machine.timeline().first("steam", "start"));
  EXPECT_NE(0U, stage::waitForProcess("Backrooms-Win64-Shipping.exe"));
  ASSERT_TRUE(machine.timeline().waitFor("game", "exit"));
  EXPECT_TRUE(stage::waitForNoProcess("Backrooms-Win64-Shipping.exe"));
  EXPECT_EQ("3", machine.timeline().first("game", "exit"));
  EXPECT_EQ(receipt, stage::readFile(machine.receipt()));
}

TEST(StageTest, gameWaitsForTheLauncher) {
  stage::Stage machine("watched");
  machine.installGame(machine.playsRun("{}"));
  stage::writeFile(machine.data() / "launch.state", "launching");
  machine.startGame();
  ASSERT_TRUE(machine.timeline().waitFor("game", "start"));
  Sleep(500);
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
  stage::writeFile(machine.data() / "launch.state", "playing");
  EXPECT_TRUE(machine.timeline().waitFor("game", "exit"));
  EXPECT_EQ("{}", stage::readFile(machine.receipt()));
}

TEST(StageTest, steamMayNeverStartTheGame) {
  stage::Stage machine("never");
  machine.installGame();
  machine.installSteam({.startsGame = false});
  EXPECT_EQ(0, stage::runAndWait(machine.steamExe(), "-applaunch 1943950"));
  Sleep(500);
  EXPECT_EQ(std::nullopt, machine.timeline().first("game", "start"));
}

TEST(StageTest, gameMayRestartItself) {
  stage::Stage machine("restart");
  stage::GameScript game;
  game.restartsItself = true;
  machine.installGame(game);
  const std::uint32_t first = machine.startGame();
  ASSERT_TRUE(machine.timeline().waitFor("game", "start", 2));
  ASSERT_TRUE(machine.timeline().waitFor("game", "exit"));
  EXPECT_NE(0U, first);
  EXPECT_EQ(1U, machine.timeline().events("game", "restart").size());
}

TEST(StageTest, gameMayStayUntilEnded) {
  stage::Stage machine("stay");
  stage::GameScript game;
  game.untilEnded = true;
  machine.installGame(game);
  machine.startGame();
  ASSERT_TRUE(machine.timeline().waitFor("game", "start"));
  Sleep(300);
  EXPECT_EQ(std::nullopt, machine.timeline().first("game", "exit"));
  machine.endGame();
  EXPECT_TRUE(machine.timeline().waitFor("game", "exit"));
}

TEST(StageTest, nothingKeepsRunning) {
  {
    stage::Stage machine("leftover");
    stage::GameScript game;
    game.untilEnded = true;
    machine.installGame(game);
    machine.startGame();
    ASSERT_TRUE(machine.timeline().waitFor("game", "start"));
  }
  EXPECT_TRUE(stage::findProcesses("Backrooms-Win64-Shipping.exe").empty());
}

TEST(StageTest, liveSplitListensAndAnswers) {
  stage::Stage machine("timer");
  stage::LiveSplitScript script;
  script.phase = "Running";
  script.currentTime = 12.5;
  script.replies["getfinaltime"] = {"-", "00:00:59"};
  machine.installLiveSplit(script);
  EXPECT_NE(0U, machine.startLiveSplit());
  {
    Client client(stage::kTimerPort);
    EXPECT_EQ("Running\n", client.ask("getcurrenttimerphase\r\n", "Running\n"));
    EXPECT_EQ("-\n", client.ask("getfinaltime\r\n", "-\n"));
    EXPECT_EQ("00:00:59\n", client.ask("getfinaltime\r\n", "00:00:59\n"));
    EXPECT_EQ("00:00:12.5000000\n", client.ask("getcurrenttime\r\n", "00:00:12.5000000\n"));
  }
  EXPECT_EQ("\"" + stage::textOf(machine.liveSplitExe()) + "\" \"" +
                stage::textOf(machine.splits()) + "\"",
            machine.timeline().first("livesplit", "start"));
  machine.endLiveSplit();
  EXPECT_TRUE(stage::findProcesses("LiveSplit.exe").empty());
  EXPECT_EQ("0", machine.timeline().first("livesplit", "exit"));
}

TEST(StageTest, liveSplitMayComeLateOrWithoutServer) {
  stage::Stage machine("late");
  machine.installLiveSplit({.delayMs = 600});
  const ULONGLONG start = GetTickCount64();
  machine.startLiveSplit();
  EXPECT_GE(GetTickCount64() - start, 550U);
  machine.endLiveSplit();
  machine.setLiveSplit({.listens = false});
  machine.startLiveSplit();
  ASSERT_TRUE(machine.timeline().waitFor("livesplit", "start", 2));
  Sleep(200);
  Client client(stage::kTimerPort);
  EXPECT_FALSE(client.connected());
}

TEST(StageTest, cardRecordsAndFollowsTheState) {
  stage::Stage machine("card");
  machine.installCard({.stayMs = 10, .exitCode = 5});
  const std::filesystem::path card = machine.app() / "kov_result.exe";
  const std::filesystem::path state = machine.data() / "upload.state";
  EXPECT_EQ(5, stage::runAndWait(card, "--ok 1 --kind ok --msg \"login code: a b\""));
  EXPECT_EQ("\"" + stage::textOf(card) + "\" --ok 1 --kind ok --msg \"login code: a b\"",
            machine.timeline().first("card", "start"));

  stage::writeFile(state, "uploading");
  std::thread upload([&] {
    EXPECT_TRUE(machine.timeline().waitFor("card", "state"));
    stage::writeFile(state, "done");
  });
  EXPECT_EQ(5, stage::runAndWait(card, "--mode progress --state \"" + stage::textOf(state) + "\""));
  upload.join();
  const std::vector<stage::Event> states = machine.timeline().events("card", "state");
  ASSERT_EQ(2U, states.size());
  EXPECT_EQ("uploading", states[0].text);
  EXPECT_EQ("done", states[1].text);
}

TEST(StageTest, browserOpensWhatTheShellIsAsked) {
  stage::Stage machine("browser");
  machine.installBrowser();
  const wchar_t* const url = L"https://kov-race.example/profile?token=a&b=%20c";
  ShellExecuteW(nullptr, L"open", url, nullptr, nullptr, SW_SHOWNORMAL);
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_THAT(machine.openedUrls(), ElementsAre(stage::toUtf8(url)));
  ShellExecuteA(nullptr, "open", "http://127.0.0.1/x", nullptr, nullptr, SW_SHOWNORMAL);
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open", 2));
  EXPECT_EQ("http://127.0.0.1/x", machine.openedUrls().at(1));
}

// Running a program ------------------------------------------------------------------------

class LauncherRuns : public testing::Test {
 protected:
  LauncherRuns() { stage::Stage::copyStandIn("probe.exe", machine_.launcher()); }
  stage::Stage machine_{"run"};
};

TEST_F(LauncherRuns, giveCommandLineFolderEnvironmentAndOutput) {
  const stage::RunResult run = machine_.runLauncher(
      "report  \"a b\"", {.environment = {{"KOV_PROBE", "值"}}});
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(3U, run.exitCode);
  EXPECT_EQ("\"" + stage::textOf(machine_.launcher()) + "\" report  \"a b\"\r\n" +
                stage::textOf(machine_.app()) + "\r\n值\r\n" + stage::textOf(machine_.local()) +
                "\r\n",
            run.console);
  EXPECT_EQ("trouble\r\n", run.errors);
  EXPECT_EQ("", run.log);
  EXPECT_THAT(run.boxCalls, IsEmpty());
}

TEST_F(LauncherRuns, mayChangeFolderAndTakeVariablesAway) {
  const stage::RunResult run = machine_.runLauncher(
      "report",
      {.currentFolder = machine_.data(), .environment = {{"LOCALAPPDATA", std::nullopt}}});
  EXPECT_THAT(run.console, HasSubstr("\r\n" + stage::textOf(machine_.data()) + "\r\n"));
  EXPECT_THAT(run.console, testing::EndsWith("(unset)\r\n(unset)\r\n"));
}

TEST_F(LauncherRuns, giveInputThenItsEnd) {
  EXPECT_EQ("\r\n", machine_.runLauncher("echo").console);
  const stage::RunResult run = machine_.runLauncher("echo", {.standardInput = "abc\nd"});
  EXPECT_EQ("abc\r\nd", run.console);
  EXPECT_EQ(4U, run.exitCode);
}

TEST_F(LauncherRuns, letThePlayerType) {
  stage::LauncherRun run =
      machine_.startLauncher("echo", {.standardInput = "one", .keepInputOpen = true});
  EXPECT_TRUE(run.waitForConsole("one"));
  EXPECT_TRUE(run.running());
  run.typeInput("two");
  EXPECT_TRUE(run.waitForConsole("onetwo"));
  EXPECT_FALSE(run.waitForConsole("never", 100));
  run.endInput();
  EXPECT_EQ("onetwo", run.wait().console);
}

TEST_F(LauncherRuns, tellAHangAndTheAppendedLog) {
  stage::writeFile(machine_.log(), "earlier\r\n");
  stage::LauncherRun started = machine_.startLauncher("log", {.limitMs = 1500});
  EXPECT_TRUE(started.waitForLog("another 行"));
  const stage::RunResult run = started.wait();
  EXPECT_TRUE(run.hang);
  EXPECT_GE(run.elapsedMs, 1500U);
  EXPECT_EQ("a line\r\nanother 行\r\n", run.log);
  EXPECT_THAT(run.logLines(), ElementsAre("a line", "another 行"));
  EXPECT_TRUE(run.hasLogLine("another 行"));
  EXPECT_FALSE(run.hasLogLine("another"));
  EXPECT_THAT(stage::processesBelow(machine_.root()), IsEmpty());
}

TEST_F(LauncherRuns, tellTheExactBoxCalls) {
  const stage::MessageBoxWatcher watcher;
  const stage::RunResult run = machine_.runLauncher("boxes", {.recordBoxCalls = true});
  EXPECT_EQ(5U, run.exitCode);
  ASSERT_EQ(3U, run.boxCalls.size());
  EXPECT_TRUE(run.boxCalls[0].wide);
  EXPECT_EQ("没有\n\nline", run.boxCalls[0].text);
  EXPECT_EQ("KOV 周赛", run.boxCalls[0].caption);
  EXPECT_EQ(0x40010U, run.boxCalls[0].style);
  EXPECT_FALSE(run.boxCalls[0].owned);
  EXPECT_FALSE(run.boxCalls[1].wide);
  EXPECT_EQ("没 plain", run.boxCalls[1].text);
  EXPECT_EQ("KOV", run.boxCalls[1].caption);
  EXPECT_EQ(0x10000U, run.boxCalls[1].style);
  EXPECT_EQ("third", run.boxCalls[2].text);
  const std::vector<stage::SeenBox> boxes = watcher.boxes();
  ASSERT_EQ(3U, boxes.size());
  EXPECT_EQ("launcher.exe", boxes[0].imageName);
  EXPECT_EQ(run.processId, boxes[0].processId);
  // What the player sees of the narrow box depends on the code page.
  if (stage::ansiCodePage() == 1252) {
    EXPECT_EQ("æ²¡ plain", boxes[1].text);
  }
}

TEST_F(LauncherRuns, refuseAProgramThatIsNone) {
  stage::writeFile(machine_.launcher(), "no program");
  EXPECT_THAT(stage::failureOf([&] { machine_.runLauncher(); }), StartsWith("cannot start "));
}

// Samples ----------------------------------------------------------------------------------

TEST(Samples, receiptsAreJsonInTheModsShape) {
  const nlohmann::json run = nlohmann::json::parse(stage::finishedRun().text());
  EXPECT_EQ(10U, run["splits"].size());
  EXPECT_EQ("Level 0", run["splits"][0]["map"]);
  EXPECT_EQ("ENDING:main", run["splits"][9]["map"]);
  EXPECT_EQ(9, run["splits"][9]["i"]);
  EXPECT_DOUBLE_EQ(754.56, run["total"].get<double>());
  EXPECT_EQ(R"({"week":"w","status":"s","splits":[{"i":0,"map":"Level 0","t":1.5}],"total":1.5})",
            (stage::Receipt{"w", "", "s", {{"Level 0", "1.5"}}, "", "1.5", ""}.text()));
  EXPECT_THAT(stage::unfinishedRun().text(), Not(HasSubstr("ending")));
  EXPECT_EQ(45U, nlohmann::json::parse(stage::runWithSplits(45, "true").text())["splits"].size());
}

TEST(Samples, textsAreComparedWithPatterns) {
  EXPECT_TRUE(stage::isLike("pid 12, not", "pid *, not"));
  EXPECT_TRUE(stage::isLike("", "*"));
  EXPECT_TRUE(stage::isLike("aXbXc", "*X*X*"));
  EXPECT_TRUE(stage::isLike("abc", "abc"));
  EXPECT_FALSE(stage::isLike("abcd", "abc"));
  EXPECT_FALSE(stage::isLike("abc", "abcd"));
  EXPECT_FALSE(stage::isLike("abc", "*d"));
  EXPECT_FALSE(stage::isLike("", "a"));
}

TEST(Samples, steamFilesLookLikeTheRealOnes) {
  EXPECT_EQ("\"LibraryFolders\"\n{\n\t\"TimeNextStatsReport\"\t\t\"1621190000\"\n"
            "\t\"ContentStatsID\"\t\t\"-1234567890123456789\"\n"
            "\t\"1\"\t\t\"D:\\\\SteamLibrary\"\n}\n",
            stage::libraryFoldersVdf({"C:\\Steam", "D:\\SteamLibrary"},
                                     stage::LibraryFileGeneration::before2021));
  EXPECT_THAT(stage::libraryFoldersVdf({"C:\\Steam", "D:\\SteamLibrary"}),
              HasSubstr("\t\"1\"\n\t{\n\t\t\"path\"\t\t\"D:\\\\SteamLibrary\"\n"));
  EXPECT_THAT(stage::loginUsersVdf({{}}, {.crLf = true, .byteOrderMark = true}),
              StartsWith("\xEF\xBB\xBF\"users\"\r\n{\r\n\t\"76561198000000001\"\r\n"));
  stage::SteamAccount newest;
  newest.mostRecent.reset();
  EXPECT_THAT(stage::loginUsersVdf({newest}), Not(HasSubstr("MostRecent")));
}

}  // namespace
