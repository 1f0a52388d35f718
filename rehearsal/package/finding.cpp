#include "rehearsal/package/finding.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace rehearsal {

namespace {

const char* label(Finding::State state) {
  switch (state) {
    case Finding::State::ok: return "OK      ";
    case Finding::State::failed: return "FAILED  ";
    case Finding::State::warned: return "WARNING ";
    case Finding::State::unseen: break;
  }
  return "?       ";
}

auto countOf(const Findings& findings, Finding::State state) {
  return std::count_if(findings.begin(), findings.end(),
                       [&](const Finding& finding) { return finding.state == state; });
}

}  // namespace

Finding passed(std::string what) { return {Finding::State::ok, std::move(what)}; }

Finding failed(std::string what, std::string todo) {
  return {Finding::State::failed, std::move(what), std::move(todo)};
}

Finding warned(std::string what, std::string todo) {
  return {Finding::State::warned, std::move(what), std::move(todo)};
}

Finding unseen(std::string what, std::string todo) {
  return {Finding::State::unseen, std::move(what), std::move(todo)};
}

void append(Findings& all, Findings more) {
  std::move(more.begin(), more.end(), std::back_inserter(all));
}

std::string asLines(const Findings& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += label(finding.state) + finding.what;
    if (!finding.todo.empty()) text += ": " + finding.todo;
    text += "\n";
  }
  return text;
}

bool noneFailed(const Findings& findings) {
  return countOf(findings, Finding::State::failed) == 0;
}

std::string summary(const Findings& findings) {
  std::string text = std::to_string(findings.size()) + " checks: " +
                     std::to_string(countOf(findings, Finding::State::ok)) + " OK, " +
                     std::to_string(countOf(findings, Finding::State::failed)) + " failed";
  const auto warnings = countOf(findings, Finding::State::warned);
  if (warnings > 0) {
    text += ", " + std::to_string(warnings) + (warnings == 1 ? " warning" : " warnings");
  }
  const auto notSeen = countOf(findings, Finding::State::unseen);
  if (notSeen > 0) text += ", " + std::to_string(notSeen) + " cannot be seen from here";
  return text + ".";
}

}  // namespace rehearsal
