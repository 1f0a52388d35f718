#include "check/notes.h"

#include "check/system.h"
#include "core/file_io.h"
#include "core/paths.h"

namespace launcher::check {

std::string readNotes(const std::string& dataFolder) {
  return readWholeFile(inDataFolder(dataFolder, kNotesFile));
}

void appendNote(const std::string& dataFolder, const std::string& line) {
  (void)replaceFile(inDataFolder(dataFolder, kNotesFile), readNotes(dataFolder) + line);
}

}  // namespace launcher::check
