// The organiser's check of a race server: answers that no launcher can use, certificates and
// encryption, and the trial submission.

#include <winsock2.h>
#include <windows.h>

#include <wincrypt.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "rehearsal/package/reply_check.h"
#include "rehearsal/package/server_check.h"
#include "rehearsal/package/trial.h"
#include "rehearsal/stage/race_server.h"
#include "rehearsal/stage/text.h"
#include "tests/unix_shell.h"

namespace rehearsal {
namespace {

namespace fs = std::filesystem;
using stage::RaceServer;
using stage::Reply;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// "FAILED  what: todo" of every finding that is not "OK".
std::vector<std::string> complaints(const Findings& findings) {
  std::vector<std::string> lines;
  for (const Finding& finding : findings) {
    if (finding.state == Finding::State::ok) continue;
    std::string line = asLines({finding});
    line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

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

// Certificates and encryption ----------------------------------------------------------------

/// Makes an authority of its own and, signed by it, one certificate as asked for; then answers
/// the weekly paths over TLS. Arguments: the certificate's name, its first and last second, the
/// signer ("authority" or "itself"), s_server's options, the port.
constexpr char kServe[] = R"(command -v openssl >/dev/null || exit 77
name=$1 from=$2 to=$3 signer=$4 options=$5 port=$6
key="-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
openssl req -x509 $key -days 2 -subj '/CN=KOV throw-away authority' \
  -keyout authority.key -out authority.pem || exit 1
openssl req $key -subj "/CN=$name" -keyout server.key -out server.csr || exit 1
mkdir -p issued && : >issued/index && echo 01 >issued/serial
cat >ca.conf <<END
[ca]
default_ca = here
[here]
new_certs_dir = issued
database = issued/index
serial = issued/serial
default_md = sha256
policy = any
x509_extensions = server
[any]
commonName = supplied
[server]
subjectAltName = DNS:$name
extendedKeyUsage = serverAuth
END
with="-cert authority.pem -keyfile authority.key"
[ "$signer" = authority ] || with="-selfsign -keyfile server.key"
openssl ca -batch -config ca.conf -in server.csr -out server.pem -notext $with \
  -startdate "$from" -enddate "$to" || exit 1
openssl x509 -in authority.pem -outform DER -out authority.der || exit 1
mkdir -p week
answer='HTTP/1.0 200 OK\r\nContent-Length: 17\r\nConnection: close\r\n\r\n{"seed":20261147}'
for path in week/current leaderboard board-data board-en leaderboard.txt leaderboard.tsv; do
  printf "$answer" >"$path"
done
timeout 60 openssl s_server -accept "127.0.0.1:$port" -HTTP -state $options \
  -key server.key -cert server.pem >server.out 2>&1 &
echo $! >server.pid
for try in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
  grep -q ACCEPT server.out && exit 0
  sleep 0.1
done
exit 1)";

struct TlsSetup {
  std::string name = "localhost";
  std::string from = "20200101000000Z";
  std::string to = "20991231000000Z";
  std::string signer = "authority";
  std::string options = {};
};

/// A server over TLS whose authority this Wine trusts; skipped where it cannot be put up.
class ServerCheckTls : public ::testing::Test {
 protected:
  ServerCheckTls() : folder_(fs::temp_directory_path() / "kov-tls-check") {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    fs::create_directories(folder_);
  }
  ~ServerCheckTls() override {
    (void)unix_shell::run(folder_, "kill $(cat server.pid) 2>/dev/null");
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  /// The lines of the check that are not "OK".
  void check(const TlsSetup& setup, std::vector<std::string>& lines) {
    if (!unix_shell::available()) GTEST_SKIP() << "the encrypted server runs below Wine only";
    const std::string port = stage::unreachableUrl().substr(sizeof "http://127.0.0.1:" - 1);
    const auto made = unix_shell::run(
        folder_, "set -- '" + setup.name + "' " + setup.from + " " + setup.to + " " +
                     setup.signer + " '" + setup.options + "' " + port + "\n" + kServe);
    ASSERT_TRUE(made);
    if (made->exitCode == 77) GTEST_SKIP() << "openssl is not installed on the machine below";
    ASSERT_EQ(made->exitCode, 0) << made->output;
    trustAuthority();
    findings = checkServer("https://localhost:" + port);
    lines = complaints(findings);
  }

  Findings findings;

 private:
  void trustAuthority() const {
    const std::string bytes = stage::readFile(folder_ / "authority.der").value_or("");
    const HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(CertAddEncodedCertificateToStore(
        store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
        static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr));
    CertCloseStore(store, 0);
  }

  fs::path folder_;
};

TEST_F(ServerCheckTls, aTrustedCertificateIsFine) {
  std::vector<std::string> lines;
  check({}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre());
  EXPECT_EQ(findings.size(), 6U);
}

TEST_F(ServerCheckTls, aCertificateThatNobodySignedFails) {
  std::vector<std::string> lines;
  check({.signer = "itself"}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith("FAILED  no launcher will talk to the server "),
                                       HasSubstr("its certificate is not trusted: "))));
}

TEST_F(ServerCheckTls, anExpiredCertificateFails) {
  std::vector<std::string> lines;
  check({.to = "20200201000000Z"}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith("FAILED"), HasSubstr("has expired"))));
}

TEST_F(ServerCheckTls, aCertificateForAnotherNameFails) {
  std::vector<std::string> lines;
  check({.name = "race.test"}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith("FAILED"), HasSubstr("is for another name"))));
}

// (Wine does not ask who signed one that has expired.)
TEST_F(ServerCheckTls, everythingThatIsWrongWithACertificateIsTold) {
  std::vector<std::string> lines;
  check({.name = "race.test", .to = "20200201000000Z"}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre(HasSubstr(": its certificate has expired or is not valid yet, and "
                                           "its certificate is for another name: renew it")));
}

TEST_F(ServerCheckTls, aServerWithTls13AloneFails) {
  std::vector<std::string> lines;
  check({.options = "-tls1_3"}, lines);
  if (IsSkipped()) return;
  EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith("FAILED"), HasSubstr("TLS 1.2"))));
}

TEST_F(ServerCheckTls, plainHttpOnThatPortFails) {
  RaceServer server;
  const Findings found = checkServer("https" + server.url().substr(4));
  EXPECT_THAT(complaints(found), ElementsAre(AllOf(StartsWith("FAILED"), HasSubstr("TLS 1.2"))));
  EXPECT_EQ(server.requests().size(), 0U);
}

}  // namespace
}  // namespace rehearsal
