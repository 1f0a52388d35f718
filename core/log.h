#pragma once

#include <string>

#if defined(__clang__)
#define KOV_PRINTF __attribute__((format(printf, 1, 2)))
#elif defined(__GNUC__)
#define KOV_PRINTF __attribute__((format(gnu_printf, 1, 2)))
#else
#define KOV_PRINTF
#endif

namespace launcher {

/// Opens the log at `path` (ANSI) for appending; it is created when missing and
/// what it holds stays. A file that cannot be opened is not reported: from then
/// on lines reach the console alone.
void openLog(const std::string& path);

/// Writes one line, without time or prefix, first to the log and then to the
/// console; the line feed is added here and, as everywhere in text files, written
/// as carriage return and line feed. The whole line reaches each in one write, at
/// once, however long it is. Texts go out as the bytes they are: UTF-8, but
/// for paths and a player name from launcher.ini, which stay in the ANSI code page. "%s"
/// values end at their first NUL. Write errors are ignored.
void logLine(const char* format, ...) KOV_PRINTF;

/// Writes to the console alone, in one write; no line feed is added.
void consolePrint(const char* format, ...) KOV_PRINTF;

/// Closes the log; later lines reach the console alone.
void closeLog();

}  // namespace launcher
