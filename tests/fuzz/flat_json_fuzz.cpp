#include "result/flat_json.h"

#include "core/text.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using launcher::npos;

/// The searches once more in their plainest form.
std::size_t plainFind(std::string_view text, std::string_view needle, std::size_t start) {
  for (std::size_t at = start; at <= text.size(); ++at) {
    if (needle.size() > text.size() - at) return npos;
    if (text.compare(at, needle.size(), needle) == 0) return at;
  }
  return npos;
}

std::size_t plainFindFirstOf(std::string_view text, std::string_view set, std::size_t start) {
  for (std::size_t at = start; at < text.size(); ++at) {
    for (const char byte : set) {
      if (text[at] == byte) return at;
    }
  }
  return npos;
}

void checkSearches(std::string_view text, std::string_view needle, std::size_t start) {
  check(launcher::findText(text, needle, start) == plainFind(text, needle, start));
  check(launcher::findFirstOf(text, needle, start) == plainFindFirstOf(text, needle, start));
  check(launcher::findChar(text, '"', start) == plainFindFirstOf(text, "\"", start));
}

void checkReplacing(std::string_view text, std::string_view pattern, std::string_view value) {
  const auto quoted = launcher::quotedValueAfter(text, pattern);
  const std::string requoted = launcher::replaceQuotedValue(text, pattern, value);
  check(quoted || requoted == text);
  check(!quoted || quoted->find('"') == std::string::npos);
  check(!quoted || requoted.size() == text.size() - quoted->size() + value.size());
  if (quoted) check(launcher::replaceQuotedValue(text, pattern, *quoted) == text);

  const auto raw = launcher::rawValueAfter(text, pattern);
  const std::string replaced = launcher::replaceRawValue(text, pattern, value);
  check(raw || replaced == text);
  check(!raw || raw->find_first_of(",}") == std::string::npos);
  check(!raw || replaced.size() == text.size() - raw->size() + value.size());
  if (raw) check(launcher::replaceRawValue(text, pattern, *raw) == text);
}

}  // namespace

KOV_FUZZ_TARGET(flatJson) {
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    const std::string whole(text);
    (void)launcher::findText(text, "\"status\":", 0);
    (void)launcher::findFirstOf(text, ",}", 0);
    (void)launcher::findChar(text, '"', 0);
    (void)launcher::replaceQuotedValue(text, "\"status\":\"", "new");
    (void)launcher::replaceRawValue(text, "\"total\":", "new");
    (void)launcher::rawJsonField(text, "\"total\"");
    (void)launcher::integerAfter(whole, "\"rank\":", -3);
    (void)launcher::numberAfter(whole, "\"rank\":", -3.5);
  });
  const std::string_view pattern = fuzzing::takePart(input);
  const std::string_view text = input.substr(0, 4096);
  for (const std::size_t start : {std::size_t{0}, pattern.size(), text.size(), text.size() + 1}) {
    checkSearches(text, pattern, start);
  }
  for (const std::string_view key : {"\"status\":", "\"ending\":\"", "\"total\":"}) {
    checkReplacing(text, key, "new");
  }
  if (!pattern.empty()) checkReplacing(text, pattern, "");

  const std::string field = launcher::rawJsonField(text, "\"total\"");
  check(field == launcher::trimBlanks(field));
  check(field == "-" || text.find(field) != std::string_view::npos);

  const std::string owned(text);
  if (text.find("\"rank\":") == std::string_view::npos) {
    check(launcher::integerAfter(owned, "\"rank\":", -3) == -3);
    check(!(launcher::numberAfter(owned, "\"rank\":", -3.5) > -3.5));
  } else {
    (void)launcher::integerAfter(owned, "\"rank\":", -3);
    (void)launcher::numberAfter(owned, "\"rank\":", -3.5);
  }
}
