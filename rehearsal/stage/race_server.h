#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/stage/organiser.h"
#include "rehearsal/stage/timeline.h"

namespace stage {

/// One request as the race server received it, whole.
struct Request {
  std::string method;  ///< "GET", "POST"
  std::string target;  ///< "/submit"; exactly as it stood in the request line
  /// Every header in the order received, names as the client wrote them.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;        ///< exact bytes
  unsigned connection = 0;  ///< 1 for the first TCP connection, ...

  /// Value of the first header of that name (without regard to case); empty when absent.
  [[nodiscard]] std::string header(std::string_view name) const;
};

/// What the race server does instead of its own answer.
struct Reply {
  enum class Kind {
    http,   ///< status, headers and body, with a Content-Length; no body with 204 and 304
    raw,    ///< `body` goes out byte for byte, then the connection is closed
    close,  ///< the connection is closed without an answer
    /// The connection is reset without an answer. Wine always sends the regular end (FIN)
    /// in front of the RST, so that there the client may see an ordinary close.
    reset,
  };
  Kind kind = Kind::http;
  int status = 200;
  std::string contentType = "application/json";
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};
  unsigned delayMs = 0;      ///< waited before anything is sent
  bool resetAfter = false;   ///< with `raw`: reset instead of close after the bytes
  /// With `raw`: these follow the body, each `everyMs` after what went before.
  std::vector<std::string> pieces = {};
  unsigned everyMs = 0;

  static Reply json(std::string body, int status = 200);
  static Reply text(std::string body, int status = 200);
  static Reply rawBytes(std::string bytes, bool resetAfter = false);
  static Reply closeConnection();
  static Reply resetConnection();
  Reply after(unsigned milliseconds) &&;
  /// Raw bytes that come in pieces, the first at once and the others this far apart.
  static Reply slowly(std::vector<std::string> pieces, unsigned everyMs, bool resetAfter = false);
};

/// A scripted answer: every request of this method and target gets this reply.
struct Answer {
  std::string method;  ///< "*": any
  std::string target;  ///< "*": any
  Reply reply = {};
};

/// The race server of the stage: HTTP on 127.0.0.1, in a thread of its own. Without any
/// script it answers as an organiser's server does (organiser.h): the weekly paths, /submit,
/// /client/log, 404 for the rest. It keeps connections open as long as the client does and
/// serves any number of requests on each.
///
/// With a timeline it writes "server request" ("POST /submit {...}": method, target, and the
/// body when there is one) when a request has arrived whole, and "server reply" ("200 {...}",
/// "close", "reset", "raw ...") just before it answers.
class RaceServer {
 public:
  struct Options {
    unsigned short port = 0;  ///< 0: any free one
    Rules rules = {};         ///< what the organiser accepts
    Timeline timeline = {};
    bool keepAlive = true;    ///< false: close after every answer
    /// As answer() sets them, in force from the first connection on: for a server that
    /// somebody may already be asking when it comes up.
    std::vector<Answer> answers = {};
  };

  RaceServer();
  explicit RaceServer(Options options);
  ~RaceServer();  ///< stops at once, also with connections open
  RaceServer(const RaceServer&) = delete;
  RaceServer& operator=(const RaceServer&) = delete;

  /// The `server` setting for this server: "http://127.0.0.1:PORT", no trailing slash.
  [[nodiscard]] std::string url() const;
  [[nodiscard]] unsigned short port() const;

  /// Every request so far, in the order of arrival.
  [[nodiscard]] std::vector<Request> requests() const;
  /// The requests of one method and target.
  [[nodiscard]] std::vector<Request> requests(std::string_view method,
                                              std::string_view target) const;
  [[nodiscard]] std::size_t connections() const;

  /// Answers every request of this method and target in this way from now on.
  /// `method` or `target` may be "*".
  void answer(std::string method, std::string target, Reply reply);
  /// Answers the nth request (1 = first) of this method and target in this way; it goes
  /// before answer() and before the organiser.
  void answerNth(std::string method, std::string target, std::size_t nth, Reply reply);
  /// Back to the organiser's own answers.
  void clearAnswers();

  /// Changes what the organiser accepts from now on; the leaderboard stays.
  void setRules(const Rules& rules);
  /// The leaderboard of the current week, best first.
  [[nodiscard]] std::vector<BoardRow> leaderboard() const;

  /// Stops listening: from then on connecting is refused. What is connected stays so and gets no
  /// answer any more.
  void closePort();
  /// Stops listening, and closes every connection.
  /// Called by the destructor too.
  void stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// A URL of the loopback on which nothing listens ("http://127.0.0.1:PORT").
std::string unreachableUrl();

}  // namespace stage
