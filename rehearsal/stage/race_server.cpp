#include "rehearsal/stage/race_server.h"

#include <utility>  // Boost.Beast needs it before its own headers

#include <algorithm>
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

namespace stage {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;

constexpr std::uint64_t kLargestBody = 512ULL << 20;

bool sameName(std::string_view one, std::string_view other) {
  return beast::iequals(beast::string_view(one.data(), one.size()),
                        beast::string_view(other.data(), other.size()));
}

std::string text(beast::string_view view) { return std::string(view.data(), view.size()); }

bool matches(const std::string& pattern, const std::string& value) {
  return pattern == "*" || pattern == value;
}

bool mayHaveBody(int status) { return status >= 200 && status != 204 && status != 304; }

/// Every request and what is to be answered; shared by the server's thread and the test's.
class Desk {
 public:
  Desk(const Rules& rules, Timeline timeline, std::vector<Answer> answers)
      : organiser_(rules), timeline_(std::move(timeline)) {
    for (Answer& answer : answers) {
      scripted_.push_back(
          {std::move(answer.method), std::move(answer.target), 0, std::move(answer.reply)});
    }
  }

  /// Takes a request in and decides the answer.
  Reply take(const Request& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    timeline_.append("server", "request",
                     request.method + " " + request.target +
                         (request.body.empty() ? "" : " " + request.body));
    const Reply reply = decide(request);
    timeline_.append("server", "reply", describe(reply));
    return reply;
  }

  template <class Work>
  auto locked(Work work) const {
    const std::lock_guard lock(mutex_);
    return work();
  }

  struct Scripted {
    std::string method;
    std::string target;
    std::size_t nth = 0;  ///< 0: every one
    Reply reply;
  };

  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::vector<Scripted> scripted_;
  Organiser organiser_;
  Timeline timeline_;
  std::size_t connections_ = 0;

 private:
  Reply decide(const Request& request) {
    const Scripted* every = nullptr;
    for (const Scripted& entry : scripted_) {
      if (!matches(entry.method, request.method) || !matches(entry.target, request.target)) {
        continue;
      }
      if (entry.nth == 0) {
        every = &entry;
      } else if (entry.nth == countOf(entry)) {
        return entry.reply;
      }
    }
    if (every != nullptr) return every->reply;
    const Verdict verdict = organiser_.answer(request.method, request.target, request.body);
    Reply reply;
    reply.status = verdict.status;
    reply.contentType = verdict.contentType;
    reply.body = verdict.body;
    return reply;
  }

  [[nodiscard]] std::size_t countOf(const Scripted& entry) const {
    return static_cast<std::size_t>(
        std::count_if(requests_.begin(), requests_.end(), [&](const Request& request) {
          return matches(entry.method, request.method) && matches(entry.target, request.target);
        }));
  }

  static std::string describe(const Reply& reply) {
    switch (reply.kind) {
      case Reply::Kind::http:
        return std::to_string(reply.status) + (reply.body.empty() ? "" : " " + reply.body);
      case Reply::Kind::raw:
        return "raw " + reply.body;
      case Reply::Kind::close:
        return "close";
      case Reply::Kind::reset:
        return "reset";
    }
    return {};
  }
};

/// One connection: requests are read and answered one after another until the client or the
/// script ends it.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(tcp::socket socket, Desk& desk, unsigned number, bool keepAlive)
      : socket_(std::move(socket)),
        timer_(socket_.get_executor()),
        desk_(desk),
        number_(number),
        keepAlive_(keepAlive) {}

  /// Closes the connection; only when the server's thread has ended.
  void close() { finish(false); }

  void read() {
    parser_.emplace();
    parser_->body_limit(kLargestBody);
    http::async_read(socket_, buffer_, *parser_,
                     [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                       if (!error) self->handle();
                     });
  }

 private:
  void handle() {
    const auto& message = parser_->get();
    Request request;
    request.method = text(message.method_string());
    request.target = text(message.target());
    for (const auto& field : message) {
      request.headers.emplace_back(text(field.name_string()), text(field.value()));
    }
    request.body = message.body();
    request.connection = number_;
    keepOpen_ = keepAlive_ && message.keep_alive();
    reply_ = desk_.take(request);
    if (reply_.delayMs == 0) {
      answer();
      return;
    }
    timer_.expires_after(std::chrono::milliseconds(reply_.delayMs));
    timer_.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->answer();
    });
  }

  void answer() {
    switch (reply_.kind) {
      case Reply::Kind::http:
        answerHttp();
        break;
      case Reply::Kind::raw:
        answerRaw(reply_.body);
        break;
      case Reply::Kind::close:
        finish(false);
        break;
      case Reply::Kind::reset:
        finish(true);
        break;
    }
  }

  void answerRaw(const std::string& bytes) {
    asio::async_write(socket_, asio::buffer(bytes),
                      [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                        if (error || self->nextPiece_ == self->reply_.pieces.size()) {
                          self->finish(self->reply_.resetAfter);
                          return;
                        }
                        self->waitForPiece();
                      });
  }

  void waitForPiece() {
    timer_.expires_after(std::chrono::milliseconds(reply_.everyMs));
    timer_.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->answerRaw(self->reply_.pieces[self->nextPiece_++]);
    });
  }

  void answerHttp() {
    response_ = {};
    response_.result(static_cast<unsigned>(reply_.status));
    if (!reply_.contentType.empty()) response_.set(http::field::content_type, reply_.contentType);
    for (const auto& [name, value] : reply_.headers) response_.set(name, value);
    response_.keep_alive(keepOpen_);
    if (mayHaveBody(reply_.status)) {
      response_.body() = reply_.body;
      response_.prepare_payload();
    }
    http::async_write(socket_, response_,
                      [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                        if (error) return;
                        if (self->keepOpen_) {
                          self->read();
                        } else {
                          self->finish(false);
                        }
                      });
  }

  void finish(bool reset) {
    ErrorCode ignored;
    if (reset) {
      socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    } else {
      socket_.shutdown(tcp::socket::shutdown_both, ignored);
    }
    socket_.close(ignored);
  }

  tcp::socket socket_;
  asio::steady_timer timer_;
  Desk& desk_;
  unsigned number_;
  bool keepAlive_;
  bool keepOpen_ = true;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
  http::response<http::string_body> response_;
  Reply reply_;
  std::size_t nextPiece_ = 0;  ///< of reply_.pieces; a raw answer is the connection's last
};

/// Listens on a port of the loopback (0: any free one). The system may hold a given port for
/// a moment after its last owner has closed it, so that is waited for, up to five seconds.
tcp::acceptor listenOn(asio::io_context& context, unsigned short port) {
  const tcp::endpoint place(asio::ip::address_v4::loopback(), port);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (true) {
    try {
      return {context, place};
    } catch (const boost::system::system_error&) {
      if (port == 0 || std::chrono::steady_clock::now() > end) throw;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace

std::string Request::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (sameName(key, name)) return value;
  }
  return {};
}

Reply Reply::json(std::string body, int status) {
  Reply reply;
  reply.status = status;
  reply.body = std::move(body);
  return reply;
}

Reply Reply::text(std::string body, int status) {
  Reply reply = json(std::move(body), status);
  reply.contentType = "text/plain; charset=utf-8";
  return reply;
}

Reply Reply::rawBytes(std::string bytes, bool resetAfter) {
  Reply reply;
  reply.kind = Kind::raw;
  reply.body = std::move(bytes);
  reply.resetAfter = resetAfter;
  return reply;
}

Reply Reply::closeConnection() {
  Reply reply;
  reply.kind = Kind::close;
  return reply;
}

Reply Reply::resetConnection() {
  Reply reply;
  reply.kind = Kind::reset;
  return reply;
}

Reply Reply::slowly(std::vector<std::string> pieces, unsigned everyMs, bool resetAfter) {
  Reply reply = rawBytes({}, resetAfter);
  if (!pieces.empty()) {
    reply.body = std::move(pieces.front());
    pieces.erase(pieces.begin());
  }
  reply.pieces = std::move(pieces);
  reply.everyMs = everyMs;
  return reply;
}

Reply Reply::after(unsigned milliseconds) && {
  delayMs = milliseconds;
  return std::move(*this);
}

struct RaceServer::Impl {
  explicit Impl(Options options)
      : keepAlive(options.keepAlive),
        desk(options.rules, std::move(options.timeline), std::move(options.answers)),
        acceptor(listenOn(context, options.port)),
        port(acceptor.local_endpoint().port()) {
    accept();
    thread = std::thread([this] { context.run(); });
  }

  ~Impl() { stop(); }

  void accept() {
    accepting = true;
    acceptor.async_accept([this](const ErrorCode& error, tcp::socket socket) {
      accepting = false;
      if (!acceptor.is_open()) context.stop();
      if (error) return;
      const unsigned number = desk.locked([this] {
        return static_cast<unsigned>(++desk.connections_);
      });
      const auto session =
          std::make_shared<Session>(std::move(socket), desk, number, keepAlive);
      std::erase_if(sessions, [](const std::weak_ptr<Session>& old) { return old.expired(); });
      sessions.push_back(session);
      session->read();
      accept();
    });
  }

  void closePort() {
    if (!thread.joinable()) return;
    // Not before the pending accept has ended: until then Wine keeps the port open.
    asio::post(context, [this] {
      ErrorCode ignored;
      acceptor.close(ignored);
      if (!accepting) context.stop();
    });
    thread.join();
  }

  void stop() {
    closePort();
    for (const std::weak_ptr<Session>& open : sessions) {
      if (const std::shared_ptr<Session> session = open.lock()) session->close();
    }
  }

  bool keepAlive;
  bool accepting = false;
  Desk desk;
  asio::io_context context{1};
  tcp::acceptor acceptor;
  unsigned short port;
  std::vector<std::weak_ptr<Session>> sessions;
  std::thread thread;
};

RaceServer::RaceServer() : RaceServer(Options()) {}

RaceServer::RaceServer(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}

RaceServer::~RaceServer() = default;

std::string RaceServer::url() const { return "http://127.0.0.1:" + std::to_string(port()); }

unsigned short RaceServer::port() const { return impl_->port; }

std::vector<Request> RaceServer::requests() const {
  return impl_->desk.locked([this] { return impl_->desk.requests_; });
}

std::vector<Request> RaceServer::requests(std::string_view method,
                                          std::string_view target) const {
  std::vector<Request> found = requests();
  std::erase_if(found, [&](const Request& request) {
    return request.method != method || request.target != target;
  });
  return found;
}

std::size_t RaceServer::connections() const {
  return impl_->desk.locked([this] { return impl_->desk.connections_; });
}

void RaceServer::answer(std::string method, std::string target, Reply reply) {
  answerNth(std::move(method), std::move(target), 0, std::move(reply));
}

void RaceServer::answerNth(std::string method, std::string target, std::size_t nth, Reply reply) {
  impl_->desk.locked([&] {
    impl_->desk.scripted_.push_back({std::move(method), std::move(target), nth, std::move(reply)});
  });
}

void RaceServer::clearAnswers() {
  impl_->desk.locked([this] { impl_->desk.scripted_.clear(); });
}

void RaceServer::setRules(const Rules& rules) {
  impl_->desk.locked([&] { impl_->desk.organiser_.setRules(rules); });
}

std::vector<BoardRow> RaceServer::leaderboard() const {
  return impl_->desk.locked([this] { return impl_->desk.organiser_.leaderboard(); });
}

void RaceServer::closePort() { impl_->closePort(); }

void RaceServer::stop() { impl_->stop(); }

std::string unreachableUrl() {
  asio::io_context context;
  tcp::acceptor acceptor(context, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
  return "http://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
}

}  // namespace stage
