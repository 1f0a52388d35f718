// The race server over https: what is trusted, and that nothing is sent to whom is not.

#include <gtest/gtest.h>

#include <windows.h>

#include <wincrypt.h>

#include <map>
#include <memory>
#include <vector>

#include "rehearsal/stage/process.h"
#include "server/http.h"
#include "tests/e2e/full_run.h"
#include "tests/unix_shell.h"

namespace {

using e2e::Lines;

/// The machine's store of authorities. What is changed in it counts once this is gone.
class AuthorityStore {
 public:
  AuthorityStore()
      : store_(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE,
                             L"Root")) {}
  ~AuthorityStore() {
    if (store_ != nullptr) CertCloseStore(store_, 0);
  }
  AuthorityStore(const AuthorityStore&) = delete;
  AuthorityStore& operator=(const AuthorityStore&) = delete;

  [[nodiscard]] bool add(PCCERT_CONTEXT certificate) const {
    return CertAddCertificateContextToStore(store_, certificate, CERT_STORE_ADD_ALWAYS,
                                            nullptr) != FALSE;
  }
  void remove(PCCERT_CONTEXT certificate) const {
    const PCCERT_CONTEXT found = CertFindCertificateInStore(
        store_, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, certificate, nullptr);
    if (found != nullptr) CertDeleteCertificateFromStore(found);
  }

 private:
  HCERTSTORE store_;
};

/// A certificate that this machine trusts as an authority for as long as this lives.
class TrustedAuthority {
 public:
  explicit TrustedAuthority(std::string_view der)
      : certificate_(CertCreateCertificateContext(X509_ASN_ENCODING,
                                                  reinterpret_cast<const BYTE*>(der.data()),
                                                  static_cast<DWORD>(der.size()))),
        trusted_(certificate_ != nullptr && AuthorityStore().add(certificate_)) {}
  ~TrustedAuthority() {
    if (trusted_) AuthorityStore().remove(certificate_);
    if (certificate_ != nullptr) CertFreeCertificateContext(certificate_);
  }
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;

  [[nodiscard]] bool trusted() const { return trusted_; }

 private:
  PCCERT_CONTEXT certificate_;
  bool trusted_;
};

/// Makes two authorities and a certificate for each server, and puts up the servers: each
/// hands what it decrypts on to the plain race server. The authorities sign by RSA: Wine 8 finds
/// one in a hundred ECDSA signatures wrong, those with a number that begins with a zero byte.
constexpr char kPutUp[] = R"(
command -v openssl socat >/dev/null || exit 77
set -e
cat >authority.cnf <<END
[ca]
default_ca = this
[this]
database = index
serial = serial
unique_subject = no
new_certs_dir = .
default_md = sha256
policy = any
x509_extensions = server
[any]
commonName = supplied
[server]
extendedKeyUsage = serverAuth
subjectAltName = DNS:\$ENV::HOST
END
touch index
echo 01 >serial
key() { openssl ecparam -name prime256v1 -genkey -noout -out "$1.key"; }
# authority NAME KEY
authority() {
  cp "$keys/$2.key" "$1.key"
  openssl req -x509 -new -key "$1.key" -subj "/CN=$1" -days 2 -out "$1.pem" \
    -addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign
}
# server NAME HOST AUTHORITY FIRST-DAY LAST-DAY PORT
server() {
  export HOST=$2
  key "$1"
  openssl req -new -key "$1.key" -subj "/CN=$2" -out "$1.csr"
  openssl ca -batch -config authority.cnf -cert "$3.pem" -keyfile "$3.key" -in "$1.csr" \
    -startdate "$4" -enddate "$5" -notext -out "$1.crt"
  cat "$1.key" "$1.crt" >"$1.pem"
  timeout 60 socat "OPENSSL-LISTEN:$6,bind=127.0.0.1,reuseaddr,fork,cert=$1.pem,verify=0" \
    "TCP:127.0.0.1:$plain" >"$1.out" 2>&1 &
  echo $! >>servers
}
authority kov authority
authority other server
openssl x509 -in kov.pem -outform der -out kov.der
server right localhost kov 20200101000000Z 20490101000000Z $right
server named other.test kov 20200101000000Z 20490101000000Z $named
server late localhost kov 20200101000000Z 20200201000000Z $late
server stranger localhost other 20200101000000Z 20490101000000Z $stranger
for port in $right $named $late $stranger; do
  until socat -u OPEN:/dev/null "TCP:127.0.0.1:$port" 2>/dev/null; do
    sleep 0.05
  done
done
)";

/// A race server behind four encrypted ones, which differ in their certificates.
class Https : public e2e::UploadTest {
 protected:
  void SetUp() override {
    if (!unix_shell::available()) GTEST_SKIP() << "the encrypted servers are programs of the Linux below Wine";
    std::filesystem::create_directories(folder_);
    std::string given =
        "keys='" + unix_shell::keysFolder() + "'\nplain=" + std::to_string(server.port()) + "\n";
    for (const char* name : {"right", "named", "late", "stranger"}) {
      given += std::string(name) + "=" + port(name) + "\n";
    }
    const auto made = unix_shell::run(folder_, given + kPutUp);
    ASSERT_TRUE(made);
    ASSERT_NE(made->exitCode, 77) << "openssl or socat is missing; scripts/setup installs both";
    ASSERT_EQ(made->exitCode, 0) << made->output;
    authority_ = std::make_unique<TrustedAuthority>(
        stage::readFile(folder_ / "kov.der").value_or(""));
    ASSERT_TRUE(authority_->trusted());
  }
  ~Https() override {
    if (!unix_shell::available()) return;
    (void)unix_shell::run(folder_, "[ ! -f servers ] || kill $(cat servers)");
  }

  /// The port of one of the four; each free when it was asked for first.
  std::string port(const std::string& name) {
    std::string& port = ports_[name];
    while (port.empty()) {
      port = stage::unreachableUrl().substr(sizeof "http://127.0.0.1:" - 1);
      for (const auto& [other, taken] : ports_) {
        if (other != name && taken == port) port.clear();
      }
    }
    return port;
  }
  std::string url(const std::string& name, const std::string& host = "localhost") {
    return "https://" + host + ":" + port(name);
  }

 private:
  std::filesystem::path folder_ = machine.root() / "tls";
  std::map<std::string, std::string> ports_;
  std::unique_ptr<TrustedAuthority> authority_;
};

TEST_F(Https, onlyTheServerThatWasMeantIsTalkedTo) {
  server.answer("GET", "/week/current", stage::Reply::text("the week\n"));
  std::string reply;
  ASSERT_TRUE(launcher::httpGet(url("right") + "/week/current", reply));
  EXPECT_EQ(reply, "the week\n");
  reply.clear();
  const std::string body("{\"a\":\"\xE7\xAB\x9E\0\r\n\"}", 14);
  ASSERT_TRUE(launcher::httpPostJson(url("right") + "/submit", body, reply));
  EXPECT_EQ(reply, e2e::kAccepted);
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_EQ(server.requests()[1].body, body);

  for (const std::string& base :
       {url("right", "127.0.0.1"), url("named"), url("late"), url("stranger")}) {
    reply.clear();
    EXPECT_FALSE(launcher::httpGet(base + "/week/current", reply)) << base;
    EXPECT_FALSE(launcher::httpPostJson(base + "/submit", body, reply)) << base;
    EXPECT_EQ(reply, "") << base;
  }
  EXPECT_EQ(server.requests().size(), 2U);

  // And the launcher itself. (In Wine 10 each process takes its authorities from the machine
  // below alone, so that another process does not trust this test's.)
  set("server", url("right"));
  machine.writeReceipt(stage::finishedRun().text());
  const stage::RunResult run = upload();
  if (stage::wineVersion() >= 10) {
    EXPECT_EQ(run.exitCode, 2U);
    EXPECT_EQ(submissions(), Lines{body});
    return;
  }
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_TRUE(run.hasLogLine(std::string("upload response: ") + e2e::kAccepted));
  EXPECT_EQ(submissions(),
            (Lines{body, e2e::payload("runner", stage::finishedRun().text())}));
}

}  // namespace
