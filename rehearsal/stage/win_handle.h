#pragma once

#include <windows.h>

#include <memory>

namespace stage {

struct CloseWinHandle {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Owner of a kernel handle. INVALID_HANDLE_VALUE becomes "none" through ownHandle().
using WinHandle = std::unique_ptr<HANDLE, CloseWinHandle>;

inline WinHandle ownHandle(HANDLE handle) {
  return WinHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace stage
