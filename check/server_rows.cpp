#include "check/server_rows.h"

#include "result/flat_json.h"
#include "server/weekly_files.h"

namespace launcher::check {
namespace {

constexpr std::int64_t kClockToleranceSeconds = 120;

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::initializer_list<std::string_view> values = {}) {
  Finding finding = filledRow(Stage::server, state, what, todo, language, values);
  finding.question = Question::server;
  return finding;
}

constexpr Wording kTellOrganiser = {"告诉主办方。", "Tell the organiser."};

Wording failureReason(ServerFailure failure) {
  switch (failure) {
    case ServerFailure::badAddress:
      return {"server= 不是一个能用的网址：{1}", "server= is no address that can be used: {1}"};
    case ServerFailure::nameUnknown:
      return {"找不到服务器 {1} 的名字，或者没有网络。",
              "The server's name {1} is not known, or there is no network."};
    case ServerFailure::noConnection:
      return {"连不上服务器 {1}。", "The server {1} does not take the connection."};
    case ServerFailure::timedOut:
      return {"服务器 {1} 没有在规定的时间内回答。", "The server {1} did not answer in time."};
    case ServerFailure::certificate:
      return {"服务器 {1} 的证书没有通过 Windows 的检查。",
              "Windows does not accept the certificate of the server {1}."};
    case ServerFailure::none:
    case ServerFailure::other: break;
  }
  return {"问不到服务器 {1}（错误 {2}）。", "The server {1} cannot be asked (error {2})."};
}

Wording failureAdvice(ServerFailure failure) {
  switch (failure) {
    case ServerFailure::badAddress: return {"见“设置”。", "See Settings."};
    case ServerFailure::certificate:
      return {"先核对这台电脑的日期和时间，再问主办方。",
              "Look at this computer's date and time first, then ask the organiser."};
    default: break;
  }
  return {"查网络。跑完的成绩会排队，下次打开启动器时补传。",
          "Look at the network. A finished run is queued and sent at the next start."};
}

std::string minutesApart(std::int64_t seconds) {
  return std::to_string((seconds < 0 ? -seconds : seconds) / 60);
}

void addClockRow(const ServerFacts& facts, Language language, Findings& rows) {
  if (!facts.serverTime) return;
  const std::int64_t ahead = facts.ownTime - *facts.serverTime;
  if (ahead <= kClockToleranceSeconds && ahead >= -kClockToleranceSeconds) return;
  rows.push_back(row(State::worthKnowing,
                     ahead > 0 ? Wording{"这台电脑的时钟比服务器快 {1} 分钟。",
                                         "This computer's clock is {1} minute(s) ahead of the "
                                         "server's."}
                               : Wording{"这台电脑的时钟比服务器慢 {1} 分钟。",
                                         "This computer's clock is {1} minute(s) behind the "
                                         "server's."},
                     {"在 Windows 的“日期和时间”里点“立即同步”。",
                      "Use \"Sync now\" in Windows' date and time settings."},
                     language, {minutesApart(ahead)}));
}

Finding weekRow(const ServerFacts& facts, Language language) {
  const std::string seed = scanSeed(facts.week);
  const std::string week = quotedValueAfter(facts.week, "\"week\":").value_or("");
  if (seed.empty()) {
    return row(State::bad,
               {"服务器有回答，但里面没有这一周的种子，游戏会用旧的。",
                "The server answers, but without this week's seed; the game would use an old one."},
               kTellOrganiser, language);
  }
  if (findText(facts.week, "\"open\":false", 0) != npos) {
    return row(State::bad,
               {"服务器说这一周（{1}）的比赛没有开放。",
                "The server says that the race of this week ({1}) is not open."},
               kTellOrganiser, language, {week});
  }
  return row(State::good,
             {"比赛服务器有回答：{1}，种子 {2}。", "The race server answers: {1}, seed {2}."},
             kNothingToDo, language, {week, seed});
}

Finding answerRow(const ServerFacts& facts, Language language) {
  constexpr int kFirstRedirect = 300;
  constexpr int kLastRedirect = 399;
  constexpr int kOk = 200;
  if (facts.status >= kFirstRedirect && facts.status <= kLastRedirect) {
    return row(State::bad,
               {"服务器 {1} 会转到别的网址（{2}），这样成绩传不到。",
                "The server {1} redirects to another address ({2}); no submission arrives that "
                "way."},
               {"主办方要把最后的网址写进 server=。",
                "The organiser has to put the final address into server=."},
               language, {facts.server, facts.location});
  }
  if (facts.status != 0 && facts.status != kOk) {
    return row(State::bad,
               {"服务器 {1} 用错误页回答（{2}）。",
                "The server {1} answers with an error page ({2})."},
               kTellOrganiser, language, {facts.server, std::to_string(facts.status)});
  }
  return weekRow(facts, language);
}

}  // namespace

Findings serverRows(const ServerFacts& facts, Language language) {
  if (!facts.isSet) {
    return {row(State::bad,
                {"没有设置比赛服务器，什么都不会上传。",
                 "No race server is set: nothing is uploaded."},
                {"见“设置”。", "See Settings."}, language)};
  }
  if (!facts.reached) {
    return {row(State::bad, failureReason(facts.failure), failureAdvice(facts.failure), language,
                {facts.server, std::to_string(facts.error)})};
  }
  Findings rows = {answerRow(facts, language)};
  addClockRow(facts, language, rows);
  return rows;
}

}  // namespace launcher::check
