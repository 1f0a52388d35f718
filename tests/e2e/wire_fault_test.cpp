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
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

using stage::Reply;

constexpr char kUnreachable[] = "upload failed (server unreachable), saved to pending queue";

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
const std::string kRefusal = "{\"accepted\":false,\"error\":\"race is closed\"}";

/// An answer that breaks off within its first 8,192 bytes. Windows' read then fails as a whole, so
/// that a verdict in it is lost too; below Wine what had arrived counts.
Fault brokenOff(const char* name, Reply reply, std::string arrived, bool accepts = false) {
  if (!stage::runsUnderWine()) return {name, std::move(reply), ""};
  return {name, std::move(reply), std::move(arrived), accepts};
}

/// The faults that every kind of run is put to.
std::vector<Fault> commonFaults() {
  return {
      {"closed", Reply::closeConnection(), std::nullopt},
      {"reset", Reply::resetConnection(), std::nullopt},
      {"notHttp", raw("SSH-2.0-OpenSSH_9.2\r\n"), std::nullopt},
      brokenOff("cutBeforeItsVerdict", raw(withLength(40, "{\"accepted\":")), "{\"accepted\":"),
      brokenOff("brokenChunk",
                raw(inChunks("7\r\n{\"accep\r\nzz\r\nted\":true}\r\n0\r\n\r\n")), "{\"accep"),
      {"emptyBody", Reply::text(""), ""},
      {"unauthorized", Reply::text("who are you", 401), "who are you"},
      {"serverError", Reply::text("<h1>500</h1>", 500), "<h1>500</h1>"},
  };
}

std::vector<Fault> uploadFaults() {
  std::vector<Fault> all = commonFaults();
  const std::vector<Fault> more = {
      {"closedWithinTheStatusLine", raw("HTTP/1."), std::nullopt},
      {"tlsAlert", raw(std::string("\x15\x03\x01\x00\x02\x02\x46", 7)), std::nullopt},
      {"closedBehindTheHeaders", raw(withLength(25, "")), ""},
      {"noContent", withoutBody(204), ""},
      {"notFound", Reply::text("<h1>404</h1>", 404), "<h1>404</h1>"},
      {"refusalOf403", Reply::json(kRefusal, 403), kRefusal},
      {"byteEvery200Ms",
       Reply::slowly({withLength(5, ""), "s", "l", "o", "w", "!"}, 200), "slow!"},
      {"headersOf64Kilobytes",
       withHeader(withHeader(Reply::json(kRefusal), "X-One", std::string(32000, 'h')), "X-Two",
                  std::string(32000, 'h')),
       kRefusal},
      // The verdict counts wherever it stands: the status, the rest of the body and what lies
      // between do not.
      {"verdictWithAnErrorStatus", Reply::json(kYes, 500), kYes, true},
      brokenOff("verdictInACutBody", raw(withLength(60, kYes)), kYes, true),
      brokenOff("verdictInABrokenChunk", raw(inChunks("1a\r\n" + kYes + "\r\nzz\r\n")), kYes, true),
      {"verdictBehindANul", Reply::json(std::string("{\"a\":\"\0\",", 9) + kYes.substr(1)),
       "{\"a\":\"", true},
  };
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

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
            uploadLog({kNoProbe, kNoPhase,
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       kReceiptTime, "difficulty from game (receipt): normal",
                       fault.logged ? "upload response: " + *fault.logged : kUnreachable},
                      fault.accepted));
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
class WireFaultRun : public FullRunTest, public ::testing::WithParamInterface<Fault> {
 protected:
  WireFaultRun() {
    stage::writeFile(machine.data() / "pending" / kOldEntry, kOld);
    machine.writeReceipt(receipt_);
  }

  [[nodiscard]] Lines queue() const {
    Lines texts;
    for (const std::string& name : stage::listFolder(machine.data() / "pending")) {
      texts.push_back(stage::readFile(machine.data() / "pending" / name).value_or("(none)"));
    }
    return texts;
  }
  [[nodiscard]] Lines logOf(const Fault& fault) const {
    const Lines weekly = fault.logged ? weeklyUpdated({}) : weeklyUnreachable();
    return wholeLog(
        {.weekly = weekly,
         .flush = {"pending flushed: 0"},
         .receipt = archived(kFinishedSummary),
         .upload = {kNoTimer, kNoPhase,
                    "ending inferred from splits: main (map=ENDING:main t=754.56)", kReceiptTime,
                    "difficulty from game (receipt): normal",
                    fault.logged ? "upload response: " + *fault.logged : kUnreachable},
         .result = {"stage: upload failed, saving pending",
                    "pending saved: " + stage::textOf(machine.data()) +
                        "\\pending\\p_YYYYMMDD_hhmmss.json",
                    "stage: upload done (ok=0)", "result card: kind=fail ok=0"}});
  }

  static constexpr char kOldEntry[] = "p_20261114_210000.json";
  const std::string kOld = "{\"status\":\"ending\",\"from\":\"last week\"}";
  const std::string receipt_ = stage::finishedRun().text();
};

TEST_P(WireFaultRun, losesNoRunAndDeliversBothLater) {
  const Fault& fault = GetParam();
  stage::RaceServer broken;
  broken.answer("*", "*", fault.reply);
  set("server", broken.url());
  EXPECT_EQ(maskedLog(play()), logOf(fault));
  EXPECT_EQ(broken.requests().size(), 8U);
  EXPECT_EQ(queue(), (Lines{kOld, receipt_}));
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);
  EXPECT_EQ(stage::listFolder(machine.data() / "receipts").size(), 1U);
  for (const char* name : {"week.json", "board.tsv"}) {
    EXPECT_EQ(machine.dataFile(name).has_value(), fault.logged.has_value()) << name;
  }

  // The next start, with a server that is well again and a game that leaves nothing new.
  std::filesystem::remove(machine.receipt());
  stage::RaceServer well;
  well.answer("POST", "/submit", Reply::json(kAccepted));
  set("server", well.url());
  const stage::RunResult next = play();
  EXPECT_TRUE(next.hasLogLine("pending flushed: 2"));
  const std::string members = "{\"player\":\"runner\",\"difficulty\":\"normal\",";
  EXPECT_EQ(bodies(well, "/submit"),
            (Lines{members + kOld.substr(1), members + receipt_.substr(1)}));
  EXPECT_EQ(queue(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(Each, WireFaultRun, ::testing::ValuesIn(commonFaults()),
                         [](const auto& each) { return std::string(each.param.name); });

/// What a server sends that leads every request back to itself.
class WireFaultLoop : public WireFaultRun {};

TEST_F(WireFaultLoop, ofRedirectsIsLikeNoServer) {
  stage::RaceServer broken;
  const Reply round = Reply::text("round", 307);
  broken.answer("POST", "*", withHeader(round, "Location", broken.url() + "/submit"));
  broken.answer("GET", "*", withHeader(round, "Location", broken.url() + "/week/current"));
  set("server", broken.url());
  EXPECT_EQ(maskedLog(play()), logOf({"", round, std::nullopt}));
  EXPECT_EQ(queue(), (Lines{kOld, receipt_}));
}

TEST_F(WireFaultLoop, serverThatGoesAwayDuringTheGameLosesNothing) {
  stage::RaceServer server;
  server.answer("GET", "*", Reply::text("x"));
  server.answer("POST", "*", Reply::json(kRefusal));
  set("server", server.url());
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  server.stop();
  const Lines log = maskedLog(finish(run));
  EXPECT_EQ(log, [&] {
    Lines expected = logOf({"", {}, std::nullopt});
    const Lines unreachable = weeklyUnreachable();
    const auto at = std::search(expected.begin(), expected.end(), unreachable.begin(),
                                unreachable.end());
    const Lines updated = weeklyUpdated({});
    std::copy(updated.begin(), updated.end(), at);
    return expected;
  }());
  EXPECT_EQ(queue(), (Lines{kOld, receipt_}));
}

}  // namespace
}  // namespace e2e
