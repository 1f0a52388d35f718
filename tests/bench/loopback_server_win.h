#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// A reading of the machine's fine clock, and what lies between two of them.
using Ticks = std::int64_t;
Ticks ticksNow();
double millisecondsBetween(Ticks start, Ticks end);

/// The smallest race server: it has its answers at hand and notes when the first byte of each
/// request came in. It closes the connection after each answer: on one that has been open for
/// a while, Linux delays its acknowledgement of a request's head by 40 ms, and only then does
/// Wine send the body.
class LoopbackServer {
 public:
  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  [[nodiscard]] unsigned short port() const;
  [[nodiscard]] std::string url() const;  ///< without a slash at the end

  struct Request {
    std::string line;     ///< "POST /submit HTTP/1.1"
    Ticks firstByte = 0;
  };
  /// Every request since the last forget().
  [[nodiscard]] std::vector<Request> requests() const;
  void forget();

  /// The first byte of the first submission; 0 when none comes within the limit.
  [[nodiscard]] Ticks waitForSubmission(unsigned limitMs) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace bench
