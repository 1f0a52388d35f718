// core/log.h on the machine in memory.

#include "core/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "tests/machine/machine.h"

namespace launcher {
namespace {

using machine::Call;
using machine::Failure;
using machine::Machine;

Machine& here() { return Machine::current(); }

__attribute__((format(printf, 1, 0))) std::string formatText(const char* format,
                                                             std::va_list values) {
  char* text = nullptr;
  const int length = vasprintf(&text, format, values);
  std::string result(text, length > 0 ? static_cast<std::size_t>(length) : 0);
  std::free(text);
  return result;
}

std::string textMode(const std::string& text) {
  std::string bytes;
  for (const char byte : text) {
    if (byte == '\n') bytes += '\r';
    bytes += byte;
  }
  return bytes;
}

}  // namespace

void openLog(const std::string& path) {
  const Failure failure = here().enter(Call::openLog, path);
  const machine::Units name = here().ansi(std::string_view(path.c_str()));
  if (failure == Failure::none && here().files.append(name, "") == machine::FileError::none) {
    here().logPath = name;
  }
}

void logLine(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::string line = formatText(format, values);
  va_end(values);
  const Failure failure = here().enter(Call::logLine, line);
  const std::string bytes = textMode(line + "\n");
  if (here().logPath && failure == Failure::none) {
    (void)here().files.append(*here().logPath, bytes);
  }
  here().console += bytes;
  here().logged.push_back(line);
}

void consolePrint(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::string text = formatText(format, values);
  va_end(values);
  (void)here().enter(Call::consolePrint, text);
  here().console += textMode(text);
}

void closeLog() {
  (void)here().enter(Call::closeLog);
  here().logPath.reset();
}

}  // namespace launcher
