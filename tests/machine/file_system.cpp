#include "tests/machine/file_system.h"

#include <algorithm>

namespace machine {
namespace {

constexpr std::size_t kLongestPath = 259;
constexpr std::size_t kLongestFolder = 247;
constexpr std::size_t kLongestName = 255;

bool isSlash(char16_t unit) { return unit == u'\\' || unit == u'/'; }

bool isLetter(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

bool hasDrive(std::u16string_view path) {
  return path.size() >= 2 && isLetter(path[0]) && path[1] == u':';
}

bool isInvalidUnit(char16_t unit) {
  return unit < 0x20 || unit == u'<' || unit == u'>' || unit == u':' || unit == u'"' ||
         unit == u'|' || unit == u'?' || unit == u'*';
}

bool isDevice(std::u16string_view name) {
  const Units base = upperCase(name.substr(0, std::min(name.find(u'.'), name.size())));
  for (const std::u16string_view device : {u"CON", u"PRN", u"AUX", u"NUL"}) {
    if (base == device) return true;
  }
  return base.size() == 4 && (base.starts_with(u"COM") || base.starts_with(u"LPT")) &&
         base[3] >= u'1' && base[3] <= u'9';
}

/// The parts between the slashes. A part loses one dot at its end, the last one every dot and
/// blank.
std::vector<Units> partsOf(std::u16string_view path) {
  std::vector<Units> parts;
  std::size_t at = 0;
  while (at < path.size()) {
    std::size_t end = at;
    while (end < path.size() && !isSlash(path[end])) ++end;
    Units part(path.substr(at, end - at));
    const bool last = end == path.size();
    at = end + 1;
    if (part == u"..") {
      if (!parts.empty()) parts.pop_back();
      continue;
    }
    if (part == u".") continue;
    if (last) {
      while (!part.empty() && (part.back() == u'.' || part.back() == u' ')) part.pop_back();
    } else if (!part.empty() && part.back() == u'.') {
      part.pop_back();
    }
    if (!part.empty()) parts.push_back(std::move(part));
  }
  return parts;
}

bool matches(std::u16string_view pattern, std::u16string_view name) {
  if (pattern.empty()) return name.empty();
  if (pattern[0] == u'*') {
    return matches(pattern.substr(1), name) || (!name.empty() && matches(pattern, name.substr(1)));
  }
  return !name.empty() && (pattern[0] == u'?' || pattern[0] == name[0]) &&
         matches(pattern.substr(1), name.substr(1));
}

}  // namespace

/// Where a path leads.
struct FileSystem::Place {
  Units key;          ///< whole path in upper case
  Units name;         ///< last part as it was asked for
  Units shown;        ///< whole path as it was asked for
  bool device = false;
  bool mustBeFolder = false;  ///< it ended in a slash

  [[nodiscard]] Units parentKey() const {
    const std::size_t last = key.rfind(u'\\');
    return key.substr(0, last == 2 ? 3 : last);
  }
};

/// What one machine has found out the next one knows; a thread forgets it when it is more than
/// usual runs ask for.
std::shared_ptr<FileSystem::Places> FileSystem::placesFrom(const Units& current) {
  constexpr std::size_t kMostFolders = 100;
  constexpr std::size_t kMostPlaces = 20000;
  thread_local std::map<Units, std::shared_ptr<Places>> known;
  if (known.size() > kMostFolders) known.clear();
  std::shared_ptr<Places>& places = known[current];
  if (!places || places->size() > kMostPlaces) places = std::make_shared<Places>();
  return places;
}

FileSystem::FileSystem() : places_(placesFrom(current_)) { addDrive('C'); }
FileSystem::~FileSystem() = default;

void FileSystem::addDrive(char letter) {
  const Units root = {static_cast<char16_t>(letter), u':', u'\\'};
  files_[root] = File{.name = root, .isFolder = true};
}

void FileSystem::setFull(char letter, bool full) {
  full_[static_cast<char16_t>(letter)] = full;
}

void FileSystem::setCurrentFolder(std::string_view path) {
  current_ = fromUtf8(path);
  places_ = placesFrom(current_);
}

const FileSystem::Place* FileSystem::place(const Units& asked) const {
  const auto [known, isNew] = places_->try_emplace(asked);
  if (isNew) known->second = findPlace(asked);
  return known->second.get();
}

std::unique_ptr<FileSystem::Place> FileSystem::findPlace(const Units& asked) const {
  const Units path = asked.substr(0, asked.find(u'\0'));
  if (path.empty() || path.starts_with(u"\\\\") || path.starts_with(u"//")) return nullptr;
  Place place;
  Units drive = current_.substr(0, 2);
  std::u16string_view rest = path;
  if (hasDrive(path)) {
    drive = path.substr(0, 2);
    rest.remove_prefix(2);
  }
  Units whole(rest);
  if (rest.empty() || !isSlash(rest[0])) {
    const bool sameDrive = upperCase(drive) == upperCase(current_.substr(0, 2));
    whole = (sameDrive ? current_.substr(2) : Units()) + u"\\" + whole;
  }
  const std::vector<Units> parts = partsOf(whole);
  place.shown = drive;
  for (const Units& part : parts) {
    if (part.size() > kLongestName) return nullptr;
    if (std::any_of(part.begin(), part.end(), isInvalidUnit)) return nullptr;
    place.shown += u"\\" + part;
  }
  if (parts.empty()) {
    place.shown += u"\\";
  } else {
    place.name = parts.back();
    place.device = isDevice(place.name);
    place.mustBeFolder = isSlash(path.back());
  }
  if (place.shown.size() > kLongestPath) return nullptr;
  place.key = upperCase(place.shown);
  return std::make_unique<Place>(std::move(place));
}

std::optional<Units> FileSystem::fullPath(const Units& path) const {
  const Place* found = place(path);
  if (!found) return std::nullopt;
  return found->shown;
}

const File* FileSystem::find(const Place& place) const {
  const auto hit = files_.find(place.key);
  if (hit == files_.end() || (place.mustBeFolder && !hit->second.isFolder)) return nullptr;
  return &hit->second;
}

File* FileSystem::find(const Place& place) {
  const auto hit = files_.find(place.key);
  if (hit == files_.end() || (place.mustBeFolder && !hit->second.isFolder)) return nullptr;
  return &hit->second;
}

FileError FileSystem::whyMissing(const Place& place) const {
  const auto parent = files_.find(place.parentKey());
  const bool inFolder = parent != files_.end() && parent->second.isFolder;
  return inFolder ? FileError::notFound : FileError::noFolder;
}

FileError FileSystem::mayCreate(const Place& place) const {
  const auto parent = files_.find(place.parentKey());
  if (parent == files_.end() || !parent->second.isFolder) return FileError::noFolder;
  if (place.mustBeFolder) return FileError::invalidName;
  return parent->second.denied ? FileError::denied : FileError::none;
}

bool FileSystem::isFull(const Place& place) const {
  const auto drive = full_.find(place.key[0]);
  return drive != full_.end() && drive->second;
}

bool FileSystem::exists(const Units& path) const {
  const Place* there = place(path);
  return there != nullptr && (there->device || find(*there) != nullptr);
}

std::optional<std::uint64_t> FileSystem::size(const Units& path) const {
  const Place* there = place(path);
  const File* file = there ? find(*there) : nullptr;
  if (!file) return std::nullopt;
  return file->bytes.size();
}

FileError FileSystem::read(const Units& path, std::string& bytes) const {
  const Place* there = place(path);
  if (!there) return FileError::invalidName;
  if (there->device) return there->key.ends_with(u"NUL") ? FileError::none : FileError::notFound;
  const File* file = find(*there);
  if (!file) return whyMissing(*there);
  if (file->isFolder || file->denied) return FileError::denied;
  if (file->sharing == Sharing::nothing) return FileError::shared;
  bytes = file->bytes;
  return FileError::none;
}

FileError FileSystem::openForWriting(const Units& path, File*& file) {
  const Place* there = place(path);
  if (!there) return FileError::invalidName;
  if (there->device) return there->key.ends_with(u"NUL") ? FileError::none : FileError::notFound;
  file = find(*there);
  if (file) {
    if (file->isFolder || file->readOnly || file->denied) return FileError::denied;
    const bool shared = file->sharing == Sharing::all || file->sharing == Sharing::noDelete;
    return shared ? FileError::none : FileError::shared;
  }
  if (const FileError why = mayCreate(*there); why != FileError::none) return why;
  file = &(files_[there->key] = File{.name = there->name});
  return FileError::none;
}

FileError FileSystem::write(const Units& path, std::string_view bytes) {
  File* file = nullptr;
  if (const FileError why = openForWriting(path, file); why != FileError::none) return why;
  if (file) file->bytes = isFull(*place(path)) ? "" : bytes;
  return FileError::none;
}

FileError FileSystem::append(const Units& path, std::string_view bytes) {
  File* file = nullptr;
  if (const FileError why = openForWriting(path, file); why != FileError::none) return why;
  if (file && !isFull(*place(path))) file->bytes += bytes;
  return FileError::none;
}

FileError FileSystem::createFolder(const Units& path) {
  const Place* asked = place(path);
  if (!asked || asked->device) return FileError::invalidName;
  Place there = *asked;
  there.mustBeFolder = false;
  if (there.shown.size() > kLongestFolder) return FileError::invalidName;
  if (find(there)) return FileError::exists;
  if (const FileError why = mayCreate(there); why != FileError::none) return why;
  if (isFull(there)) return FileError::full;
  files_[there.key] = File{.name = there.name, .isFolder = true};
  return FileError::none;
}

FileError FileSystem::removeFile(const Units& path) {
  const Place* there = place(path);
  if (!there || there->device) return FileError::invalidName;
  const File* file = find(*there);
  if (!file) return whyMissing(*there);
  if (file->isFolder || file->readOnly || file->denied) return FileError::denied;
  if (file->sharing != Sharing::all) return FileError::shared;
  files_.erase(there->key);
  return FileError::none;
}

FileError FileSystem::copy(const Units& source, const Units& target) {
  std::string bytes;
  if (const FileError why = read(source, bytes); why != FileError::none) return why;
  const Place* from = place(source);
  const Place* to = place(target);
  if (!to || to->device) return FileError::invalidName;
  if (from->key == to->key) return FileError::shared;
  const bool readOnly = !from->device && find(*from)->readOnly;
  File* file = nullptr;
  if (const FileError why = openForWriting(target, file); why != FileError::none) return why;
  if (isFull(*to) && !bytes.empty()) {
    files_.erase(to->key);  // what could not be copied whole is deleted again
    return FileError::full;
  }
  file->bytes = std::move(bytes);
  file->readOnly = readOnly;
  return FileError::none;
}

FileError FileSystem::list(const Units& pattern, std::vector<ListedFile>& found) const {
  const Units asked = pattern.substr(0, pattern.find(u'\0'));
  const std::size_t last = asked.find_last_of(u"\\/");
  const Units wanted = upperCase(last == Units::npos ? asked : asked.substr(last + 1));
  const Place* folder = place(last == Units::npos ? Units(u".") : asked.substr(0, last + 1));
  if (!folder || wanted.empty()) return FileError::invalidName;
  const File* listed = find(*folder);
  if (!listed || !listed->isFolder) return FileError::noFolder;
  if (listed->denied) return FileError::denied;
  const bool root = folder->name.empty();
  if (!root) {
    for (const Units& name : {Units(u"."), Units(u"..")}) {
      if (matches(wanted, name)) found.push_back({name, true, 0});
    }
  }
  const Units start = root ? folder->key : folder->key + u"\\";
  for (auto file = files_.upper_bound(start);
       file != files_.end() && file->first.starts_with(start); ++file) {
    const std::u16string_view name = std::u16string_view(file->first).substr(start.size());
    if (name.find(u'\\') != std::u16string_view::npos || !matches(wanted, name)) continue;
    found.push_back({file->second.name, file->second.isFolder, file->second.bytes.size()});
  }
  return found.empty() ? FileError::notFound : FileError::none;
}

File& FileSystem::make(std::string_view path, bool isFolder) {
  const Place& there = *place(fromUtf8(path));
  const auto parent = files_.find(there.parentKey());
  const bool isInFolder = parent != files_.end() && parent->second.isFolder;
  for (std::size_t slash = isInFolder ? Units::npos : there.key.find(u'\\', 3);
       slash != Units::npos; slash = there.key.find(u'\\', slash + 1)) {
    File& folder = files_[there.key.substr(0, slash)];
    if (folder.isFolder) continue;
    const std::size_t before = there.shown.rfind(u'\\', slash - 1);
    folder = File{.name = there.shown.substr(before + 1, slash - before - 1), .isFolder = true};
  }
  File& file = files_[there.key];
  if (file.name.empty()) file.name = there.name;
  file.isFolder = isFolder;
  return file;
}

File& FileSystem::makeFolder(std::string_view path) { return make(path, true); }

File& FileSystem::put(std::string_view path, std::string_view bytes) {
  File& file = make(path, false);
  file.bytes = bytes;
  return file;
}

void FileSystem::remove(std::string_view path) {
  const Place& there = *place(fromUtf8(path));
  files_.erase(there.key);
  const Units start = there.key + u"\\";
  auto file = files_.lower_bound(start);
  while (file != files_.end() && file->first.starts_with(start)) file = files_.erase(file);
}

File* FileSystem::at(std::string_view path) {
  const Place* there = place(fromUtf8(path));
  return there ? find(*there) : nullptr;
}

const File* FileSystem::at(std::string_view path) const {
  const Place* there = place(fromUtf8(path));
  return there ? find(*there) : nullptr;
}

std::optional<std::string> FileSystem::bytesOf(std::string_view path) const {
  const File* file = at(path);
  if (!file || file->isFolder) return std::nullopt;
  return file->bytes;
}

std::map<std::string, std::string> FileSystem::below(std::string_view path) const {
  std::map<std::string, std::string> all;
  const Place& there = *place(fromUtf8(path));
  const Units start = there.name.empty() ? there.key : there.key + u"\\";
  // By their keys, without the last slash.
  std::unordered_map<std::u16string_view, std::string> shownFolders = {
      {std::u16string_view(start).substr(0, start.size() - 1),
       toUtf8(there.name.empty() ? there.shown : there.shown + u"\\")}};
  for (auto file = files_.upper_bound(start);
       file != files_.end() && file->first.starts_with(start); ++file) {
    const std::u16string_view key = file->first;
    std::string shown = shownFolders[key.substr(0, key.rfind(u'\\'))];
    shown += toUtf8(file->second.name);
    if (file->second.isFolder) {
      shown += '\\';
      shownFolders[key] = shown;
    }
    all.emplace_hint(all.end(), std::move(shown), file->second.bytes);
  }
  return all;
}

bool FileSystem::hasBelow(std::string_view path, std::string_view bytes) const {
  const Units start = place(fromUtf8(path))->key + u"\\";
  for (auto file = files_.upper_bound(start);
       file != files_.end() && file->first.starts_with(start); ++file) {
    if (!file->second.isFolder && file->second.bytes == bytes) return true;
  }
  return false;
}

}  // namespace machine
