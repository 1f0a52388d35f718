#include "rehearsal/stage/timer_files.h"

#include <algorithm>

#include "rehearsal/stage/xml_text.h"

namespace stage {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// Texts of the children of this name, in their order.
std::vector<std::string> textsOf(const XmlElement* list, std::string_view name) {
  std::vector<std::string> texts;
  if (list == nullptr) return texts;
  for (const XmlElement& one : list->children) {
    if (one.name == name) texts.push_back(trimmed(one.text));
  }
  return texts;
}

std::string textOfChild(const XmlElement& element, std::string_view name) {
  const XmlElement* child = element.child(name);
  return child == nullptr ? std::string() : trimmed(child->text);
}

bool hasTime(const XmlElement& element) {
  const bool isTime = element.name == "RealTime" || element.name == "GameTime";
  if (isTime && !trimmed(element.text).empty()) return true;
  return std::any_of(element.children.begin(), element.children.end(), hasTime);
}

std::optional<Ticks> personalBestOf(const XmlElement& run) {
  const XmlElement* segments = run.child("Segments");
  if (segments == nullptr || segments->children.empty()) return std::nullopt;
  const XmlElement* times = segments->children.back().child("SplitTimes");
  if (times == nullptr) return std::nullopt;
  for (const XmlElement& time : times->children) {
    if (time.attribute("name") != "Personal Best") continue;
    return parseTimerTime(textOfChild(time, "RealTime"));
  }
  return std::nullopt;
}

Ticks offsetOf(const XmlElement& run) {
  const std::string text = textOfChild(run, "Offset");
  const bool negative = text.starts_with('-');
  const Ticks size = parseTimerTime(text.substr(negative ? 1 : 0)).value_or(0);
  return negative ? -size : size;
}

}  // namespace

std::optional<TimerSettings> readTimerSettings(std::string_view bytes) {
  const std::optional<XmlElement> root = readXml(bytes);
  if (!root || root->name != "Settings" || root->child("RecentLayouts") == nullptr) {
    return std::nullopt;
  }
  return TimerSettings{textsOf(root->child("RecentSplits"), "SplitsFile"),
                       textsOf(root->child("RecentLayouts"), "LayoutPath"),
                       textOfChild(*root, "ServerPort"), textOfChild(*root, "ServerStartup")};
}

std::optional<TimerSplits> readTimerSplits(std::string_view bytes) {
  const std::optional<XmlElement> run = readXml(bytes);
  if (!run || run->name != "Run") return std::nullopt;
  return TimerSplits{hasTime(*run), personalBestOf(*run), offsetOf(*run)};
}

}  // namespace stage
