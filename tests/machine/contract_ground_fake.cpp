#include "tests/machine/contract_ground.h"
#include "tests/machine/machine.h"

namespace contract {

using machine::Machine;

struct Ground::Impl {
  Machine on;
  std::string held;
};

Ground::Ground() : impl_(std::make_unique<Impl>()) {
  impl_->on.files.makeFolder("C:\\contract");
  impl_->on.recording = true;
}
Ground::~Ground() = default;

std::string Ground::folder() const { return "C:\\contract"; }

std::string Ground::ansi(std::string_view utf8) const {
  return machine::toAnsi(impl_->on.page, machine::fromUtf8(utf8));
}

void Ground::put(const std::string& name, std::string_view bytes) {
  impl_->on.files.put(in(name), bytes);
}

void Ground::makeFolder(const std::string& name) { impl_->on.files.makeFolder(in(name)); }

std::optional<std::string> Ground::bytesOf(const std::string& name) const {
  return impl_->on.files.bytesOf(in(name));
}

void Ground::setReadOnly(const std::string& name) { impl_->on.files.at(in(name))->readOnly = true; }

void Ground::hold(const std::string& name, Leaves leaves) {
  impl_->held = in(name);
  impl_->on.files.at(impl_->held)->sharing = leaves == Leaves::everything
                                                 ? machine::Sharing::noDelete
                                             : leaves == Leaves::reading
                                                 ? machine::Sharing::readOnly
                                                 : machine::Sharing::nothing;
}

void Ground::letGo() { impl_->on.files.at(impl_->held)->sharing = machine::Sharing::all; }

std::string Ground::server(Answers answers, const std::string& body) {
  impl_->on.servers["127.0.0.1:8080"] = [answers, body](Machine&, const machine::Request&) {
    switch (answers) {
      case Answers::whole: return machine::Reply{.body = body};
      case Answers::withoutBody: return machine::Reply{.how = machine::Failure::empty};
      case Answers::closes: return machine::Reply{.how = machine::Failure::reset};
      case Answers::half: break;
    }
    return machine::Reply{.how = machine::Failure::half, .body = body};
  };
  return "http://127.0.0.1:8080";
}

std::string Ground::nobody() const { return "http://127.0.0.1:9"; }

std::vector<std::string> Ground::requests() const {
  std::vector<std::string> all;
  for (const machine::Request& request : impl_->on.requests) {
    all.push_back(request.method + " " + request.path + " " + request.body);
  }
  return all;
}

void Ground::startTimer(const std::string& line) {
  impl_->on.timerListens = true;
  impl_->on.timerAnswers = [line](const std::string&) {
    return line.empty() ? line : line + "\n";
  };
}

void Ground::stopTimer() { impl_->on.timerListens = false; }

void Ground::setSteamPath(const std::optional<std::string>& path) {
  impl_->on.steamPath.reset();
  if (path) impl_->on.steamPath = machine::fromUtf8(*path);
}

std::wstring Ground::runningImage() const {
  impl_->on.files.put("C:\\contract-programs\\Runs.exe", "MZ");
  impl_->on.setProgram("C:\\contract-programs\\Runs.exe", [](Machine&, const machine::Start&) {});
  (void)impl_->on.startByHand("C:\\contract-programs\\Runs.exe");
  return L"runs.EXE";
}

std::wstring Ground::decoded(unsigned codePage, const std::string& bytes) const {
  return machine::toWide(machine::fromAnsi(static_cast<machine::CodePage>(codePage), bytes));
}

std::vector<std::string> Ground::calls() const { return impl_->on.record; }

long long Ground::clockMs() const { return impl_->on.now(); }

}  // namespace contract
