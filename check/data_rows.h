#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "check/finding.h"

namespace launcher::check {

/// A file of an earlier run that the next run would send or overwrite.
enum class Leftover {
  none,
  finished,    ///< a run with an ending
  unfinished,
};

/// What was found out about the data folder. Paths are for showing, in UTF-8.
struct DataFacts {
  bool isSet = true;            ///< launcher.ini names a data folder
  std::string data = {};
  std::size_t ansiBytes = 0;    ///< length of its path in the ANSI code page
  bool exists = true;
  bool isFile = false;          ///< a file of that name is in the way
  bool canCreate = true;        ///< when it does not exist: its parent takes a new folder
  bool canWrite = true;         ///< when it exists: a file was written, read back and removed
  std::optional<std::uint64_t> freeBytes = {};
  bool receiptFolderExists = true;
  std::string receiptFolder = {};
  Leftover modResult = Leftover::none;
  Leftover receipt = Leftover::none;
  std::string receiptFile = {};
};

/// The rows of the stage "data folder".
[[nodiscard]] Findings dataRows(const DataFacts& facts, Language language);

}  // namespace launcher::check
