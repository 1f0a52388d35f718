#include "check/http_date.h"

#include <iterator>

namespace launcher::check {
namespace {

constexpr std::string_view kShape = "Sat, 21 Nov 2026 15:04:40 GMT";
constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

std::optional<int> number(std::string_view digits) {
  int value = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return std::nullopt;
    value = value * 10 + (digit - '0');
  }
  return value;
}

/// Days from 1970-01-01 to a day of the Gregorian calendar, counted in years that begin in
/// March, so that the leap day is the last.
std::int64_t daysSince1970(int year, int month, int day) {
  const std::int64_t shifted = month > 2 ? year : year - 1;
  const std::int64_t monthsFromMarch = (month + 9) % 12;
  const std::int64_t dayOfYear = (153 * monthsFromMarch + 2) / 5 + day - 1;
  return shifted * 365 + shifted / 4 - shifted / 100 + shifted / 400 + dayOfYear - 719468;
}

}  // namespace

std::optional<std::int64_t> httpDateSeconds(std::string_view date) {
  if (date.size() != kShape.size() || !date.ends_with(" GMT")) return std::nullopt;
  const std::size_t month = kMonths.find(date.substr(8, 3));
  const auto day = number(date.substr(5, 2));
  const auto year = number(date.substr(12, 4));
  const auto hour = number(date.substr(17, 2));
  const auto minute = number(date.substr(20, 2));
  const auto second = number(date.substr(23, 2));
  if (month == std::string_view::npos || month % 3 != 0) return std::nullopt;
  if (!day || !year || !hour || !minute || !second || *year < 1970) return std::nullopt;
  return daysSince1970(*year, static_cast<int>(month / 3) + 1, *day) * 86400 + *hour * 3600 +
         *minute * 60 + *second;
}

}  // namespace launcher::check
