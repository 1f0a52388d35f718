// core/file_io.h on the machine in memory.

#include "core/file_io.h"

#include "tests/machine/machine.h"

namespace launcher {
namespace {

using machine::Call;
using machine::Failure;
using machine::FileError;
using machine::Machine;
using machine::Units;

Machine& here() { return Machine::current(); }

Units named(const std::string& path) { return here().ansi(std::string_view(path.c_str())); }

/// What reading delivers, a read that fails in its middle included.
std::optional<std::string> readAs(Failure failure, const std::string& path) {
  std::string bytes;
  if (failure != Failure::none && failure != Failure::half && failure != Failure::empty) {
    return std::nullopt;
  }
  if (here().files.read(named(path), bytes) != FileError::none) return std::nullopt;
  if (failure == Failure::half) bytes.resize(bytes.size() / 2);
  if (failure == Failure::empty) bytes.clear();
  return bytes;
}

}  // namespace

std::optional<std::string> readFile(const std::string& path) {
  std::optional<std::string> bytes = readAs(here().enter(Call::readFile, path), path);
  here().leave(bytes ? std::to_string(bytes->size()) + " bytes" : "nothing");
  return bytes;
}

std::string readWholeFile(const std::string& path) {
  std::string bytes = readAs(here().enter(Call::readWholeFile, path), path).value_or("");
  here().leave(std::to_string(bytes.size()) + " bytes");
  return bytes;
}

std::optional<std::string> readFileStart(const std::string& path, std::size_t bytes) {
  std::optional<std::string> start = readAs(here().enter(Call::readFileStart, path), path);
  if (start && start->size() > bytes) start->resize(bytes);
  here().leave(start ? std::to_string(start->size()) + " bytes" : "nothing");
  return start;
}

bool opensForReading(const std::string& path) {
  const bool opens = readAs(here().enter(Call::opensForReading, path), path).has_value();
  here().leave(opens);
  return opens;
}

bool writeWholeFile(const std::string& path, std::string_view bytes) {
  const Failure failure = here().enter(Call::writeWholeFile, path, bytes);
  const bool opens = failure == Failure::none || failure == Failure::full ||
                     failure == Failure::half || failure == Failure::stop;
  // Opening empties the file; what a full disk takes of the bytes after that is unknown.
  std::string_view written = bytes;
  if (failure == Failure::full || failure == Failure::stop) written = "";
  if (failure == Failure::half) written = bytes.substr(0, bytes.size() / 2);
  const bool done = opens && here().files.write(named(path), written) == FileError::none;
  if (failure == Failure::stop) throw machine::Stopped{};
  here().leave(done);
  return done;
}

}  // namespace launcher
