#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace stage {

/// A small debugger of one program, started with DEBUG_ONLY_THIS_PROCESS by the thread that
/// calls in here. It reports the program's calls of some functions of Windows' libraries before
/// they do anything; the program stands still meanwhile.
///
/// While one thread steps over a breakpoint, a call of another thread can slip by unreported.
/// Only for x86-64.
class Debugger {
 public:
  /// A call that is about to be made.
  class Call {
   public:
    [[nodiscard]] bool ofMainThread() const { return mainThread_; }
    [[nodiscard]] std::uint64_t caller() const { return words_[0]; }
    /// The nth argument, from 1 to 11.
    template <class Value = std::uint64_t>
    [[nodiscard]] Value argument(std::size_t nth) const {
      return static_cast<Value>(words_[nth]);
    }
    /// Lets the call be made with another value for one of its first four arguments.
    void setArgument(std::size_t nth, std::uint64_t value) { words_[nth] = value; }

   private:
    friend class Debugger;
    bool mainThread_ = false;
    std::array<std::uint64_t, 12> words_{};  // the return address, then the arguments
  };
  using OnCall = std::function<void(Call&)>;
  using OnReturn = std::function<void(std::uint64_t result)>;

  /// Functions of one library, by their names.
  using Functions = std::vector<std::pair<const char*, OnCall>>;

  /// Watches these functions from the moment in which the program loads their library; this
  /// program loads it at once. Throws std::runtime_error when there is no such function.
  Debugger(const wchar_t* library, const Functions& functions)
      : Debugger({{library, functions}}) {}
  /// As above, for several libraries.
  explicit Debugger(const std::vector<std::pair<const wchar_t*, Functions>>& libraries);
  Debugger(const Debugger&) = delete;
  Debugger& operator=(const Debugger&) = delete;

  /// Handles the debug events that come within the given time, and those that follow at once.
  void work(DWORD waitMs);

  /// For OnCall: reports what the function returns once it has. Only for calls that the
  /// program's own code makes in one thread alone.
  void atReturn(const Call& call, OnReturn onReturn);

  /// The program's; nothing while it runs.
  [[nodiscard]] std::optional<std::uint32_t> exitCode() const { return exitCode_; }
  /// True once the system has set the program up and its own code runs.
  [[nodiscard]] bool programBegan() const { return programBegan_; }
  /// The program, while it runs.
  [[nodiscard]] HANDLE process() const { return process_; }
  /// True when this place lies in a watched library.
  [[nodiscard]] bool inLibrary(std::uint64_t address) const {
    return std::any_of(libraries_.begin(), libraries_.end(),
                       [&](const Library& library) { return library.place.holds(address); });
  }
  /// True when this place lies in the program's own file.
  [[nodiscard]] bool inProgram(std::uint64_t address) const { return own_.holds(address); }

  /// A value in the program's memory; zero where none can be read.
  template <class Value>
  [[nodiscard]] Value read(std::uint64_t address) const {
    Value value{};
    copy(address, &value, sizeof value);
    return value;
  }
  /// A text of this length in the program's memory.
  template <class Unit>
  [[nodiscard]] std::basic_string<Unit> readText(std::uint64_t address, std::size_t length) const {
    std::basic_string<Unit> text(length, Unit{});
    copy(address, text.data(), length * sizeof(Unit));
    return text;
  }
  /// A text up to its terminating zero.
  template <class Unit>
  [[nodiscard]] std::basic_string<Unit> readText(std::uint64_t address) const {
    std::basic_string<Unit> text;
    for (Unit unit{}; (unit = read<Unit>(address)) != Unit{}; address += sizeof unit) text += unit;
    return text;
  }

 private:
  struct Breakpoint {
    unsigned char code;  // what the function begins with
    OnCall onCall;
  };
  struct Return {
    unsigned char code;
    OnReturn onReturn;
  };
  /// A file in the program's memory.
  struct Place {
    std::uint64_t base = 0;
    std::uint64_t size = 0;
    [[nodiscard]] bool holds(std::uint64_t address) const {
      return base != 0 && address - base < size;
    }
  };
  struct Library {
    HMODULE ours;
    Place place;                                 // in the program, once it is loaded there
    std::map<std::uint64_t, Breakpoint> points;  // by distance from the library's start
  };

  void watch(const wchar_t* library, const char* name, const OnCall& onCall);
  DWORD handle(const DEBUG_EVENT& event);
  void onLibrary(const void* base);
  [[nodiscard]] Place placeOf(const void* base) const;
  [[nodiscard]] const Breakpoint* pointAt(std::uint64_t address) const;
  DWORD onException(const EXCEPTION_RECORD& exception, DWORD threadId);
  DWORD onBreakpoint(std::uint64_t address, DWORD threadId);
  void report(const Breakpoint& point, CONTEXT& context, bool mainThread);
  void poke(std::uint64_t address, unsigned char code) const;
  void copy(std::uint64_t address, void* to, std::size_t bytes) const;

  std::vector<Library> libraries_;
  std::map<std::uint64_t, Return> returns_;      // by address
  std::map<DWORD, std::uint64_t> stepping_;      // by thread: the breakpoint that it steps over
  Place own_;
  HANDLE process_ = nullptr;  // closed by the system with the last debug event
  DWORD mainThreadId_ = 0;
  bool programBegan_ = false;
  std::optional<std::uint32_t> exitCode_;
};

}  // namespace stage
