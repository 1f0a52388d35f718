#include "tests/machine/contract_ground.h"

#include <windows.h>

#include <filesystem>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/race_server.h"
#include "rehearsal/stage/registry.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/timer_server.h"
#include "tests/win/seam_recorder_win.h"

namespace contract {

namespace fs = std::filesystem;

struct Ground::Impl {
  fs::path folder = fs::temp_directory_path() / "kov-contract";
  HANDLE held = INVALID_HANDLE_VALUE;
  std::vector<std::unique_ptr<stage::RaceServer>> servers;
  std::unique_ptr<stage::TimerServer> timer;
  stage::RegistryKeeper registry;
  SeamRecorder recorder;

  void empty() const {
    std::error_code ignored;
    for (const auto& entry : fs::recursive_directory_iterator(folder, ignored)) {
      SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    fs::remove_all(folder, ignored);
  }
};

Ground::Ground() : impl_(std::make_unique<Impl>()) {
  impl_->empty();
  fs::create_directories(impl_->folder);
}

Ground::~Ground() {
  letGo();
  impl_->empty();
}

std::string Ground::folder() const { return stage::toAnsi(stage::textOf(impl_->folder)); }

std::string Ground::ansi(std::string_view utf8) const { return stage::toAnsi(utf8); }

void Ground::put(const std::string& name, std::string_view bytes) {
  stage::writeFile(impl_->folder / stage::pathOf(name), bytes);
}

void Ground::makeFolder(const std::string& name) {
  fs::create_directories(impl_->folder / stage::pathOf(name));
}

std::optional<std::string> Ground::bytesOf(const std::string& name) const {
  return stage::readFile(impl_->folder / stage::pathOf(name));
}

void Ground::setReadOnly(const std::string& name) {
  SetFileAttributesW((impl_->folder / stage::pathOf(name)).c_str(), FILE_ATTRIBUTE_READONLY);
}

void Ground::hold(const std::string& name, Leaves leaves) {
  const DWORD share = leaves == Leaves::everything ? FILE_SHARE_READ | FILE_SHARE_WRITE
                      : leaves == Leaves::reading  ? FILE_SHARE_READ
                                                   : 0;
  impl_->held = CreateFileW((impl_->folder / stage::pathOf(name)).c_str(), GENERIC_READ, share,
                            nullptr, OPEN_EXISTING, 0, nullptr);
}

void Ground::letGo() {
  if (impl_->held != INVALID_HANDLE_VALUE) CloseHandle(impl_->held);
  impl_->held = INVALID_HANDLE_VALUE;
}

std::string Ground::server(Answers answers, const std::string& body) {
  stage::Reply reply = stage::Reply::text(body);
  if (answers == Answers::withoutBody) reply = stage::Reply::text("", 204);
  if (answers == Answers::closes) reply = stage::Reply::closeConnection();
  if (answers == Answers::half) {
    reply = stage::Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: " +
                                   std::to_string(body.size()) + "\r\n\r\n" +
                                   body.substr(0, body.size() / 2));
  }
  auto server = std::make_unique<stage::RaceServer>();
  server->answer("*", "*", reply);
  impl_->servers.push_back(std::move(server));
  return impl_->servers.back()->url();
}

std::string Ground::nobody() const { return stage::unreachableUrl(); }

std::vector<std::string> Ground::requests() const {
  std::vector<std::string> all;
  for (const auto& server : impl_->servers) {
    for (const stage::Request& request : server->requests()) {
      all.push_back(request.method + " " + request.target + " " + request.body);
    }
  }
  return all;
}

void Ground::startTimer(const std::string& line) {
  impl_->timer = std::make_unique<stage::TimerServer>();
  for (const char* command :
       {"getcurrenttimerphase", "getfinaltime", "getlastsplittime", "getcurrenttime"}) {
    impl_->timer->reply(command, line);
  }
}

void Ground::stopTimer() { impl_->timer.reset(); }

void Ground::setSteamPath(const std::optional<std::string>& path) {
  if (path) {
    impl_->registry.set("Software\\Valve\\Steam", "SteamPath", *path);
  } else {
    impl_->registry.remove("Software\\Valve\\Steam", "SteamPath");
  }
}

std::wstring Ground::runningImage() const {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring name = fs::path(path).filename().wstring();
  for (wchar_t& unit : name) unit = static_cast<wchar_t>(towupper(unit));
  return name;
}

std::wstring Ground::decoded(unsigned codePage, const std::string& bytes) const {
  const int size = static_cast<int>(bytes.size());
  std::wstring wide(bytes.size(), L'\0');
  const int units =
      MultiByteToWideChar(codePage, 0, bytes.data(), size, wide.data(), size);
  wide.resize(static_cast<std::size_t>(units));
  return wide;
}

std::vector<std::string> Ground::calls() const { return impl_->recorder.calls(); }

long long Ground::clockMs() const { return static_cast<long long>(GetTickCount64()); }

}  // namespace contract
