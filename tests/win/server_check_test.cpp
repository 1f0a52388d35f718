// The organiser's check of a race server: answers that no launcher can use, and the trial
// submission.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "rehearsal/package/reply_check.h"
#include "rehearsal/package/server_check.h"
#include "rehearsal/package/trial.h"
#include "rehearsal/stage/race_server.h"
#include "rehearsal/stage/text.h"
#include "tests/complaints.h"

namespace rehearsal {
namespace {

using stage::RaceServer;
using stage::Reply;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Redirects and odd answers ------------------------------------------------------------------

/// A redirect to a place, as a server's answer.
Reply redirectTo(const std::string& place, int status) {
  Reply reply = Reply::text("<html>Moved</html>", status);
  reply.headers.emplace_back("Location", place);
  return reply;
}

TEST(ServerCheckAnswers, aRedirectFailsWithTheAddressToWriteAndEndsTheQuestions) {
  for (const int status : {301, 302, 303, 307, 308}) {
    RaceServer target;
    RaceServer server;
    server.answer("*", "*", redirectTo(target.url() + "/week/current", status));
    const Findings findings = checkServerWithTrial(server.url() + "/");
    EXPECT_THAT(complaints(findings),
                ElementsAre("FAILED  the server redirects /week/current to " + target.url() +
                            "/week/current (status " + std::to_string(status) +
                            "), and no submission survives that: write server=" + target.url()));
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(target.requests().size(), 0U);
  }
}

TEST(ServerCheckAnswers, theAddressAfterARedirectKeepsTheFoldersInFrontOfThePath) {
  const auto behind = [](const std::string& location) {
    return addressAfterRedirect("http://race.test", "/leaderboard", location);
  };
  EXPECT_EQ(behind("https://race.test/leaderboard"), "https://race.test");
  EXPECT_EQ(behind("https://race.test:8443/v2/leaderboard?a=b"), "https://race.test:8443/v2");
  EXPECT_EQ(behind("https://www.race.test/login"), "https://www.race.test");
  EXPECT_EQ(behind("https://www.race.test"), "https://www.race.test");
  EXPECT_EQ(behind("//www.race.test/leaderboard"), "http://www.race.test");
  // On the same server there is no better address.
  EXPECT_EQ(behind("/login"), "");
  EXPECT_EQ(behind("http://race.test/leaderboard/"), "");
  EXPECT_EQ(behind("http://race.test/login"), "");
  EXPECT_EQ(behind(""), "");
}

TEST(ServerCheckAnswers, compressedAnswersAreTold) {
  RaceServer server;
  Reply packed = Reply::text("\x1F\x8B\x08");
  packed.headers.emplace_back("Content-Encoding", "gzip");
  server.answer("GET", "/board-en", packed);
  Reply plain = Reply::text("1 runner");
  plain.headers.emplace_back("Content-Encoding", "identity");
  server.answer("GET", "/board-data", plain);
  EXPECT_THAT(complaints(checkServer(server.url())),
              ElementsAre(StartsWith("FAILED  the server answers /board-en compressed (gzip)")));
}

TEST(ServerCheckAnswers, webPagesAreTold) {
  RaceServer server;
  server.answer("GET", "/week/current", Reply::text("\xEF\xBB\xBF\r\n <!DOCTYPE html><html>"));
  server.answer("GET", "/leaderboard.tsv", Reply::text("<HTML>"));
  server.answer("GET", "/leaderboard.txt", Reply::text("<3 runners"));
  EXPECT_THAT(complaints(checkServer(server.url())),
              ElementsAre(HasSubstr("the server answers /week/current with a web page"),
                          HasSubstr("the server answers /leaderboard.tsv with a web page")));
}

TEST(ServerCheckAnswers, theFirstConnectionThatEndsIsAFailure) {
  RaceServer server;
  server.answer("GET", "/week/current", Reply::closeConnection());
  const Findings findings = checkServer(server.url());
  EXPECT_THAT(complaints(findings),
              ElementsAre("FAILED  the server does not answer /week/current: look at the server"));
  EXPECT_EQ(findings.size(), 6U);
}

// The trial submission -----------------------------------------------------------------------

/// What the check says beyond the weekly files when the server answers a submission so.
std::vector<std::string> trialLines(const Reply& reply) {
  RaceServer server;
  server.answer("POST", "/submit", reply);
  const Findings findings = checkServerWithTrial(server.url());
  EXPECT_EQ(server.requests("POST", "/submit").size(), 1U);
  std::vector<std::string> lines;
  for (std::size_t i = 6; i < findings.size(); ++i) {
    std::string line = asLines({findings[i]});
    line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

TEST(TrialSubmission, isWellFormedMarkedAndAMillionBytesLong) {
  const std::string body = trialSubmission(R"({"week":"2027-W03","seed" : 42,"open":true})");
  const nlohmann::json run = nlohmann::json::parse(body);
  EXPECT_EQ(run["player"], "TRIAL - NOT A RUN");
  EXPECT_FALSE(run.contains("playerId"));
  EXPECT_EQ(run["week"], "2027-W03");
  EXPECT_EQ(run["seed"], 42);
  EXPECT_EQ(run["trial"], true);
  EXPECT_THAT(run["note"], HasSubstr("not a run"));
  EXPECT_EQ(run["status"], "ending");
  EXPECT_EQ(run["splits"].size(), 10U);
  EXPECT_EQ(run["ending"], "main");
  EXPECT_GE(body.size(), kTrialReceiptBytes);
  EXPECT_LT(body.size(), kTrialReceiptBytes + 100);
}

TEST(TrialSubmission, takesASampleWeekWhenTheServerNamesNone) {
  const nlohmann::json run = nlohmann::json::parse(trialSubmission("<html>"));
  EXPECT_EQ(run["week"], "2026-W47");
  EXPECT_EQ(run["seed"], 20261147);
}

TEST(TrialSubmission, isPostedOnceAsALauncherPosts) {
  RaceServer server;
  const Findings findings = checkServerWithTrial(server.url());
  EXPECT_THAT(complaints(findings), ElementsAre());
  const std::vector<stage::Request> sent = server.requests("POST", "/submit");
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].header("Content-Type"), "application/json");
  EXPECT_EQ(sent[0].header("User-Agent"), "KOV-Race-Launcher/1.0");
  EXPECT_TRUE(sent[0].body == trialSubmission(R"({"week":"2026-W47","seed":20261147})"));
  EXPECT_EQ(server.requests().size(), 7U);
}

TEST(TrialSubmission, isNeverPostedByThePlainCheck) {
  RaceServer server;
  (void)checkServer(server.url());
  EXPECT_EQ(server.requests("POST", "*").size(), 0U);
  EXPECT_EQ(server.requests().size(), 6U);
}

TEST(TrialSubmission, isNotPostedToAServerThatCannotBeReached) {
  EXPECT_THAT(complaints(checkServerWithTrial(stage::unreachableUrl())),
              ElementsAre(HasSubstr("cannot be reached from here")));
  EXPECT_THAT(checkServerWithTrial("//"), ElementsAre());
}

TEST(TrialSubmission, acceptanceIsShownWithTheAnswer) {
  EXPECT_THAT(trialLines(Reply::json(R"({"accepted":true,"rank":3,"token":"kq7-4821"})")),
              ElementsAre("OK      the server accepts the trial submission: "
                          R"({"accepted":true,"rank":3,"token":"kq7-4821"})",
                          "OK      the login code has 8 characters"));
  // The status is not looked at, here as in the launcher.
  EXPECT_THAT(trialLines(Reply::json(R"({"accepted": true})", 500)),
              ElementsAre(StartsWith("OK      the server accepts")));
}

TEST(TrialSubmission, acceptanceInAnotherSpellingIsTold) {
  for (const std::string body :
       {R"({"accepted" : true})", R"({"accepted":  true})", R"({"accepted":True})",
        R"({"accepted":"true"})", R"({"accepted":1})", R"({"Accepted":true})", "accepted=yes"}) {
    EXPECT_THAT(trialLines(Reply::json(body)),
                ElementsAre(AllOf(StartsWith("FAILED"), HasSubstr("a spelling that the launcher "
                                                                  "does not know: " + body))));
  }
}

TEST(TrialSubmission, aRefusalIsShownAndNoFailure) {
  for (const std::string body : {R"({"accepted":false,"error":"week window closed"})",
                                 R"({"error":"splits too few"})"}) {
    EXPECT_THAT(
        trialLines(Reply::json(body)),
        ElementsAre(StartsWith("?       the server refuses the trial submission: " + body)));
  }
}

TEST(TrialSubmission, anAnswerThatSaysNeitherIsTold) {
  EXPECT_THAT(trialLines(Reply::json(R"({"ok":true})", 201)),
              ElementsAre(StartsWith("FAILED  the server neither accepts nor refuses the trial "
                                     R"(submission (status 201): {"ok":true}: answer )")));
  EXPECT_THAT(trialLines(Reply::json("")), ElementsAre(HasSubstr("submission: nothing: answer ")));
}

TEST(TrialSubmission, answersThatNoLauncherCanUseAreTold) {
  EXPECT_THAT(trialLines(Reply::text("<html>413</html>", 413)),
              ElementsAre(AllOf(StartsWith("FAILED  the server takes no submission of 1 MB"),
                                HasSubstr("client_max_body_size"))));
  EXPECT_THAT(trialLines(Reply::closeConnection()),
              ElementsAre(StartsWith("FAILED  the server breaks a submission of 1 MB off")));
  EXPECT_THAT(trialLines(Reply::text("<!doctype HTML>", 502)),
              ElementsAre(StartsWith("FAILED  the server answers a submission with a web page "
                                     "(status 502)")));
  EXPECT_THAT(trialLines(redirectTo("https://race.test/submit", 302)),
              ElementsAre(StartsWith("FAILED  the server redirects /submit to "
                                     "https://race.test/submit (status 302)")));
  Reply packed = Reply::json(R"({"accepted":true})");
  packed.headers.emplace_back("Content-Encoding", "br");
  EXPECT_THAT(trialLines(packed),
              ElementsAre(StartsWith("FAILED  the server answers a submission compressed (br)")));
}

TEST(TrialSubmission, loginCodesAreHeldToTheirLimit) {
  const auto codeLine = [](const std::string& token) {
    const std::vector<std::string> lines =
        trialLines(Reply::json("{\"accepted\":true,\"token\":" + token + ",\"x\":\"y\"}"));
    return lines.size() == 2 ? lines[1] : "not two lines";
  };
  EXPECT_EQ(codeLine("\"" + std::string(255, 'a') + "\""),
            "OK      the login code has 255 characters");
  EXPECT_THAT(codeLine("\"" + std::string(256, 'a') + "\""),
              StartsWith("FAILED  the login code has 256 characters"));
  EXPECT_THAT(codeLine("\"a b\""), StartsWith("WARNING the login code has characters besides"));
  EXPECT_THAT(codeLine("null"), StartsWith("FAILED  the answer's \"token\" is no text in quotes"));
}

}  // namespace
}  // namespace rehearsal
