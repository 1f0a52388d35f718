// The launcher against a race server that misbehaves: whatever comes back, the launcher goes on
// to its end, and a run that was not accepted in so many words is still there afterwards.

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

using stage::Reply;

/// One way in which every request is answered.
struct Fault {
  const char* name;
  Reply reply;
  std::optional<std::string> logged;  ///< of the reply; nothing: there was none
  bool accepted = false;
};

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

Reply raw(std::string bytes) { return Reply::rawBytes(std::move(bytes)); }

Reply withHeader(Reply reply, std::string name, std::string value) {
  reply.headers.emplace_back(std::move(name), std::move(value));
  return reply;
}

Reply withoutBody(int status) {
  Reply reply = Reply::text("", status);
  reply.contentType.clear();
  return reply;
}

// These say that the connection ends: a client that did not know could send its next request
// into the end.
constexpr char kHead[] = "HTTP/1.1 200 OK\r\nConnection: close\r\n";

std::string withLength(std::size_t bytes, const std::string& body) {
  return kHead + ("Content-Length: " + std::to_string(bytes)) + "\r\n\r\n" + body;
}

std::string inChunks(const std::string& body) {
  return std::string(kHead) + "Transfer-Encoding: chunked\r\n\r\n" + body;
}

const std::string kYes = "{\"accepted\":true,\"rank\":3}";
/// An answer that breaks off within its first 8,192 bytes. Windows' read then fails as a whole, so
/// that a verdict in it is lost too; below Wine what had arrived counts.
Fault brokenOff(const char* name, Reply reply, std::string arrived, bool accepts = false) {
  if (!stage::runsUnderWine()) return {name, std::move(reply), ""};
  return {name, std::move(reply), std::move(arrived), accepts};
}

/// One of each kind; the client alone meets them all: tests/win/wire_fault_test.cpp.
std::vector<Fault> uploadFaults() {
  return {
      {"closed", Reply::closeConnection(), std::nullopt},
      {"reset", Reply::resetConnection(), std::nullopt},
      {"notHttp", raw("SSH-2.0-OpenSSH_9.2\r\n"), std::nullopt},
      {"tlsAlert", raw(std::string("\x15\x03\x01\x00\x02\x02\x46", 7)), std::nullopt},
      brokenOff("cutBeforeItsVerdict", raw(withLength(40, "{\"accepted\":")), "{\"accepted\":"),
      brokenOff("verdictInACutBody", raw(withLength(60, kYes)), kYes, true),
      brokenOff("verdictInABrokenChunk", raw(inChunks("1a\r\n" + kYes + "\r\nzz\r\n")), kYes, true),
      {"noContent", withoutBody(204), ""},
      // The verdict counts wherever it stands: the status and the rest of the body do not.
      {"verdictWithAnErrorStatus", Reply::json(kYes, 500), kYes, true},
      {"byteEvery200Ms", Reply::slowly({withLength(5, ""), "s", "l", "o", "w", "!"}, 200), "slow!"},
      {"headersOf64Kilobytes",
       withHeader(withHeader(Reply::json(kRefusal), "X-One", std::string(32000, 'h')), "X-Two",
                  std::string(32000, 'h')),
       kRefusal},
      {"verdictAfterANul", Reply::json(std::string("{\"a\":\"\0\",", 9) + kYes.substr(1)),
       "{\"a\":\"", true},
  };
}

/// The upload's lines when no answer came.
Lines unanswered() { return joined({judged(), {kUnreachable}}); }

// --- the run is sent again by hand ----------------------------------------------------------

class WireFaultUpload : public UploadTest, public ::testing::WithParamInterface<Fault> {};

TEST_P(WireFaultUpload, keepsTheRunUnlessItIsAccepted) {
  const Fault& fault = GetParam();
  server.clearAnswers();
  server.answer("*", "*", fault.reply);
  const std::string receipt = stage::finishedRun().text();
  machine.writeReceipt(receipt);
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, fault.accepted ? 0U : 2U);
  EXPECT_EQ(run.logLines(),
            uploadLog(fault.logged ? judged(*fault.logged) : unanswered(), fault.accepted));
  EXPECT_EQ(submissions(), Lines{payload("runner", receipt)});
  EXPECT_EQ(stage::readFile(machine.receipt()),
            fault.accepted ? std::nullopt : std::optional(receipt));
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(Each, WireFaultUpload, ::testing::ValuesIn(uploadFaults()),
                         [](const auto& each) { return std::string(each.param.name); });

class WireFaultReply : public UploadTest {};

// A reply of 50 MB is logged as one line, in the file and on the console.
TEST_F(WireFaultReply, of50MegabytesIsLoggedWhole) {
  const std::string reply = kRefusal + std::string(50 << 20, 'x');
  server.answer("POST", "/submit", Reply::json(reply));
  machine.writeReceipt(stage::finishedRun().text());
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 2U);
  const std::string line = "\r\nupload response: " + reply + "\r\n";
  EXPECT_NE(run.log.find(line), std::string::npos);
  EXPECT_NE(run.console.find(line), std::string::npos);
  EXPECT_TRUE(stage::pathExists(machine.receipt()));
}

// --- a whole run ----------------------------------------------------------------------------

/// A machine with a run of the last time in its queue, whose game leaves a finished one.
class WireFaultRun : public FullRunTest {
 protected:
  WireFaultRun() {
    stage::writeFile(machine.data() / "pending" / kOldEntry, kOld);
    machine.writeReceipt(receipt_);
  }

  [[nodiscard]] Lines queue() const { return textsIn(machine.data() / "pending"); }
  /// The whole log of a run that no reply helped; nothing: there was none.
  [[nodiscard]] Lines logOf(const std::optional<std::string>& reply) const {
    return wholeLog({.weekly = reply ? weeklyUpdated({}) : weeklyUnreachable(),
                     .flush = {"pending flushed: 0"},
                     .receipt = archived(kFinishedSummary),
                     .upload = reply ? judged(*reply) : unanswered(),
                     .result = queued()});
  }
  /// A run against this server, and the next one against one that is well again.
  void expectNothingLost(stage::RaceServer& broken, const std::optional<std::string>& reply) {
    set("server", broken.url());
    EXPECT_EQ(maskedLog(play()), logOf(reply));
    EXPECT_EQ(queue(), (Lines{kOld, receipt_}));
    EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);
    EXPECT_EQ(stage::listFolder(machine.data() / "receipts").size(), 1U);
    for (const char* name : {"week.json", "board.tsv"}) {
      EXPECT_EQ(machine.dataFile(name).has_value(), reply.has_value()) << name;
    }
    // The next start, with a game that leaves nothing new.
    std::filesystem::remove(machine.receipt());
    withServer();
    EXPECT_TRUE(play().hasLogLine("pending flushed: 2"));
    const std::string members = "{\"player\":\"runner\",\"difficulty\":\"normal\",";
    EXPECT_EQ(submissions(), (Lines{members + kOld.substr(1), members + receipt_.substr(1)}));
    EXPECT_EQ(queue(), Lines{});
  }

  static constexpr char kOldEntry[] = "p_20261114_210000.json";
  const std::string kOld = "{\"status\":\"ending\",\"from\":\"last week\"}";
  const std::string receipt_ = stage::finishedRun().text();
};

TEST_F(WireFaultRun, aServerThatResetsEachConnectionLosesNothing) {
  stage::RaceServer broken;
  broken.answer("*", "*", Reply::resetConnection());
  expectNothingLost(broken, std::nullopt);
  EXPECT_EQ(broken.requests().size(), 8U);
}

TEST_F(WireFaultRun, anErrorPageForEverythingLosesNothing) {
  stage::RaceServer broken;
  broken.answer("*", "*", Reply::text("<h1>500</h1>", 500));
  expectNothingLost(broken, "<h1>500</h1>");
}

// What leads every request back to itself is like no server.
TEST_F(WireFaultRun, aLoopOfRedirectsLosesNothing) {
  stage::RaceServer broken;
  const Reply round = Reply::text("round", 307);
  broken.answer("POST", "*", withHeader(round, "Location", broken.url() + "/submit"));
  broken.answer("GET", "*", withHeader(round, "Location", broken.url() + "/week/current"));
  expectNothingLost(broken, std::nullopt);
}

// --- the request ----------------------------------------------------------------------------

class WireRequest : public UploadTest {
 protected:
  WireRequest() { machine.writeReceipt(kReceipt); }

  static constexpr char kReceipt[] =
      "{\"map\":\"ENDING:main\",\"t\":9.5,\"difficulty\":null,\"level\":\"层\"}";
};

TEST_F(WireRequest, hasItsHeadersAndNoOthers) {
  (void)upload();
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  auto headers = request.headers;
  std::sort(headers.begin(), headers.end());
  const std::string body = payload("runner", kReceipt);
  EXPECT_EQ(request.body, body);
  EXPECT_EQ(headers, (decltype(headers){{"Connection", "Keep-Alive"},
                                        {"Content-Length", std::to_string(body.size())},
                                        {"Content-Type", "application/json"},
                                        {"Host", server.url().substr(7)},
                                        {"User-Agent", "KOV-Race-Launcher/1.0"}}));
}

TEST_F(WireRequest, toAServerWithoutASchemeFailsWithoutANetwork) {
  set("server", server.url().substr(7));
  EXPECT_TRUE(upload().hasLogLine(kUnreachable));
  EXPECT_EQ(server.connections(), 0U);
}

using WireRequestCp936 = WireRequest;

TEST_F(WireRequestCp936, hasItsPathReadInTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  set("server", server.url() + "/" + stage::toAnsi("赛"));
  (void)upload();
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/%E8%B5%9B/submit");
}

using WireRequestLong = WireRequest;

// The platform's own time-outs are the only ones.
TEST_F(WireRequestLong, answerAfterTwentySecondsStillCounts) {
  server.clearAnswers();
  server.answer("POST", "/submit", Reply::json(kAccepted).after(20000));
  const stage::RunResult run = upload();
  EXPECT_TRUE(run.hasLogLine(std::string("upload response: ") + kAccepted));
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_GE(run.elapsedMs, 20000U);
}

}  // namespace
}  // namespace e2e
