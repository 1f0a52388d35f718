#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// What the organiser of the race accepts.
struct Rules {
  std::string week = "2026-W47";
  long seed = 20261147;
  /// Earlier weeks whose late results are still taken, each on its own week's board.
  std::vector<std::string> lateWeeks = {};
  bool raceOpen = true;         ///< false: everything is refused with "race is closed"
  bool weekOpen = true;         ///< false: everything is refused with "week window closed"
  std::size_t minimumSplits = 5;
  std::string firstMap = "Level 0";
  /// A run with another difficulty is refused ("hard difficulty ...").
  std::vector<std::string> difficulties = {"easy", "normal", "nightmare"};
  /// Login code in every accepted answer; empty: the answer has no "token".
  std::string token = "kq7-4821";
};

/// One line of a week's leaderboard.
struct BoardRow {
  std::string player;
  std::string playerId;  ///< SteamID64; empty when the submission had none
  std::string ending;
  std::string difficulty;
  double total = 0.0;  ///< seconds
  int points = 0;
};

/// An answer of the organiser.
struct Verdict {
  int status = 200;
  std::string contentType = "application/json";
  std::string body;
};

/// The organiser's own logic, without any network: reads submissions with a JSON library,
/// keeps the leaderboard and writes the weekly files.
///
/// POST /submit answers one of
///     {"accepted":true,"rank":1,"points":100,"token":"kq7-4821"}
///     {"accepted":false,"error":"week window closed"}
/// Refusals, in the order in which they are looked for:
///     race is closed
///     week window closed               (also for a receipt of a week that is not taken)
///     not valid JSON                   (status 400)
///     player missing | status is not ending | total missing | ending unknown   (status 422)
///     splits too few (3 of at least 5)
///     run did not start at Level 0
///     hard difficulty is not part of the race
/// Of a member that stands twice the last one counts: the launcher puts its own members
/// in front, so the receipt's win.
/// A player (by playerId, else by name) keeps the best time of the week; rank is the place
/// of that time, points are 100 for the first place and 5 less for each further one, at
/// least 1.
///
/// POST /client/log wants "player" and "reason" and answers {"ok":true}, else status 422.
/// GET /week/current answers {"week":"2026-W47","seed":20261147,"open":true}; /leaderboard
/// the board as JSON; /board-data, /board-en, /leaderboard.txt and /leaderboard.tsv the
/// board as text. Anything else is a 404 with {"error":"not found"}.
class Organiser {
 public:
  explicit Organiser(Rules rules = {});

  Verdict answer(std::string_view method, std::string_view target, std::string_view body);

  void setRules(const Rules& rules) { rules_ = rules; }
  [[nodiscard]] const Rules& rules() const { return rules_; }

  /// The current week's rows, best first, with their points.
  [[nodiscard]] std::vector<BoardRow> leaderboard() const;

 private:
  struct Entry {
    std::string week;
    BoardRow row;
  };

  Verdict submit(std::string_view body);
  [[nodiscard]] std::vector<BoardRow> boardOf(const std::string& week) const;
  static Verdict clientLog(std::string_view body);
  [[nodiscard]] std::string boardText(char separator, bool heading) const;
  [[nodiscard]] std::string boardJson() const;

  Rules rules_;
  std::vector<Entry> entries_;
};

}  // namespace stage
