#include "rehearsal/standins/stand_in.h"

#include <windows.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"

namespace stage {

namespace {

nlohmann::json readScript(std::filesystem::path program) {
  const std::string text = readFile(program.replace_extension(".json")).value_or("{}");
  nlohmann::json script = nlohmann::json::parse(text, nullptr, false);
  return script.is_object() ? script : nlohmann::json::object();
}

}  // namespace

StandIn::StandIn(std::string_view who)
    : who_(who), script_(std::make_unique<nlohmann::json>(readScript(program()))) {
  timeline_ = Timeline(path("timeline"));
}

StandIn::~StandIn() = default;

bool StandIn::value(const char* name, bool fallback) const {
  return script_->value(name, fallback);
}

int StandIn::value(const char* name, int fallback) const { return script_->value(name, fallback); }

unsigned StandIn::value(const char* name, unsigned fallback) const {
  return script_->value(name, fallback);
}

unsigned short StandIn::value(const char* name, unsigned short fallback) const {
  return script_->value(name, fallback);
}

std::string StandIn::value(const char* name, const std::string& fallback) const {
  return script_->value(name, fallback);
}

std::filesystem::path StandIn::path(const char* name) const {
  return pathOf(value(name, std::string()));
}

void StandIn::note(std::string_view what, std::string_view text) const {
  timeline_.append(who_, what, text);
}

std::string StandIn::commandLine() { return toUtf8(GetCommandLineW()); }

std::filesystem::path StandIn::program() {
  wchar_t buffer[4096];
  const DWORD length = GetModuleFileNameW(nullptr, buffer, 4096);
  return std::wstring(buffer, length);
}

bool waitForFile(const std::filesystem::path& file, unsigned limitMs) {
  const std::uint64_t end = GetTickCount64() + limitMs;
  for (;;) {
    if (!file.empty() && pathExists(file)) return true;
    const std::uint64_t now = GetTickCount64();
    if (now >= end) return false;
    Sleep(static_cast<DWORD>(std::min<std::uint64_t>(end - now, 20)));
  }
}

}  // namespace stage
