#include "server/weekly_files.h"

namespace launcher {

std::string scanSeed(std::string_view week) {
  const std::size_t key = week.find("\"seed\"");
  if (key == std::string_view::npos) return {};
  const std::size_t colon = week.find(':', key);
  if (colon == std::string_view::npos) return {};
  const std::size_t first = week.find_first_not_of(" \t", colon + 1);
  if (first == std::string_view::npos) return {};
  std::size_t end = first;
  while (end < week.size() && week[end] >= '0' && week[end] <= '9') ++end;
  return std::string(week.substr(first, end - first));
}

}  // namespace launcher
