// HTTP as the built launcher speaks it: the request on the wire, and every kind of answer.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

using stage::Reply;
using Headers = std::vector<std::pair<std::string, std::string>>;

class LauncherHttp : public UploadTest {
 protected:
  LauncherHttp() { machine.writeReceipt(kReceipt); }

  stage::RunResult uploadAnsweredBy(const Reply& reply) {
    server.clearAnswers();
    server.answer("POST", "/submit", reply);
    return upload();
  }

  static constexpr char kReceipt[] =
      "{\"map\":\"ENDING:main\",\"t\":9.5,\"difficulty\":null,\"level\":\"层\"}";
};

const Lines kUnreachable = {"upload failed (server unreachable), saved to pending queue"};

TEST_F(LauncherHttp, requestHasItsHeadersAndNoOthers) {
  (void)upload();
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  Headers headers = request.headers;
  std::sort(headers.begin(), headers.end());
  const std::string body = payload("runner", kReceipt);
  EXPECT_EQ(request.body, body);
  EXPECT_EQ(headers, (Headers{{"Connection", "Keep-Alive"},
                              {"Content-Length", std::to_string(body.size())},
                              {"Content-Type", "application/json"},
                              {"Host", server.url().substr(7)},
                              {"User-Agent", "KOV-Race-Launcher/1.0"}}));
}

TEST_F(LauncherHttp, errorPageThatAcceptsIsAccepted) {
  const std::string page = "<p>500</p> \"accepted\":true";
  const stage::RunResult run = uploadAnsweredBy(Reply::text(page, 500));
  EXPECT_EQ(run.logLines(), submissionLog({"upload response: " + page}, true));
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
}

TEST_F(LauncherHttp, emptyAnswerIsAnAnswer) {
  Reply nothing = Reply::text("", 204);
  nothing.contentType.clear();
  const stage::RunResult run = uploadAnsweredBy(nothing);
  EXPECT_EQ(run.logLines(), submissionLog({"upload response: "}, false));
}

TEST_F(LauncherHttp, answerThatBreaksOffCountsAsFarAsItCame) {
  const stage::RunResult run = uploadAnsweredBy(Reply::rawBytes(
      "HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n{\"accepted\":true,\"ra"));
  EXPECT_EQ(run.logLines(), submissionLog({"upload response: {\"accepted\":true,\"ra"}, true));
}

TEST_F(LauncherHttp, answerThatIsNoHttpIsNone) {
  const stage::RunResult run =
      uploadAnsweredBy(Reply::rawBytes("{\"accepted\":true} is no HTTP at all\r\n\r\n"));
  EXPECT_EQ(run.logLines(), submissionLog(kUnreachable, false));
}

TEST_F(LauncherHttp, serverWithoutASchemeIsUnreachableWithoutANetwork) {
  set("server", server.url().substr(7));
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), submissionLog(kUnreachable, false));
  EXPECT_EQ(server.connections(), 0U);
}

TEST_F(LauncherHttp, pathOfTheServerIsReadInTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  set("server", server.url() + "/" + stage::toAnsi("é"));
  (void)upload();
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/%C3%A9/submit");
}

using LauncherHttpCp936 = LauncherHttp;

TEST_F(LauncherHttpCp936, pathOfTheServerIsReadInTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  set("server", server.url() + "/" + stage::toAnsi("赛"));
  (void)upload();
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/%E8%B5%9B/submit");
}

using LauncherHttpLong = LauncherHttp;

// The platform's own time-outs are the only ones.
TEST_F(LauncherHttpLong, answerAfterTwentySecondsStillCounts) {
  const stage::RunResult run = uploadAnsweredBy(Reply::json(kAccepted).after(20000));
  EXPECT_EQ(run.logLines(),
            submissionLog({std::string("upload response: ") + kAccepted}, true));
  EXPECT_GE(run.elapsedMs, 20000U);
}

}  // namespace
}  // namespace e2e
