#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tests/machine/code_page.h"

namespace machine {

/// Why Windows refuses, as its error codes.
enum class FileError : unsigned {
  none = 0,
  notFound = 2,
  noFolder = 3,
  denied = 5,
  shared = 32,
  full = 112,
  invalidName = 123,
  exists = 183,
};

/// What a program that holds a file open leaves to others.
enum class Sharing {
  all,         ///< it is not held, or everything is allowed
  noDelete,    ///< others may read and write
  readOnly,    ///< others may read
  nothing,
};

/// A file or a folder.
struct File {
  Units name;  ///< as it was created
  bool isFolder = false;
  bool readOnly = false;
  bool denied = false;  ///< the user may not touch it
  Sharing sharing = Sharing::all;
  std::string bytes = {};
};

/// One entry of a listing.
struct ListedFile {
  Units name;
  bool isFolder = false;
  std::uint64_t bytes = 0;
};

/// Drives, folders and files, with Windows' rules for their names: case does not matter,
/// both slashes divide, dots and blanks at a name's end are dropped, "<>:\"|?*" and control
/// characters are in no name, NUL and its like are no files, a path has at most 259
/// characters and that of a new folder 247. A path without a drive is on the current one.
class FileSystem {
 public:
  /// A machine with an empty drive C:, which is the current one.
  FileSystem();
  ~FileSystem();
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;

  // Setting up and looking, by paths in UTF-8. Folders on the way are made.

  void addDrive(char letter);
  /// From now on the drive takes no more bytes, or takes them again.
  void setFull(char letter, bool full = true);
  void setCurrentFolder(std::string_view path);
  File& makeFolder(std::string_view path);
  File& put(std::string_view path, std::string_view bytes);
  void remove(std::string_view path);
  /// The file or folder; nullptr when there is none.
  [[nodiscard]] File* at(std::string_view path);
  [[nodiscard]] const File* at(std::string_view path) const;
  [[nodiscard]] std::optional<std::string> bytesOf(std::string_view path) const;
  /// Every file below a folder, by its whole path in UTF-8, with its bytes; folders end in a
  /// backslash.
  [[nodiscard]] std::map<std::string, std::string> below(std::string_view path) const;
  /// Whether a file below a folder has exactly these bytes.
  [[nodiscard]] bool hasBelow(std::string_view path, std::string_view bytes) const;

  // What Windows does, by paths in UTF-16.

  [[nodiscard]] bool exists(const Units& path) const;
  /// The size of a file, 0 for a folder.
  [[nodiscard]] std::optional<std::uint64_t> size(const Units& path) const;
  /// The bytes of a file that can be opened for reading.
  [[nodiscard]] FileError read(const Units& path, std::string& bytes) const;
  /// Opens for writing, which empties the file or makes it, and writes what the disk takes.
  FileError write(const Units& path, std::string_view bytes);
  /// Opens to append and appends what the disk takes.
  FileError append(const Units& path, std::string_view bytes);
  FileError createFolder(const Units& path);
  FileError removeFile(const Units& path);
  FileError copy(const Units& source, const Units& target);
  /// What matches a pattern in its last part ("*", "*.json"), ordered by the names in upper
  /// case as NTFS keeps them, "." and ".." first.
  [[nodiscard]] FileError list(const Units& pattern, std::vector<ListedFile>& found) const;
  /// The path in full: drive, one backslash between its parts, as it was asked for. Nothing
  /// for one that can name no file.
  [[nodiscard]] std::optional<Units> fullPath(const Units& path) const;

 private:
  struct Place;
  using Places = std::unordered_map<Units, std::unique_ptr<Place>>;
  [[nodiscard]] static std::shared_ptr<Places> placesFrom(const Units& current);
  /// Where a path leads; nullptr for one that can name no file.
  [[nodiscard]] const Place* place(const Units& path) const;
  [[nodiscard]] std::unique_ptr<Place> findPlace(const Units& path) const;
  [[nodiscard]] const File* find(const Place& place) const;
  [[nodiscard]] File* find(const Place& place);
  [[nodiscard]] FileError whyMissing(const Place& place) const;
  [[nodiscard]] FileError mayCreate(const Place& place) const;
  [[nodiscard]] FileError openForWriting(const Units& path, File*& file);
  [[nodiscard]] bool isFull(const Place& place) const;
  File& make(std::string_view path, bool isFolder);

  std::map<Units, File> files_;  ///< by path in upper case
  std::map<char16_t, bool> full_;
  Units current_ = u"C:\\";
  /// What place() found, which depends on the text and the current folder alone: the machines
  /// of thousands of worlds share it.
  std::shared_ptr<Places> places_;
};

}  // namespace machine
