#include "tests/hosted/verdict.h"

namespace hosted {
namespace {

constexpr std::string_view kNeedsPerson = "needs a person: ";

/// The line in which `at` stands, from there on, without its end.
std::string restOfLine(std::string_view text, std::size_t at) {
  const std::size_t end = text.find_first_of("\r\n", at);
  return std::string(text.substr(at, end == text.npos ? text.npos : end - at));
}

/// The line after the one that holds `mark`: the reason of GTEST_SKIP().
std::string lineAfter(std::string_view text, std::string_view mark) {
  const std::size_t hit = text.find(mark);
  const std::size_t end = hit == text.npos ? text.npos : text.find('\n', hit);
  return end == text.npos ? std::string() : restOfLine(text, end + 1);
}

}  // namespace

std::vector<std::string> testNames(std::string_view list) {
  std::vector<std::string> names;
  std::string suite;
  for (std::size_t at = 0; at < list.size();) {
    const std::string line = restOfLine(list, at);
    const std::size_t end = list.find('\n', at);
    at = end == list.npos ? list.size() : end + 1;

    std::string name = line.substr(0, line.find('#'));
    name.erase(name.find_last_not_of(' ') + 1);
    if (name.starts_with("  ")) {
      name.erase(0, 2);
      const bool disabled = (suite + name).find("DISABLED_") != std::string::npos;
      if (!suite.empty() && !disabled) names.push_back(suite + name);
    } else {
      suite = name.ends_with('.') && name.find(' ') == name.npos ? name : "";
    }
  }
  return names;
}

Outcome outcomeOf(std::string_view output, unsigned long exitCode) {
  if (exitCode == 0 && output.find("[  SKIPPED ] 1 test") != output.npos) {
    return {Verdict::skipped, lineAfter(output, ": Skipped")};
  }
  if (exitCode == 0 && output.find("[  PASSED  ] 1 test") != output.npos) {
    return {Verdict::passed, ""};
  }
  const std::size_t person = output.find(kNeedsPerson);
  if (person != output.npos) return {Verdict::skipped, restOfLine(output, person)};
  if (output.find("[  FAILED  ] 1 test") != output.npos) return {Verdict::failed, ""};
  return {Verdict::failed, "ended with exit code " + std::to_string(exitCode) +
                               " before its verdict"};
}

Outcome plainOutcomeOf(std::string_view output, unsigned long exitCode) {
  if (exitCode == 0) return {Verdict::passed, ""};
  const std::size_t person = output.find(kNeedsPerson);
  if (person != output.npos) return {Verdict::skipped, restOfLine(output, person)};
  return {Verdict::failed, "exit code " + std::to_string(exitCode)};
}

std::string reasonToSkip(std::string_view test, unsigned codePage) {
  const std::string_view suite = test.substr(0, test.find('.'));
  if (suite.find("Cp936") == suite.npos || codePage == 936) return {};
  return "needs a person: the ANSI code page is " + std::to_string(codePage) +
         ", and only a person can choose 936 (and restart)";
}

}  // namespace hosted
