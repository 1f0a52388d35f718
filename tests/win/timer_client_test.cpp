// The client of LiveSplit's command server against listeners on its port: the exact bytes
// of both operations, one receive each, and the server that loses early commands.

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "livesplit/client.h"
#include "rehearsal/stage/timer_server.h"

namespace launcher {
namespace {

using stage::TimerReply;
using stage::TimerServer;
using Texts = std::vector<std::string>;

constexpr double kUntouched = -7.0;

/// The time that livesplitReadTime returns, or kUntouched without one.
double readTime() {
  double seconds = kUntouched;
  const bool found = livesplitReadTime(seconds);
  EXPECT_EQ(found, seconds != kUntouched);
  return seconds;
}

/// A listener on the timer's port that serves one connection at a time by a function of the
/// test's and keeps what it received.
class RawTimer {
 public:
  /// `serve` gets the connected socket and may call take() and give() until it returns.
  template <typename Serve>
  explicit RawTimer(Serve serve) {
    WSADATA data = {};
    (void)WSAStartup(MAKEWORD(2, 2), &data);
    listener_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(stage::kTimerPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener_, 5), 0);
    thread_ = std::thread([this, serve] {
      client_ = accept(listener_, nullptr, nullptr);
      if (client_ == INVALID_SOCKET) return;
      serve(*this);
      while (take()) {
      }
      (void)closesocket(client_);
    });
  }
  ~RawTimer() { (void)end(); }
  RawTimer(const RawTimer&) = delete;
  RawTimer& operator=(const RawTimer&) = delete;

  /// Receives once; false when the client has closed.
  bool take() {
    char buffer[4096];
    const int got = recv(client_, buffer, sizeof buffer, 0);
    if (got > 0) received_.append(buffer, static_cast<std::size_t>(got));
    return got > 0;
  }
  void give(const std::string& bytes) const {
    (void)send(client_, bytes.data(), static_cast<int>(bytes.size()), 0);
  }
  void endOfReplies() const { (void)shutdown(client_, SD_SEND); }

  /// All that the client sent, once it has closed its connection.
  std::string end() {
    if (!thread_.joinable()) return received_;
    thread_.join();
    (void)closesocket(listener_);
    (void)WSACleanup();
    return received_;
  }

 private:
  SOCKET listener_ = INVALID_SOCKET;
  SOCKET client_ = INVALID_SOCKET;
  std::thread thread_;
  std::string received_;
};

/// A timer that answers the three time commands with these lines.
class Times {
 public:
  Times(const char* finalTime, const char* lastSplit, const char* currentTime) {
    timer.reply("getfinaltime", finalTime);
    timer.reply("getlastsplittime", lastSplit);
    timer.reply("getcurrenttime", currentTime);
  }
  TimerServer timer;
};

const Texts kAllCommands = {"getfinaltime", "getlastsplittime", "getcurrenttime"};

// --- one command ----------------------------------------------------------------------------

TEST(TimerCommand, isSentWithItsLineEndAndTheReplyIsTrimmed) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give(" \t Not Running\t \r\n");
  });
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Not Running");
  EXPECT_EQ(timer.end(), "getcurrenttimerphase\r\n");
}

TEST(TimerCommand, replyIsCutAt511Bytes) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give(std::string(600, 'x') + "\n");
  });
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), std::string(511, 'x'));
}

TEST(TimerCommand, blanksOfACutReplyAreTrimmedToo) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give("Ended" + std::string(506, ' ') + "never read\n");
  });
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Ended");
}

TEST(TimerCommand, laterSegmentIsNotWaitedFor) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give("Run");
    Sleep(200);  // the client's one receive is long over
    client.give("ning\n");
  });
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Run");
}

TEST(TimerCommand, bytesOfAReplyAreKept) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give(std::string("a\0b\xFF\n", 5));
  });
  EXPECT_EQ(livesplitCommand("x"), std::string("a\0b\xFF", 4));
}

TEST(TimerCommand, replyOfBlanksIsEmpty) {
  TimerServer timer;
  timer.reply("getcurrenttimerphase", " \t ");
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "");
}

TEST(TimerCommand, isEmptyAtOnceWithoutAServer) {
  const ULONGLONG start = GetTickCount64();
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "");
  EXPECT_LT(GetTickCount64() - start, 5000U);
}

TEST(TimerCommand, isEmptyWhenTheServerHangsUp) {
  TimerServer timer;
  timer.reply("a", {TimerReply::close()});
  timer.reply("b", {TimerReply::reset()});
  EXPECT_EQ(livesplitCommand("a"), "");
  EXPECT_EQ(livesplitCommand("b"), "");
  EXPECT_EQ(timer.commandTexts(), (Texts{"a", "b"}));
  timer.setManner(stage::TimerManner::acceptsAndCloses);
  EXPECT_EQ(livesplitCommand("c"), "");
  EXPECT_EQ(timer.connections(), 3U);
}

TEST(TimerCommand, takesAConnectionOfItsOwnEachTime) {
  TimerServer timer;
  timer.replyEnded(754.6);
  for (int call = 0; call < 3; ++call) EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Ended");
  const std::vector<stage::TimerCommand> commands = timer.commands();
  ASSERT_EQ(commands.size(), 3U);
  for (unsigned call = 0; call < 3; ++call) {
    EXPECT_EQ(commands[call].connection, call + 1);
    EXPECT_EQ(commands[call].text, "getcurrenttimerphase");
  }
}

// --- the time ------------------------------------------------------------------------------

TEST(TimerTime, commandsGoOutOnOneConnectionInTheirOrder) {
  RawTimer timer([](RawTimer& client) {
    for (const char* reply : {"-\n", "0.00\r\n", "0:05.00\r\n"}) {
      if (client.take()) client.give(reply);
    }
  });
  EXPECT_EQ(readTime(), 5.0);
  EXPECT_EQ(timer.end(), "getfinaltime\r\ngetlastsplittime\r\ngetcurrenttime\r\n");
}

TEST(TimerTime, finalTimeEndsTheAsking) {
  Times times("00:12:34.5600000", "00:12:30", "00:20:00");
  EXPECT_DOUBLE_EQ(readTime(), 754.56);
  EXPECT_EQ(times.timer.commandTexts(), Texts{"getfinaltime"});
}

TEST(TimerTime, lastSplitGoesBeforeTheRunningTime) {
  Times times("-", "00:12:30", "00:20:00");
  EXPECT_EQ(readTime(), 750.0);
  EXPECT_EQ(times.timer.commandTexts(), (Texts{"getfinaltime", "getlastsplittime"}));
}

TEST(TimerTime, emptyReplyFallsThrough) {
  Times times("", "", "00:20:00.5000000");
  EXPECT_EQ(readTime(), 1200.5);
  EXPECT_EQ(times.timer.commandTexts(), kAllCommands);
}

TEST(TimerTime, repliesThatAreNoTimeFallThrough) {
  for (const char* reply : {"45.20", "0:00.00", "00:00:00", "1:xx", "1.02:03:04", "-1:30",
                            "\xE2\x88\x92" "0:30.00", "xx:30"}) {
    Times times(reply, "-", "1:02");
    EXPECT_EQ(readTime(), 62.0) << reply;
    EXPECT_EQ(times.timer.commandTexts(), kAllCommands) << reply;
  }
}

TEST(TimerTime, repliesThatAreOne) {
  const struct {
    const char* reply;
    double seconds;
  } cases[] = {
      {"1:02:03.5", 3723.5}, {"12:34.56", 754.56},   {"1:02", 62.0},
      {"1:02:xx", 62.0},     {"-0:30", 30.0},        {"-00:00:09.5", 9.5},
      {"0:05.00 tail", 5.0}, {"25:01:02.25", 90062.25},
  };
  for (const auto& one : cases) {
    Times times(one.reply, "-", "-");
    EXPECT_DOUBLE_EQ(readTime(), one.seconds) << one.reply;
    EXPECT_EQ(times.timer.commandTexts(), Texts{"getfinaltime"});
  }
}

TEST(TimerTime, nothingIsChangedWithoutATime) {
  Times times("-", "-", "00:00:00");
  EXPECT_EQ(readTime(), kUntouched);
  EXPECT_EQ(times.timer.commandTexts(), kAllCommands);
  EXPECT_EQ(times.timer.connections(), 1U);
}

TEST(TimerTime, replyIsCutAt511Bytes) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.give(std::string(505, ' ') + "00:12:34.56\n");
  });
  EXPECT_EQ(readTime(), 12.0);  // "00:12:" is all that was read
}

// The end of the replies is no reason to stop asking: a command without a reply is skipped.
TEST(TimerTime, endOfTheRepliesDoesNotEndTheAsking) {
  RawTimer timer([](RawTimer& client) {
    (void)client.take();
    client.endOfReplies();
  });
  EXPECT_EQ(readTime(), kUntouched);
  EXPECT_EQ(timer.end(), "getfinaltime\r\ngetlastsplittime\r\ngetcurrenttime\r\n");
}

TEST(TimerTime, isNoneWithoutAServer) { EXPECT_EQ(readTime(), kUntouched); }

TEST(TimerTime, isNoneWhenTheServerHangsUp) {
  TimerServer::Options options;
  options.manner = stage::TimerManner::acceptsAndCloses;
  TimerServer timer(options);
  EXPECT_EQ(readTime(), kUntouched);
  EXPECT_EQ(timer.connections(), 1U);
}

// --- the real timer ---------------------------------------------------------------------------

class TimerGenerations : public ::testing::TestWithParam<stage::TimerGeneration> {
 protected:
  TimerGenerations() : timer(options()) {
    stage::TimerSimulation::Setup setup;
    setup.generation = GetParam();
    setup.segments = 2;
    setup.clock = [] { return now * stage::kTicksPerSecond; };
    now = 0;
    timer.simulate(stage::TimerSimulation(setup));
  }
  static TimerServer::Options options() {
    TimerServer::Options given;
    given.generation = GetParam();
    return given;
  }

  /// Sends a command that the timer does not answer, and a read command after it, so that
  /// it has been obeyed when this returns.
  static void control(const std::string& command) {
    (void)livesplitCommand(command + "\r\ngetcurrenttimerphase");
  }

  static inline std::atomic<stage::Ticks> now = 0;
  TimerServer timer;
};

TEST_P(TimerGenerations, finishedRunIsRead) {
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "NotRunning");
  // The older generation is silent on the last split until there is one: a client waits.
  if (GetParam() == stage::TimerGeneration::current) {
    EXPECT_EQ(readTime(), kUntouched);
  }
  control("starttimer");
  now = 3723;
  control("split");
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Running");
  EXPECT_EQ(readTime(), 3723.0);
  now = 3800;
  control("split");
  EXPECT_EQ(livesplitCommand("getcurrenttimerphase"), "Ended");
  EXPECT_EQ(readTime(), 3800.0);
}

std::string generationName(const ::testing::TestParamInfo<stage::TimerGeneration>& generation) {
  return generation.param == stage::TimerGeneration::current ? "current" : "component";
}

INSTANTIATE_TEST_SUITE_P(Of, TimerGenerations,
                         ::testing::Values(stage::TimerGeneration::current,
                                           stage::TimerGeneration::component),
                         generationName);

// --- the server that loses early commands -----------------------------------------------------

// A client that sends at once loses its command and then waits for ever.
TEST(TimerLoss, twoHundredConnectionsLoseNothing) {
  constexpr int kClients = 8;
  constexpr int kRounds = 25;
  TimerServer::Options options;
  options.manner = stage::TimerManner::dropsFirst20Ms;
  TimerServer timer(options);
  timer.replyEnded(754.5);

  std::vector<std::future<int>> clients;
  for (int client = 0; client < kClients; ++client) {
    clients.push_back(std::async(std::launch::async, [client] {
      int answered = 0;
      for (int round = 0; round < kRounds; ++round) {
        double seconds = 0.0;
        const bool good = client % 2 == 0 ? livesplitCommand("getcurrenttimerphase") == "Ended"
                                          : livesplitReadTime(seconds) && seconds == 754.5;
        if (good) ++answered;
      }
      return answered;
    }));
  }
  bool hang = false;
  for (std::future<int>& client : clients) {
    hang = hang || client.wait_for(std::chrono::seconds(30)) == std::future_status::timeout;
  }
  if (hang) timer.stop();  // lets go of the clients that wait
  EXPECT_FALSE(hang);
  for (std::future<int>& client : clients) EXPECT_EQ(client.get(), kRounds);
  EXPECT_EQ(timer.connections(), static_cast<std::size_t>(kClients * kRounds));
  EXPECT_EQ(timer.lostBytes(), 0U);
}

}  // namespace
}  // namespace launcher
