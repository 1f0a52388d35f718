#include "rehearsal/stage/organiser.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace stage {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFirstPlacePoints = 100;
constexpr int kPointsPerPlace = 5;

Verdict jsonVerdict(const Json& json, int status = 200) {
  return {status, "application/json", json.dump()};
}

Verdict refusal(const std::string& error, int status = 200) {
  return jsonVerdict({{"accepted", false}, {"error", error}}, status);
}

std::string textMember(const Json& object, const char* name) {
  const auto member = object.find(name);
  return member != object.end() && member->is_string() ? member->get<std::string>()
                                                       : std::string();
}

bool isOneOf(const std::string& word, const std::vector<std::string>& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// The submission's own splits; anything but a list counts as none.
std::vector<std::string> splitMaps(const Json& submission) {
  std::vector<std::string> maps;
  const auto splits = submission.find("splits");
  if (splits == submission.end() || !splits->is_array()) return maps;
  for (const Json& split : *splits) maps.push_back(textMember(split, "map"));
  return maps;
}

std::string formatTotal(double seconds) {
  const int minutes = static_cast<int>(seconds / 60);
  char text[64];
  std::snprintf(text, sizeof text, "%d:%05.2f", minutes, seconds - minutes * 60.0);
  return text;
}

}  // namespace

Organiser::Organiser(Rules rules) : rules_(std::move(rules)) {}

Verdict Organiser::answer(std::string_view method, std::string_view target,
                          std::string_view body) {
  if (method == "POST" && target == "/submit") return submit(body);
  if (method == "POST" && target == "/client/log") return clientLog(body);
  if (method == "GET") {
    if (target == "/week/current") {
      return jsonVerdict({{"week", rules_.week},
                          {"seed", rules_.seed},
                          {"open", rules_.raceOpen && rules_.weekOpen}});
    }
    if (target == "/leaderboard") return {200, "application/json", boardJson()};
    if (target == "/board-data") return {200, "text/plain; charset=utf-8", boardText('|', false)};
    if (target == "/board-en") return {200, "text/plain; charset=utf-8", boardText(' ', true)};
    if (target == "/leaderboard.txt") {
      return {200, "text/plain; charset=utf-8", boardText(' ', false)};
    }
    if (target == "/leaderboard.tsv") {
      return {200, "text/tab-separated-values; charset=utf-8", boardText('\t', true)};
    }
  }
  return jsonVerdict({{"error", "not found"}}, 404);
}

Verdict Organiser::submit(std::string_view body) {
  if (!rules_.raceOpen) return refusal("race is closed");
  if (!rules_.weekOpen) return refusal("week window closed");
  // Of a member that stands twice this parser keeps the last value.
  const Json run = Json::parse(body.begin(), body.end(), nullptr, false);
  if (!run.is_object()) return refusal("not valid JSON", 400);

  BoardRow row;
  row.player = textMember(run, "player");
  row.playerId = textMember(run, "playerId");
  row.ending = textMember(run, "ending");
  row.difficulty = textMember(run, "difficulty");
  if (row.player.empty()) return refusal("player missing", 422);
  if (textMember(run, "status") != "ending") return refusal("status is not ending", 422);
  const auto total = run.find("total");
  if (total == run.end() || !total->is_number()) return refusal("total missing", 422);
  row.total = total->get<double>();
  if (!isOneOf(row.ending, {"main", "arcade", "true"})) return refusal("ending unknown", 422);
  std::string week = textMember(run, "week");
  if (week.empty()) week = rules_.week;
  if (week != rules_.week && !isOneOf(week, rules_.lateWeeks)) return refusal("week window closed");

  const std::vector<std::string> maps = splitMaps(run);
  if (maps.size() < rules_.minimumSplits) {
    return refusal("splits too few (" + std::to_string(maps.size()) + " of at least " +
                   std::to_string(rules_.minimumSplits) + ")");
  }
  if (maps.front() != rules_.firstMap) return refusal("run did not start at " + rules_.firstMap);
  if (!isOneOf(row.difficulty, rules_.difficulties)) {
    return refusal("hard difficulty is not part of the race");
  }

  const auto samePlayer = [&](const Entry& entry) {
    return entry.week == week && entry.row.playerId == row.playerId &&
           (!row.playerId.empty() || entry.row.player == row.player);
  };
  const auto known = std::find_if(entries_.begin(), entries_.end(), samePlayer);
  if (known == entries_.end()) {
    entries_.push_back({week, row});
  } else if (row.total < known->row.total) {
    known->row = row;
  }

  const std::vector<BoardRow> board = boardOf(week);
  const auto place = std::find_if(board.begin(), board.end(), [&](const BoardRow& other) {
    return samePlayer({week, other});
  });
  Json reply = {{"accepted", true},
                {"rank", place - board.begin() + 1},
                {"points", place->points}};
  if (!rules_.token.empty()) reply["token"] = rules_.token;
  return jsonVerdict(reply);
}

Verdict Organiser::clientLog(std::string_view body) {
  const Json report = Json::parse(body.begin(), body.end(), nullptr, false);
  if (!report.is_object() || textMember(report, "player").empty() ||
      textMember(report, "reason").empty()) {
    return jsonVerdict({{"ok", false}, {"error", "player or reason missing"}}, 422);
  }
  return jsonVerdict({{"ok", true}});
}

std::vector<BoardRow> Organiser::leaderboard() const { return boardOf(rules_.week); }

std::vector<BoardRow> Organiser::boardOf(const std::string& week) const {
  std::vector<BoardRow> rows;
  for (const Entry& entry : entries_) {
    if (entry.week == week) rows.push_back(entry.row);
  }
  std::stable_sort(rows.begin(), rows.end(), [](const BoardRow& one, const BoardRow& other) {
    return one.total < other.total;
  });
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i].points = std::max(1, kFirstPlacePoints - kPointsPerPlace * static_cast<int>(i));
  }
  return rows;
}

std::string Organiser::boardText(char separator, bool heading) const {
  std::string text;
  const auto line = [&](const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (i > 0) text += separator;
      text += cells[i];
    }
    text += '\n';
  };
  if (heading) line({"rank", "player", "time", "ending", "points"});
  const std::vector<BoardRow> rows = leaderboard();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    line({std::to_string(i + 1), rows[i].player, formatTotal(rows[i].total), rows[i].ending,
          std::to_string(rows[i].points)});
  }
  return text;
}

std::string Organiser::boardJson() const {
  Json rows = Json::array();
  for (const BoardRow& row : leaderboard()) {
    rows.push_back({{"player", row.player},
                    {"total", row.total},
                    {"ending", row.ending},
                    {"difficulty", row.difficulty},
                    {"points", row.points}});
  }
  return Json{{"week", rules_.week}, {"rows", rows}}.dump();
}

}  // namespace stage
