#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace launcher {

// What the operations ask of Windows, as plain functions. Windows reads narrow texts
// that name files in the ANSI code page (a path that was found through Steam is UTF-8
// and so works where it is plain ASCII); wide texts are UTF-16.

// Program and console -------------------------------------------------------

/// Full path of the running program, cut at 259 characters.
[[nodiscard]] std::string programPath();
/// The same path in UTF-16.
[[nodiscard]] std::wstring programPathWide();

/// From now on a DLL named without its folder is loaded from Windows' system folder alone:
/// Windows' own DLLs load further ones, and must not find a planted one beside the program.
void loadLibrariesFromSystemOnly();

/// From now on a path on a drive without a disk, such as an empty card reader, names nothing;
/// without this Windows may ask for the disk in a box and wait. Programs that are started are
/// not affected: the mode is this thread's, not the process's.
void takeMissingDisksForMissingFiles();

/// Sets the console's output and then its input code page to UTF-8. Without a
/// console it does nothing.
void prepareConsole();

/// Keeps the selection by mouse click off, which would block every write until the
/// player presses a key, and puts back what it found. Does nothing when standard
/// input is no console.
class QuickEditOff {
 public:
  QuickEditOff();
  QuickEditOff(const QuickEditOff&) = delete;
  QuickEditOff& operator=(const QuickEditOff&) = delete;
  ~QuickEditOff();

 private:
  std::optional<unsigned long> found_;  ///< the console's input mode
};

/// Waits for one character from standard input (or its end).
void waitForCharacter();

/// The environment variable LOCALAPPDATA; empty when it is not set or has 260
/// characters or more.
[[nodiscard]] std::string localAppData();

// Files and folders ---------------------------------------------------------

/// True when the path names an existing file or folder.
[[nodiscard]] bool pathExists(const std::string& path);
/// As pathExists, for a path in UTF-16.
[[nodiscard]] bool pathExistsWide(const std::wstring& path);

/// Creates one folder level. Failure, also for a folder that exists, is ignored.
void createFolder(const std::string& path);

/// Deletes a file. Failure is ignored.
void deleteFile(const std::string& path);

/// Copies a file over an existing one. False when Windows refused.
[[nodiscard]] bool copyFileOver(const std::string& source, const std::string& target);

/// Size in bytes of the file that `path` names, or nothing when it names nothing. What it
/// says of a folder has no meaning.
[[nodiscard]] std::optional<std::uint64_t> fileSize(const std::string& path);

/// One entry of a folder as its listing reports it.
struct FolderEntry {
  std::string name;
  bool isFolder = false;
  std::uint64_t bytes = 0;
};

/// The entries that match a pattern such as "C:\data\*.json", in the order in
/// which Windows hands them out, "." and ".." included.
class FolderListing {
 public:
  explicit FolderListing(const std::string& pattern);
  FolderListing(const FolderListing&) = delete;
  FolderListing& operator=(const FolderListing&) = delete;
  ~FolderListing();

  /// False when the listing could not start: no such folder or no match.
  [[nodiscard]] bool started() const { return state_ != nullptr; }

  /// The next entry; nullptr after the last. Valid until the next call.
  [[nodiscard]] const FolderEntry* next();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Processes -----------------------------------------------------------------

/// A process to wait for. Letting go of it closes its handles; the process goes on.
class Process {
 public:
  struct Handles;
  explicit Process(std::unique_ptr<Handles> handles);
  Process(Process&&) noexcept;
  Process& operator=(Process&&) noexcept;
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  /// Waits until the process has ended, without a limit.
  void waitForEnd() const;

  /// Waits until the process has ended, at most so long.
  void waitForEnd(unsigned milliseconds) const;

 private:
  std::unique_ptr<Handles> handles_;
};

/// What became of a start: the process, or Windows' error code.
struct StartResult {
  std::optional<Process> process;
  unsigned long error = 0;
};

/// Starts a program with a command line in the ANSI code page, in the current
/// folder and with this program's environment; handles are not inherited.
[[nodiscard]] StartResult startProcess(const std::string& commandLine);

/// As startProcess, in UTF-16; without a `folder` in the current one.
[[nodiscard]] StartResult startProcessWide(const std::wstring& commandLine,
                                           const wchar_t* folder = nullptr);

/// Id of the first running process with this image name (such as
/// L"LiveSplit.exe"; letter case does not matter), or 0 when there is none.
[[nodiscard]] unsigned long findProcessByName(const wchar_t* imageName);

/// Opens a running process to wait for its end; nothing when Windows refuses.
[[nodiscard]] std::optional<Process> openProcess(unsigned long processId);

// Code pages ----------------------------------------------------------------

/// A text of the ANSI code page in UTF-8; unchanged when a conversion yields nothing.
[[nodiscard]] std::string ansiToUtf8(const std::string& text);

/// A text of the ANSI code page in UTF-16; empty when the conversion yields nothing.
[[nodiscard]] std::wstring ansiToWide(const std::string& text);

/// A UTF-8 text in UTF-16; bytes that are no UTF-8 become U+FFFD. Empty when the
/// conversion yields nothing.
[[nodiscard]] std::wstring utf8ToWide(const std::string& text);

/// A UTF-16 text in UTF-8; empty when the conversion yields nothing.
[[nodiscard]] std::string wideToUtf8(const std::wstring& text);

// Player --------------------------------------------------------------------

/// The icon beside a message: something is wrong, or something is worth knowing.
enum class MessageIcon { error, information };

/// Shows a message box above all windows, captioned "KOV 周赛", and waits until
/// the player has closed it.
void showMessage(const std::wstring& text, MessageIcon icon);

/// Shows the plain result box, captioned "KOV", with the bytes of `text` as they
/// are: Windows reads them in the ANSI code page, whatever they were meant in.
void showPlainMessage(const std::string& text);

/// Opens an address in the default browser and returns when the browser has been started: the
/// program may end right after it. Failure is ignored, without a message.
void openInBrowser(const std::string& address);

// Time ----------------------------------------------------------------------

/// Local time of the player's machine; month and day begin at 1.
struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

/// The clock of the player's machine, in its time zone.
[[nodiscard]] LocalTime localTimeNow();

/// Does nothing for so long.
void sleepMilliseconds(unsigned milliseconds);

}  // namespace launcher
