#pragma once

// Owners for what Windows hands out. Only shells (*_win.cpp) include this.
#include <winsock2.h>
#include <windows.h>
#include <objbase.h>
#include <winhttp.h>

#include <utility>

namespace launcher {

/// The one owner of a resource: releases it when it goes, moves it on, never
/// copies it. `Traits` has Type, none() and release(Type).
template <typename Traits>
class UniqueResource {
 public:
  using Type = typename Traits::Type;

  UniqueResource() = default;
  explicit UniqueResource(Type value) : value_(value) {}
  UniqueResource(UniqueResource&& other) noexcept
      : value_(std::exchange(other.value_, Traits::none())) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) {
      reset();
      value_ = std::exchange(other.value_, Traits::none());
    }
    return *this;
  }
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;
  ~UniqueResource() { reset(); }

  [[nodiscard]] Type get() const { return value_; }
  explicit operator bool() const { return value_ != Traits::none(); }

  /// Releases what is held, if anything; then nothing is held.
  void reset() {
    if (*this) Traits::release(std::exchange(value_, Traits::none()));
  }

 private:
  Type value_ = Traits::none();
};

/// Processes and threads: nullptr is none (-1 means "this process").
struct ProcessTraits {
  using Type = HANDLE;
  static Type none() { return nullptr; }
  static void release(Type handle) { (void)CloseHandle(handle); }
};
using UniqueProcess = UniqueResource<ProcessTraits>;

/// Files and process snapshots: INVALID_HANDLE_VALUE is none.
struct FileTraits {
  using Type = HANDLE;
  static Type none() { return INVALID_HANDLE_VALUE; }
  static void release(Type handle) { (void)CloseHandle(handle); }
};
using UniqueFile = UniqueResource<FileTraits>;

/// Folder listings of FindFirstFile.
struct ListingTraits {
  using Type = HANDLE;
  static Type none() { return INVALID_HANDLE_VALUE; }
  static void release(Type handle) { (void)FindClose(handle); }
};
using UniqueListing = UniqueResource<ListingTraits>;

struct SocketTraits {
  using Type = SOCKET;
  static Type none() { return INVALID_SOCKET; }
  static void release(Type socket) { (void)closesocket(socket); }
};
using UniqueSocket = UniqueResource<SocketTraits>;

/// A successful WSAStartup; the value says only that there was one.
struct WinsockTraits {
  using Type = bool;
  static Type none() { return false; }
  static void release(Type) { (void)WSACleanup(); }
};
using UniqueWinsock = UniqueResource<WinsockTraits>;

/// A successful CoInitializeEx; the value says only that there was one.
struct ComTraits {
  using Type = bool;
  static Type none() { return false; }
  static void release(Type) { CoUninitialize(); }
};
using UniqueCom = UniqueResource<ComTraits>;

struct InternetTraits {
  using Type = HINTERNET;
  static Type none() { return nullptr; }
  static void release(Type handle) { (void)WinHttpCloseHandle(handle); }
};
using UniqueInternet = UniqueResource<InternetTraits>;

struct RegistryKeyTraits {
  using Type = HKEY;
  static Type none() { return nullptr; }
  static void release(Type key) { (void)RegCloseKey(key); }
};
using UniqueRegistryKey = UniqueResource<RegistryKeyTraits>;

}  // namespace launcher
