#include "check/timer_question.h"

#include <vector>

#include "core/platform.h"
#include "core/win_handle.h"
#include "livesplit/client.h"

#include <iphlpapi.h>

namespace launcher::check {
namespace {

constexpr unsigned short kServerPort = 16834;

/// A question on its thread. One that was given up stays until its thread has ended.
struct Asking {
  std::string command;
  std::string reply;
  UniqueProcess thread;
};

DWORD WINAPI askOnThread(void* data) {
  auto* asking = static_cast<Asking*>(data);
  asking->reply = livesplitCommand(asking->command);
  return 0;
}

std::string fileNameOf(DWORD processId) {
  const UniqueProcess process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  wchar_t path[MAX_PATH] = {};
  DWORD units = MAX_PATH;
  if (!process || !QueryFullProcessImageNameW(process.get(), 0, path, &units)) return {};
  const std::wstring whole(path, units);
  return wideToUtf8(whole.substr(whole.rfind(L'\\') + 1));
}

/// The table of all programs that listen on a TCP port; empty when Windows does not say.
std::vector<DWORD> listeners() {
  DWORD bytes = 0;
  std::vector<DWORD> table;
  for (int tries = 0; tries < 3; ++tries) {
    const DWORD error = GetExtendedTcpTable(table.data(), &bytes, FALSE, AF_INET,
                                            TCP_TABLE_OWNER_PID_LISTENER, 0);
    if (error == NO_ERROR && !table.empty()) return table;
    if (error != ERROR_INSUFFICIENT_BUFFER) return {};
    table.assign(bytes / sizeof(DWORD) + 1, 0);
    bytes = static_cast<DWORD>(table.size() * sizeof(DWORD));
  }
  return {};
}

}  // namespace

TimerReply askTimer(const std::string& command, unsigned limitMs) {
  auto* asking = new Asking{command, {}, {}};
  asking->thread = UniqueProcess(CreateThread(nullptr, 0, askOnThread, asking, 0, nullptr));
  if (!asking->thread) {
    delete asking;
    return {};
  }
  // After the limit the thread keeps its record: it may still write to it.
  if (WaitForSingleObject(asking->thread.get(), limitMs) != WAIT_OBJECT_0) return {true, {}};
  TimerReply reply = {false, std::move(asking->reply)};
  delete asking;
  return reply;
}

std::string timerPortHolder() {
  const std::vector<DWORD> bytes = listeners();
  if (bytes.empty()) return {};
  const auto* table = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID*>(bytes.data());
  for (DWORD i = 0; i < table->dwNumEntries; ++i) {
    const MIB_TCPROW_OWNER_PID& row = table->table[i];
    const bool reachable =
        row.dwLocalAddr == htonl(INADDR_LOOPBACK) || row.dwLocalAddr == htonl(INADDR_ANY);
    if (reachable && row.dwLocalPort == htons(kServerPort)) return fileNameOf(row.dwOwningPid);
  }
  return {};
}

}  // namespace launcher::check
