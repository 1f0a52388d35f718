// The HTTP client against real servers on the loopback: what goes out, byte for byte, and
// what comes of every kind of answer.

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/race_server.h"
#include "rehearsal/stage/text.h"
#include "server/http.h"
#include "server/weekly_sync.h"

namespace launcher {
namespace {

using stage::RaceServer;
using stage::Reply;
using Headers = std::vector<std::pair<std::string, std::string>>;

/// A plain listener on the loopback that takes what the first client sends in one piece and
/// closes. For the ports and the encryption that the race server does not have.
class Listener {
 public:
  explicit Listener(unsigned short port) {
    WSADATA data = {};
    (void)WSAStartup(MAKEWORD(2, 2), &data);
    socket_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    listening_ =
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::listen(socket_, 5) == 0;
    int size = sizeof address;
    (void)getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    if (listening_) thread_ = std::thread([this] { serve(); });
  }
  ~Listener() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    (void)closesocket(socket_);
    (void)WSACleanup();
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  [[nodiscard]] bool listening() const { return listening_; }
  [[nodiscard]] unsigned short port() const { return port_; }

  /// What the clients sent. Ends the listening.
  std::string received() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    return received_;
  }

 private:
  [[nodiscard]] bool waiting() const {
    fd_set set = {};
    set.fd_count = 1;
    set.fd_array[0] = socket_;
    timeval wait = {0, 20000};
    return select(0, &set, nullptr, nullptr, &wait) > 0;
  }

  void serve() {
    // Whoever waits when the end is asked for is still served.
    for (bool last = false; !last;) {
      last = stopping_;
      if (!waiting()) continue;
      const SOCKET client = accept(socket_, nullptr, nullptr);
      if (client == INVALID_SOCKET) continue;
      char buffer[4096];
      const int got = recv(client, buffer, sizeof buffer, 0);
      if (got > 0) received_.append(buffer, static_cast<std::size_t>(got));
      (void)closesocket(client);
    }
  }

  SOCKET socket_ = INVALID_SOCKET;
  unsigned short port_ = 0;
  bool listening_ = false;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
  std::string received_;
};

/// Every byte value, so that no conversion goes unnoticed.
std::string everyByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

Headers sorted(Headers headers) {
  std::sort(headers.begin(), headers.end());
  return headers;
}

class Http : public ::testing::Test {
 protected:
  /// The host and port of the race server as a request's Host header has them.
  [[nodiscard]] std::string host() const { return server.url().substr(7); }

  /// The body that a GET of /x brings, or "(failed)".
  std::string getX() {
    std::string reply;
    return httpGet(server.url() + "/x", reply) ? reply : "(failed)";
  }

  RaceServer server;
};

// --- what goes out ------------------------------------------------------------------------

TEST_F(Http, getIsOneRequestWithoutBodyAndHeadersOfItsOwn) {
  std::string reply;
  EXPECT_TRUE(httpGet(server.url() + "/week/current", reply));
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.target, "/week/current");
  EXPECT_EQ(request.body, "");
  EXPECT_EQ(sorted(request.headers), (Headers{{"Connection", "Keep-Alive"},
                                              {"Host", host()},
                                              {"User-Agent", "KOV-Race-Launcher/1.0"}}));
}

TEST_F(Http, postIsOneJsonRequestWithTheBodysBytes) {
  server.answer("POST", "/submit", Reply::json("{}"));
  const std::string body = "{\"player\":\"竞速玩家\"," + everyByte() + "}";
  std::string reply;
  EXPECT_TRUE(httpPostJson(server.url() + "/submit", body, reply));
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/submit");
  EXPECT_EQ(request.body, body);
  EXPECT_EQ(sorted(request.headers), (Headers{{"Connection", "Keep-Alive"},
                                              {"Content-Length", std::to_string(body.size())},
                                              {"Content-Type", "application/json"},
                                              {"Host", host()},
                                              {"User-Agent", "KOV-Race-Launcher/1.0"}}));
}

TEST_F(Http, emptyAndLargeBodiesArriveWhole) {
  server.answer("POST", "*", Reply::json("{}"));
  std::string large;
  while (large.size() < 3000000) large += everyByte();
  for (const std::string& body : {std::string(), large}) {
    std::string reply;
    EXPECT_TRUE(httpPostJson(server.url() + "/submit", body, reply));
    EXPECT_TRUE(server.requests().back().body == body);
    EXPECT_EQ(server.requests().back().header("Content-Length"), std::to_string(body.size()));
  }
}

// The address is text of the ANSI code page; what it names travels as UTF-8.
TEST_F(Http, addressIsReadInTheAnsiCodePage) {
  server.answer("GET", "*", Reply::text("ok"));
  std::string reply;
  EXPECT_TRUE(httpGet(server.url() + "/" + stage::toAnsi("é"), reply));
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/%C3%A9");
}

TEST_F(Http, longestPathIs2047Characters) {
  server.answer("GET", "*", Reply::text("ok"));
  std::string reply;
  const std::string longest = "/" + std::string(2046, 'p');
  EXPECT_TRUE(httpGet(server.url() + longest, reply));
  EXPECT_FALSE(httpGet(server.url() + longest + "p", reply));
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, longest);
  EXPECT_EQ(reply, "ok");
}

// --- answers ------------------------------------------------------------------------------

TEST_F(Http, statusIsNeverAskedFor) {
  for (const int status : {200, 404, 500, 503}) {
    server.answer("GET", "/x", Reply::text("status " + std::to_string(status), status));
    EXPECT_EQ(getX(), "status " + std::to_string(status));
    std::string reply;
    server.answer("POST", "/x", Reply::text("<p>error</p>", status));
    EXPECT_TRUE(httpPostJson(server.url() + "/x", "{}", reply));
    EXPECT_EQ(reply, "<p>error</p>");
    server.clearAnswers();
  }
}

TEST_F(Http, replyIsAppendedByteForByte) {
  std::string large;
  while (large.size() < 100000) large += everyByte();
  server.answer("GET", "/x", Reply::text(large));
  std::string reply = "before";
  EXPECT_TRUE(httpGet(server.url() + "/x", reply));
  EXPECT_TRUE(reply == "before" + large);
}

TEST_F(Http, chunkedReplyIsJoined) {
  server.answer("GET", "/x", Reply::rawBytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n"
                                             "\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"));
  EXPECT_EQ(getX(), "abcde");
}

TEST_F(Http, replyWithoutALengthEndsWithItsConnection) {
  server.answer("GET", "/x", Reply::rawBytes("HTTP/1.1 200 OK\r\n\r\nall of it"));
  EXPECT_EQ(getX(), "all of it");
}

// (A reset instead of the close could overtake the bytes before it.)
TEST_F(Http, replyThatBreaksOffKeepsWhatCame) {
  server.answer("GET", "/x",
                Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nthe first part"));
  EXPECT_EQ(getX(), "the first part");
}

TEST_F(Http, redirectOfAGetIsFollowed) {
  Reply redirect = Reply::text("elsewhere", 302);
  redirect.headers = {{"Location", server.url() + "/y"}};
  server.answer("GET", "/x", redirect);
  server.answer("GET", "/y", Reply::text("here"));
  EXPECT_EQ(getX(), "here");
}

TEST_F(Http, callsInARowDoNotDisturbEachOther) {
  server.answer("POST", "*", Reply::json("{}"));
  for (int call = 0; call < 20; ++call) {
    server.answer("GET", "/x", Reply::text(std::to_string(call)));
    ASSERT_EQ(getX(), std::to_string(call));
    std::string reply;
    ASSERT_TRUE(httpPostJson(server.url() + "/y", std::to_string(call), reply));
  }
  EXPECT_EQ(server.requests().size(), 40U);
}

// --- no answer ----------------------------------------------------------------------------

TEST_F(Http, connectionClosedWithoutAnAnswerFails) {
  server.answer("*", "*", Reply::closeConnection());
  std::string reply = "before";
  EXPECT_FALSE(httpGet(server.url() + "/x", reply));
  EXPECT_FALSE(httpPostJson(server.url() + "/x", "{}", reply));
  EXPECT_EQ(reply, "before");
}

TEST_F(Http, connectionResetWithoutAnAnswerFails) {
  server.answer("*", "*", Reply::resetConnection());
  std::string reply = "before";
  EXPECT_FALSE(httpGet(server.url() + "/x", reply));
  EXPECT_FALSE(httpPostJson(server.url() + "/x", "{}", reply));
  EXPECT_EQ(reply, "before");
}

TEST_F(Http, refusedConnectionFails) {
  const std::string nobody = stage::unreachableUrl();
  std::string reply;
  EXPECT_FALSE(httpGet(nobody + "/x", reply));
  EXPECT_FALSE(httpPostJson(nobody + "/x", "{}", reply));
  EXPECT_EQ(reply, "");
}

TEST_F(Http, nameThatNobodyKnowsFails) {
  std::string reply;
  EXPECT_FALSE(httpGet("http://no-such-host.invalid/x", reply));
  EXPECT_EQ(reply, "");
}

TEST_F(Http, addressThatIsNoneFailsWithoutAnyNetwork) {
  const std::string here = host();
  for (const std::string& address :
       {std::string(), std::string("/submit"), here + "/x", "//" + here + "/x",
        "ftp://" + here + "/x", "http:/" + here + "/x",
        "http://" + std::string(256, 'h') + ":1/x"}) {
    std::string reply;
    EXPECT_FALSE(httpGet(address, reply)) << address;
    EXPECT_FALSE(httpPostJson(address, "{}", reply)) << address;
  }
  EXPECT_EQ(server.connections(), 0U);
}

// --- ports and encryption -------------------------------------------------------------------

TEST_F(Http, schemeChoosesThePortWhenTheAddressNamesNone) {
  for (const auto& [scheme, port] : {std::pair{"http", 80}, std::pair{"https", 443}}) {
    Listener listener(static_cast<unsigned short>(port));
    if (!listener.listening()) GTEST_SKIP() << "port " << port << " cannot be had here";
    std::string reply;
    EXPECT_FALSE(httpGet(std::string(scheme) + "://127.0.0.1/x", reply));
    const std::string received = listener.received();
    ASSERT_FALSE(received.empty()) << scheme;
    // A TLS record of the handshake begins with 0x16, a request with its method.
    EXPECT_EQ(received.front(), port == 443 ? '\x16' : 'G') << scheme;
  }
}

TEST_F(Http, secureAddressWithAPortGoesThereEncrypted) {
  Listener listener(0);
  ASSERT_TRUE(listener.listening());
  std::string reply;
  EXPECT_FALSE(httpGet("https://127.0.0.1:" + std::to_string(listener.port()) + "/x", reply));
  const std::string received = listener.received();
  ASSERT_FALSE(received.empty());
  EXPECT_EQ(received.front(), '\x16');
}

// --- fetchToFile ----------------------------------------------------------------------------

class HttpFile : public Http {
 protected:
  HttpFile() { stage::writeFile(file, "cached copy, longer than what comes"); }
  ~HttpFile() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  bool fetchX() const { return fetchToFile(server.url() + "/x", stage::textOf(file)); }

  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "kov-http-test";
  const std::filesystem::path file = folder / "cache.json";
};

TEST_F(HttpFile, fileIsReplacedByTheBody) {
  server.answer("GET", "/x", Reply::text("a\r\nb\n" + everyByte()));
  EXPECT_TRUE(fetchX());
  EXPECT_EQ(stage::readFile(file), "a\r\nb\n" + everyByte());
}

TEST_F(HttpFile, fileIsReplacedByAnErrorPageToo) {
  server.answer("GET", "/x", Reply::text("broken", 500));
  EXPECT_TRUE(fetchX());
  EXPECT_EQ(stage::readFile(file), "broken");
}

TEST_F(HttpFile, emptyBodyEmptiesTheFile) {
  Reply nothing = Reply::text("", 204);
  nothing.contentType.clear();
  server.answer("GET", "/x", nothing);
  EXPECT_TRUE(fetchX());
  EXPECT_EQ(stage::readFile(file), "");
}

TEST_F(HttpFile, bodyThatBreaksOffReplacesTheFileByWhatCame) {
  server.answer("GET", "/x",
                Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\npart"));
  EXPECT_TRUE(fetchX());
  EXPECT_EQ(stage::readFile(file), "part");
}

TEST_F(HttpFile, fileStaysWhenTheExchangeFails) {
  server.answer("GET", "/x", Reply::resetConnection());
  EXPECT_FALSE(fetchX());
  EXPECT_FALSE(fetchToFile(stage::unreachableUrl() + "/x", stage::textOf(file)));
  EXPECT_FALSE(fetchToFile("no address", stage::textOf(file)));
  EXPECT_EQ(stage::readFile(file), "cached copy, longer than what comes");
}

TEST_F(HttpFile, fileThatCannotBeOpenedFailsAfterTheRequest) {
  server.answer("GET", "/x", Reply::text("body"));
  EXPECT_FALSE(fetchToFile(server.url() + "/x", stage::textOf(folder / "none" / "cache.json")));
  EXPECT_FALSE(fetchToFile(server.url() + "/x", stage::textOf(folder)));
  EXPECT_EQ(server.requests().size(), 2U);
  EXPECT_FALSE(stage::pathExists(folder / "none"));
}

}  // namespace
}  // namespace launcher
