#include "card/command_line.h"

#include <array>
#include <cstddef>

namespace launcher::card {
namespace {

constexpr std::size_t kNowhere = std::u16string_view::npos;

// The options of a result in the launcher's order, each with the blanks that
// stand around its name. The message is taken off the end before these.
constexpr auto kOptions = std::to_array<std::u16string_view>({
    u" --ok ",
    u" --kind ",
    u" --total ",
    u" --difficulty ",
    u" --ending ",
    u" --rank ",
    u" --points ",
});
constexpr std::u16string_view kMessageOption = u" --msg";

std::u16string_view withoutProgramPath(std::u16string_view line) {
  if (line.starts_with(u'"')) {
    const std::size_t closing = line.find(u'"', 1);
    return closing == kNowhere ? std::u16string_view() : line.substr(closing + 1);
  }
  const std::size_t blank = line.find(u' ');
  return blank == kNowhere ? std::u16string_view() : line.substr(blank);
}

std::u16string_view trimmed(std::u16string_view text) {
  constexpr std::u16string_view kBlanks = u" \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == kNowhere) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// What stands between the first quote and the last one; a quote that is never
// closed reaches to the end, and without any quote the whole text counts.
std::u16string_view unquoted(std::u16string_view text) {
  text = trimmed(text);
  if (text.empty() || text.front() != u'"') return text;
  text.remove_prefix(1);
  const std::size_t closing = text.rfind(u'"');
  return closing == kNowhere ? text : text.substr(0, closing);
}

// Where the message option begins: with its quote if there is one, because a
// value cannot hold that unless a file was written by hand.
std::size_t findMessage(std::u16string_view arguments) {
  const std::size_t quoted = arguments.find(u" --msg \"");
  if (quoted != kNowhere) return quoted;
  const std::size_t bare = arguments.find(u" --msg ");
  if (bare != kNowhere) return bare;
  return arguments.ends_with(kMessageOption) ? arguments.size() - kMessageOption.size() : kNowhere;
}

// Positions of the options in `head`, kNowhere for a missing one. Rank and
// points are plain numbers, so those two are sought from the end: an ending
// that holds " --rank " stays an ending. The others are sought from the start.
std::array<std::size_t, kOptions.size()> findOptions(std::u16string_view head) {
  constexpr std::size_t kRank = 5;
  std::array<std::size_t, kOptions.size()> found;
  found.fill(kNowhere);
  std::size_t end = head.size();
  for (std::size_t option = kOptions.size(); option-- > kRank;) {
    // The name's last blank may be the first blank of the next option.
    const std::size_t position = head.substr(0, end).rfind(kOptions[option]);
    if (position == kNowhere) continue;
    found[option] = position;
    end = position + 1;
  }
  std::size_t start = 0;
  for (std::size_t option = 0; option < kRank; ++option) {
    const std::size_t position = head.substr(0, end).find(kOptions[option], start);
    if (position == kNowhere) continue;
    found[option] = position;
    start = position + kOptions[option].size() - 1;
  }
  return found;
}

ResultArguments parseResult(std::u16string_view arguments) {
  ResultArguments result;
  const std::size_t message = findMessage(arguments);
  if (message != kNowhere) {
    result.message = unquoted(arguments.substr(message + kMessageOption.size()));
  }
  // A blank at the end lets an option without a value be found there too.
  std::u16string head(arguments.substr(0, message));
  head.push_back(u' ');

  const std::array<std::u16string*, kOptions.size()> values = {
      &result.ok,     &result.kind, &result.total,  &result.difficulty,
      &result.ending, &result.rank, &result.points,
  };
  const auto positions = findOptions(head);
  std::size_t end = head.size();
  for (std::size_t option = kOptions.size(); option-- > 0;) {
    if (positions[option] == kNowhere) continue;
    const std::size_t begin = positions[option] + kOptions[option].size();
    const std::u16string_view rest = std::u16string_view(head).substr(0, end);
    if (begin < end) *values[option] = trimmed(rest.substr(begin));
    end = positions[option];
  }
  return result;
}

}  // namespace

CommandLine parseCommandLine(std::u16string_view line) {
  constexpr std::u16string_view kProgress = u"--mode progress";
  constexpr std::u16string_view kState = u" --state";
  CommandLine parsed;
  const std::u16string_view arguments = withoutProgramPath(line);
  if (trimmed(arguments).empty()) return parsed;
  if (trimmed(arguments).starts_with(kProgress)) {
    parsed.mode = CardMode::progress;
    const std::size_t state = arguments.find(kState);
    if (state != kNowhere) parsed.statePath = unquoted(arguments.substr(state + kState.size()));
    return parsed;
  }
  parsed.mode = CardMode::result;
  parsed.result = parseResult(arguments);
  return parsed;
}

}  // namespace launcher::card
