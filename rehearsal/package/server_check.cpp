#include "rehearsal/package/server_check.h"

#include <windows.h>

#include <winhttp.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "rehearsal/stage/text.h"
#include "server/weekly_files.h"

namespace rehearsal {

namespace {

constexpr int kPatienceMs = 8000;
constexpr std::size_t kEnough = 1 << 20;

struct CloseInternet {
  void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};
using Internet = std::unique_ptr<void, CloseInternet>;

struct Reply {
  DWORD status = 0;
  std::string body;
};

/// Nothing when no response came.
std::optional<Reply> get(const std::string& url) {
  const std::wstring wide = stage::toWide(url);
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof parts;
  parts.dwHostNameLength = parts.dwUrlPathLength = static_cast<DWORD>(-1);
  if (!WinHttpCrackUrl(wide.c_str(), 0, 0, &parts)) return {};
  const std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
  const bool secure = parts.nScheme == INTERNET_SCHEME_HTTPS;

  const Internet session(WinHttpOpen(L"KOV package check", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                                     nullptr, nullptr, 0));
  if (!session) return {};
  WinHttpSetTimeouts(session.get(), kPatienceMs, kPatienceMs, kPatienceMs, kPatienceMs);
  const Internet connection(WinHttpConnect(session.get(), host.c_str(), parts.nPort, 0));
  if (!connection) return {};
  const Internet request(WinHttpOpenRequest(connection.get(), L"GET", parts.lpszUrlPath, nullptr,
                                            nullptr, nullptr, secure ? WINHTTP_FLAG_SECURE : 0));
  if (!request || !WinHttpSendRequest(request.get(), nullptr, 0, nullptr, 0, 0, 0) ||
      !WinHttpReceiveResponse(request.get(), nullptr)) {
    return {};
  }
  Reply reply;
  DWORD size = sizeof reply.status;
  WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                      nullptr, &reply.status, &size, nullptr);
  std::array<char, 4096> piece = {};
  DWORD read = 0;
  while (reply.body.size() < kEnough &&
         WinHttpReadData(request.get(), piece.data(), piece.size(), &read) && read > 0) {
    reply.body.append(piece.data(), read);
  }
  return reply;
}

Finding judge(const std::string& path, const std::optional<Reply>& reply) {
  if (!reply) return failed("the server does not answer " + path, "look at the server");
  if (reply->status != 200) {
    return failed("the server answers " + path + " with status " + std::to_string(reply->status),
                  "players would get that page instead of the file");
  }
  if (path == launcher::kWeekFile.serverPath && launcher::scanSeed(reply->body).empty()) {
    return failed("the server's week has no seed that the launcher can read",
                  "write \"seed\": and plain digits, without quotes");
  }
  return passed("the server answers " + path);
}

}  // namespace

Findings checkServer(std::string_view server) {
  std::string base(server);
  while (base.ends_with('/')) base.pop_back();
  if (base.empty()) return {};  // told at the settings
  Findings found;
  for (const launcher::WeeklyFile& file : launcher::kWeeklyFiles) {
    const std::string path = file.serverPath;
    const std::optional<Reply> reply = get(base + path);
    if (!reply && found.empty()) {
      return {unseen("the server " + base + " cannot be reached from here",
                     "check its six weekly paths from a machine that reaches it")};
    }
    found.push_back(judge(path, reply));
  }
  return found;
}

}  // namespace rehearsal
