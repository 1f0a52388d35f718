// The organiser's check of a race server: certificates and encryption. Each test is a process of
// its own, because Wine reads the trusted authorities once in a process.

#include <winsock2.h>
#include <windows.h>

#include <wincrypt.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "rehearsal/package/server_check.h"
#include "rehearsal/stage/race_server.h"
#include "tests/complaints.h"
#include "tests/unix_shell.h"

namespace rehearsal {
namespace {

namespace fs = std::filesystem;
using stage::RaceServer;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Makes an authority of its own and, signed by it, one certificate as asked for; then answers
/// the weekly paths over TLS. Arguments: the keys' folder, the certificate's name, its first and
/// last second, the signer ("authority" or "itself"), s_server's options, the port. Signed by RSA:
/// Wine 8 finds one in a hundred ECDSA signatures wrong, those with a number that begins with a
/// zero byte.
constexpr char kServe[] = R"(command -v openssl >/dev/null || exit 77
keys=$1 name=$2 from=$3 to=$4 signer=$5 options=$6 port=$7
openssl req -x509 -key "$keys/authority.key" -days 2 -subj '/CN=KOV throw-away authority' \
  -out authority.pem || exit 1
openssl req -new -key "$keys/server.key" -subj "/CN=$name" -out server.csr || exit 1
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
key=$keys/authority.key with='-cert authority.pem'
[ "$signer" = authority ] || key=$keys/server.key with=-selfsign
openssl ca -batch -config ca.conf -in server.csr -out server.pem -notext $with \
  -keyfile "$key" -startdate "$from" -enddate "$to" || exit 1
openssl x509 -in authority.pem -outform DER -out authority.der || exit 1
mkdir -p week
answer='HTTP/1.0 200 OK\r\nContent-Length: 17\r\nConnection: close\r\n\r\n{"seed":20261147}'
for path in week/current leaderboard board-data board-en leaderboard.txt leaderboard.tsv; do
  printf "$answer" >"$path"
done
timeout 60 openssl s_server -accept "127.0.0.1:$port" -HTTP -state $options \
  -key "$keys/server.key" -cert server.pem >server.out 2>&1 &
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

/// A server over TLS whose authority this Wine trusts; skipped on Windows itself.
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
    const auto made =
        unix_shell::run(folder_, "set -- '" + unix_shell::keysFolder() + "' '" + setup.name + "' " +
                                     setup.from + " " + setup.to + " " + setup.signer + " '" +
                                     setup.options + "' " + port + "\n" + kServe);
    ASSERT_TRUE(made);
    ASSERT_NE(made->exitCode, 77) << "openssl is missing; scripts/setup installs it";
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
