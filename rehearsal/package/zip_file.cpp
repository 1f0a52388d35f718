#include "rehearsal/package/zip_file.h"

#include <windows.h>

#include <algorithm>
#include <boost/beast/zlib/inflate_stream.hpp>
#include <boost/crc.hpp>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"

namespace rehearsal {

namespace {

constexpr std::size_t kLargestUnpacked = std::size_t{1} << 30;
constexpr std::string_view kEndMark = "PK\x05\x06";
constexpr std::string_view kListMark = "PK\x01\x02";
constexpr std::string_view kFileMark = "PK\x03\x04";
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kListSize = 46;
constexpr std::size_t kFileSize = 30;
constexpr unsigned kEncrypted = 1;
constexpr unsigned kUtf8Name = 0x800;

[[noreturn]] void damaged(const std::string& what) {
  throw std::runtime_error("the zip cannot be read: " + what);
}

std::string_view part(std::string_view bytes, std::size_t at, std::size_t size) {
  if (at > bytes.size() || size > bytes.size() - at) damaged("it is cut off");
  return bytes.substr(at, size);
}

/// The little-endian number of `size` bytes at a position.
std::uint32_t number(std::string_view bytes, std::size_t at, std::size_t size) {
  const std::string_view field = part(bytes, at, size);
  std::uint32_t value = 0;
  for (std::size_t i = size; i-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(field[i]);
  }
  return value;
}

/// Names from before UTF-8 are in the code page of the console.
std::string nameOf(std::string_view raw, bool utf8) {
  if (utf8 || stage::isUtf8(raw)) return std::string(raw);
  std::wstring wide(raw.size(), L'\0');
  const int length = MultiByteToWideChar(CP_OEMCP, 0, raw.data(), static_cast<int>(raw.size()),
                                         wide.data(), static_cast<int>(wide.size()));
  wide.resize(static_cast<std::size_t>(std::max(length, 0)));
  return stage::toUtf8(wide);
}

void checkName(std::string_view name) {
  const auto refuse = [&] { damaged("\"" + std::string(name) + "\" leads out of its folder"); };
  if (name.empty() || name.front() == '/') refuse();
  if (name.find(':') != std::string_view::npos || name.find('\0') != std::string_view::npos) {
    refuse();
  }
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t end = std::min(name.find('/', at), name.size());
    // Windows takes ".. ." for "..": it drops dots and blanks at the end of a name.
    if (end - at > 1 && name.substr(at, end - at).find_first_not_of(". ") == name.npos) refuse();
    at = end + 1;
  }
}

std::string inflated(std::string_view packed, std::size_t size) {
  namespace zlib = boost::beast::zlib;
  // One byte to spare shows a stream that is longer than the list says.
  std::string text(size + 1, '\0');
  zlib::inflate_stream stream;
  zlib::z_params state;
  state.next_in = packed.data();
  state.avail_in = packed.size();
  state.next_out = text.data();
  state.avail_out = text.size();
  boost::beast::error_code error;
  stream.write(state, zlib::Flush::finish, error);
  // The decoder may ask for more where a stream ends exactly; the checksum tells about the
  // content.
  const bool ended = !error || error == zlib::error::end_of_stream ||
                     error == zlib::error::need_buffers;
  if (!ended || state.avail_in != 0 || state.avail_out != 1) damaged("a file in it is damaged");
  text.pop_back();
  return text;
}

std::string unpacked(std::string_view bytes, std::string_view listed) {
  const unsigned method = number(listed, 10, 2);
  const std::size_t packedSize = number(listed, 20, 4);
  const std::size_t size = number(listed, 24, 4);
  const std::size_t at = number(listed, 42, 4);
  const std::string_view head = part(bytes, at, kFileSize);
  if (!head.starts_with(kFileMark)) damaged("its list points nowhere");
  const std::size_t start = at + kFileSize + number(head, 26, 2) + number(head, 28, 2);
  const std::string_view packed = part(bytes, start, packedSize);
  if (method != 0 && method != 8) damaged("a file in it is packed in an unusual way");
  if (method == 0 && size != packedSize) damaged("a file in it has two sizes");
  std::string text = method == 0 ? std::string(packed) : inflated(packed, size);
  boost::crc_32_type sum;
  sum.process_bytes(text.data(), text.size());
  if (sum.checksum() != number(listed, 16, 4)) damaged("a file in it has a wrong checksum");
  return text;
}

/// Where the record at the zip's end begins; a comment may follow it.
std::size_t endRecord(std::string_view bytes) {
  const std::size_t at = bytes.rfind(kEndMark);
  if (at == std::string_view::npos || bytes.size() - at < kEndSize) damaged("it is no zip");
  if (number(bytes, at + 4, 2) != 0) damaged("it spans several disks");
  return at;
}

}  // namespace

std::vector<ZipEntry> readZip(std::string_view bytes) {
  const std::size_t end = endRecord(bytes);
  const std::size_t count = number(bytes, end + 10, 2);
  std::size_t at = number(bytes, end + 16, 4);
  std::size_t total = 0;
  std::vector<ZipEntry> entries;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view listed = part(bytes, at, kListSize);
    if (!listed.starts_with(kListMark)) damaged("its list is damaged");
    const unsigned flags = number(listed, 8, 2);
    if ((flags & kEncrypted) != 0) damaged("it has a password");
    const std::size_t nameSize = number(listed, 28, 2);
    ZipEntry entry;
    entry.name = nameOf(part(bytes, at + kListSize, nameSize), (flags & kUtf8Name) != 0);
    std::replace(entry.name.begin(), entry.name.end(), '\\', '/');
    checkName(entry.name);
    total += number(listed, 24, 4);
    if (total > kLargestUnpacked) damaged("it holds more than 1 GB");
    if (!entry.name.ends_with('/')) entry.bytes = unpacked(bytes, listed);
    entries.push_back(std::move(entry));
    at += kListSize + nameSize + number(listed, 30, 2) + number(listed, 32, 2);
  }
  return entries;
}

std::string zipProblem(std::string_view bytes) {
  try {
    (void)readZip(bytes);
    return {};
  } catch (const std::exception& error) {
    return error.what();
  }
}

void unpackZip(const std::filesystem::path& zip, const std::filesystem::path& folder) {
  const std::optional<std::string> bytes = stage::readFile(zip);
  if (!bytes) throw std::runtime_error("there is no file " + stage::textOf(zip));
  for (const ZipEntry& entry : readZip(*bytes)) {
    const std::filesystem::path path = (folder / stage::pathOf(entry.name)).make_preferred();
    if (entry.name.ends_with('/')) {
      std::filesystem::create_directories(path);
    } else {
      stage::writeFile(path, entry.bytes);
    }
  }
}

}  // namespace rehearsal
