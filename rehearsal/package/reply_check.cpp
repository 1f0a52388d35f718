#include "rehearsal/package/reply_check.h"

#include <algorithm>
#include <array>

#include "rehearsal/package/trial.h"
#include "result/submission.h"
#include "server/server_text.h"
#include "server/weekly_files.h"

namespace rehearsal {

namespace {

using Outcome = WebReply::Outcome;

constexpr std::size_t kShownBytes = 200;
constexpr std::string_view kBlanks = " \t\r\n";

std::string inLowerCase(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return small;
}

bool isRedirect(const WebReply& reply) {
  const std::array<unsigned, 5> statuses = {301, 302, 303, 307, 308};
  return std::find(statuses.begin(), statuses.end(), reply.status) != statuses.end();
}

bool isCompressed(const WebReply& reply) {
  return !reply.encoding.empty() && inLowerCase(reply.encoding) != "identity";
}

/// A web page, by its first bytes: the launcher does not look at the content's type either.
bool isPage(const WebReply& reply) {
  std::string_view body = reply.body;
  if (body.starts_with("\xEF\xBB\xBF")) body.remove_prefix(3);
  body.remove_prefix(std::min(body.find_first_not_of(kBlanks), body.size()));
  const std::string front = inLowerCase(body.substr(0, 14));
  return front.starts_with("<!doctype html") || front.starts_with("<html") ||
         front.starts_with("<head") || front.starts_with("<body");
}

std::string withStatus(const WebReply& reply) {
  return reply.status == 200 ? "" : " (status " + std::to_string(reply.status) + ")";
}

Finding redirected(const std::string& base, const std::string& path, const WebReply& reply) {
  const std::string what = "the server redirects " + path +
                           (reply.location.empty() ? "" : " to " + reply.location) + " (status " +
                           std::to_string(reply.status) + "), and no submission survives that";
  const std::string address = addressAfterRedirect(base, path, reply.location);
  return failed(what, address.empty() ? "let the server answer " + path + " itself"
                                      : "write server=" + address);
}

Finding compressed(const std::string& what, const WebReply& reply) {
  return failed(what + " compressed (" + reply.encoding + ") although nobody asked for that",
                "switch it off there; the launcher takes the bytes as they come");
}

Finding refused(const std::string& base, const WebReply& reply) {
  return failed("no launcher will talk to the server " + base + ": " + reply.problem,
                reply.advice);
}

/// The answer as one short line.
std::string shown(const std::string& body) {
  std::string text = body.substr(0, kShownBytes);
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  if (body.size() > kShownBytes) text += "...";
  return text.empty() ? "nothing" : text;
}

// The trial submission ---------------------------------------------------------------------

/// The value of "accepted" in any spelling, in lower case; "" when there is none.
std::string acceptedValue(const std::string& body) {
  const std::string small = inLowerCase(body);
  const std::size_t key = small.find("accepted");
  if (key == std::string::npos) return {};
  const std::size_t value = small.find_first_not_of(" \t\r\n\"':=", key + 8);
  if (value == std::string::npos) return {};
  return small.substr(value, small.find_first_of(" \t\r\n\"',}<", value) - value);
}

Finding judgeVerdict(const WebReply& reply) {
  const std::string said = shown(reply.body);
  if (launcher::acceptsRun(reply.body)) {
    return passed("the server accepts the trial submission: " + said);
  }
  const std::string value = acceptedValue(reply.body);
  if (value == "true" || value == "1" || value == "yes" || value == "ok") {
    return failed("the server accepts the trial submission in a spelling that the launcher does "
                  "not know: " + said,
                  "write \"accepted\":true, with one blank after the colon at the most");
  }
  if (!value.empty() || reply.body.find("\"error\"") != std::string::npos) {
    return unseen("the server refuses the trial submission: " + said,
                  std::string("how it spells an acceptance was not to be seen; let it take the "
                              "player \"") + kTrialPlayer + "\" for this once");
  }
  return failed("the server neither accepts nor refuses the trial submission" +
                    withStatus(reply) + ": " + said,
                "answer {\"accepted\":true} or {\"accepted\":false,\"error\":\"why\"}");
}

bool isUsualInCodes(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         c == '-' || c == '_';
}

Findings judgeCode(const WebReply& reply) {
  constexpr std::string_view kKey = "\"token\":";
  const std::size_t key = reply.body.find(kKey);
  if (key == std::string::npos) return {};
  const std::size_t value = reply.body.find_first_not_of(kBlanks, key + kKey.size());
  if (value == std::string::npos || reply.body[value] != '"') {
    return {failed("the answer's \"token\" is no text in quotes",
                   "leave the member out; the launcher takes the next quoted text for the code")};
  }
  const std::string code = launcher::replyToken(reply.body).value_or("");
  if (code.size() > kLongestCode) {
    return {failed("the login code has " + std::to_string(code.size()) + " characters",
                   "make it 255 at the most; the next start reads no more back")};
  }
  if (!std::all_of(code.begin(), code.end(), isUsualInCodes)) {
    return {warned("the login code has characters besides letters, digits, - and _",
                   "leave them out; the code goes into a web address as it stands")};
  }
  return {passed("the login code has " + std::to_string(code.size()) + " characters")};
}

}  // namespace

bool endsTheQuestions(const WebReply& reply) {
  return reply.outcome == Outcome::refused ||
         (reply.outcome == Outcome::answered && isRedirect(reply));
}

std::string addressAfterRedirect(const std::string& base, const std::string& path,
                                  const std::string& location) {
  std::string full = location;
  if (full.starts_with("//")) full = base.substr(0, base.find(':') + 1) + full;
  const std::size_t host = full.find("://");
  if (host == std::string::npos) return {};
  full.resize(std::min(full.find_first_of("?#"), full.size()));
  std::string address = full.substr(0, full.find('/', host + 3));
  if (full.ends_with(path)) address = full.substr(0, full.size() - path.size());
  return address == base || (full == base + path + "/") ? std::string() : address;
}

Finding judgeWeekly(const std::string& base, const std::string& path, const WebReply& reply) {
  switch (reply.outcome) {
    case Outcome::answered:
      break;
    case Outcome::refused:
      return refused(base, reply);
    default:
      return failed("the server does not answer " + path,
                    reply.advice.empty() ? "look at the server" : reply.advice);
  }
  if (isRedirect(reply)) return redirected(base, path, reply);
  if (reply.status != 200) {
    return failed("the server answers " + path + " with status " + std::to_string(reply.status),
                  "players would get that page instead of the file");
  }
  if (isCompressed(reply)) return compressed("the server answers " + path, reply);
  if (isPage(reply)) {
    return failed("the server answers " + path + " with a web page",
                  "players would get that page instead of the file");
  }
  if (path == launcher::kWeekFile.serverPath && launcher::scanSeed(reply.body).empty()) {
    return failed("the server's week has no seed that the launcher can read",
                  "write \"seed\": and plain digits, without quotes");
  }
  return passed("the server answers " + path);
}

Findings judgeTrial(const std::string& base, const WebReply& reply) {
  switch (reply.outcome) {
    case Outcome::answered:
      break;
    case Outcome::refused:
      return {refused(base, reply)};
    case Outcome::unreachable:
      return {unseen("the trial submission got no answer", "look at the server, and try again")};
    case Outcome::broken:
      return {failed("the server breaks a submission of 1 MB off",
                     "let it take bodies of 2 MB, and answer them")};
  }
  if (isRedirect(reply)) return {redirected(base, "/submit", reply)};
  if (reply.status == 413) {
    return {failed("the server takes no submission of 1 MB (status 413)",
                   "let it take bodies of 2 MB (nginx: client_max_body_size)")};
  }
  if (isCompressed(reply)) return {compressed("the server answers a submission", reply)};
  if (isPage(reply)) {
    return {failed("the server answers a submission with a web page" + withStatus(reply),
                   "answer with the JSON of the organiser guide")};
  }
  Findings found = {judgeVerdict(reply)};
  append(found, judgeCode(reply));
  return found;
}

}  // namespace rehearsal
