#include "livesplit/time_reply.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "core/number.h"

namespace launcher {
namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// Reads an integer as "%d" does and moves `at` after it; false when there is none.
bool scanInteger(const char*& at, int& value) {
  char* end = nullptr;
  const long number = std::strtol(at, &end, 10);
  if (end == at) return false;
  value = static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
  at = end;
  return true;
}

bool scanColon(const char*& at) {
  if (*at != ':') return false;
  ++at;
  return true;
}

/// Reads a number as "%lf" does; false when there is none.
bool scanSeconds(const char* at, double& value) {
  const char* digits = at;
  while (*digits == ' ' || (*digits >= '\t' && *digits <= '\r')) ++digits;
  if (*digits == '-' || *digits == '+') ++digits;
  if (*digits == '.') ++digits;
  if (!isDigit(*digits)) return false;
  value = readDecimal(at);
  return true;
}

/// "hours:minutes:seconds", or nothing.
std::optional<double> scanThreeFields(const char* at) {
  int hours = 0;
  int minutes = 0;
  double seconds = 0.0;
  if (!scanInteger(at, hours) || !scanColon(at)) return std::nullopt;
  if (!scanInteger(at, minutes) || !scanColon(at)) return std::nullopt;
  if (!scanSeconds(at, seconds)) return std::nullopt;
  return hours * 3600.0 + minutes * 60.0 + seconds;
}

/// "minutes:seconds", or nothing.
std::optional<double> scanTwoFields(const char* at) {
  int minutes = 0;
  double seconds = 0.0;
  if (!scanInteger(at, minutes) || !scanColon(at)) return std::nullopt;
  if (!scanSeconds(at, seconds)) return std::nullopt;
  return minutes * 60.0 + seconds;
}

}  // namespace

std::optional<double> parseTimeReply(const std::string& reply) {
  std::optional<double> seconds = scanThreeFields(reply.c_str());
  if (!seconds) seconds = scanTwoFields(reply.c_str());
  if (!seconds || !(*seconds > 0.0)) return std::nullopt;
  return seconds;
}

}  // namespace launcher
