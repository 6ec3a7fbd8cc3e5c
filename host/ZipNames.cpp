#include "host/ZipNames.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace {

constexpr std::string_view endMark = "PK\5\6", centralMark = "PK\1\2", localMark = "PK\3\4";
constexpr std::size_t endLength = 22, centralLength = 46, localLength = 30;
constexpr std::size_t longestComment = 65'535;
constexpr std::uint64_t longestDirectory = 256u << 20;
constexpr unsigned namesAreUTF8 = 1u << 11;

std::uint64_t littleEndian(std::string_view bytes, std::size_t start, std::size_t length) {
  std::uint64_t value = 0;
  for (std::size_t i = length; i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(bytes[start + i]);
  return value;
}

/// Nothing when the file ends before.
std::optional<std::string> bytesAt(int file, std::uint64_t start, std::size_t length) {
  std::string bytes(length, '\0');
  std::size_t done = 0;
  while (done < length) {
    const ssize_t count = pread(file, bytes.data() + done, length - done, static_cast<off_t>(start + done));
    if (count <= 0) return std::nullopt;
    done += static_cast<std::size_t>(count);
  }
  return bytes;
}

struct Directory {
  std::string bytes;
  std::uint64_t shift;  ///< Bytes before the zip, as of a program that unpacks itself: places in it count from behind them.
};

std::optional<Directory> centralDirectory(int file) {
  struct stat facts {};
  if (fstat(file, &facts) != 0 || facts.st_size < static_cast<off_t>(endLength)) return std::nullopt;
  const auto length = static_cast<std::uint64_t>(facts.st_size);
  const std::uint64_t tailLength = std::min<std::uint64_t>(length, endLength + longestComment);
  const auto tail = bytesAt(file, length - tailLength, tailLength);
  const std::size_t end = tail ? tail->rfind(endMark, tailLength - endLength) : std::string::npos;
  if (end == std::string::npos) return std::nullopt;
  const std::uint64_t size = littleEndian(*tail, end + 12, 4), start = littleEndian(*tail, end + 16, 4);
  const std::uint64_t endPlace = length - tailLength + end;
  if (size > longestDirectory || size > endPlace || start > endPlace - size) return std::nullopt;
  auto bytes = bytesAt(file, endPlace - size, size);
  if (!bytes) return std::nullopt;
  return Directory{*std::move(bytes), endPlace - size - start};
}

/// Where the headers of the entries stand.
std::optional<std::vector<std::uint64_t>> placesOfEntries(const Directory& directory) {
  std::vector<std::uint64_t> places;
  for (std::string_view rest = directory.bytes; !rest.empty();) {
    if (rest.size() < centralLength || !rest.starts_with(centralMark)) return std::nullopt;
    places.push_back(littleEndian(rest, 42, 4) + directory.shift);
    const std::size_t length = centralLength + littleEndian(rest, 28, 2) + littleEndian(rest, 30, 2) + littleEndian(rest, 32, 2);
    if (length > rest.size()) return std::nullopt;
    rest.remove_prefix(length);
  }
  std::ranges::sort(places);
  return places;
}

}  // namespace

std::vector<std::string> zipNamesThatAreNotUTF8(int file) {
  const auto directory = centralDirectory(file);
  const auto places = directory ? placesOfEntries(*directory) : std::nullopt;
  if (!places) return {};
  std::vector<std::string> names;
  for (const std::uint64_t place : *places) {
    const auto header = bytesAt(file, place, localLength);
    if (!header || !header->starts_with(localMark)) return {};
    if ((littleEndian(*header, 6, 2) & namesAreUTF8) == 0) continue;
    auto name = bytesAt(file, place + localLength, littleEndian(*header, 26, 2));
    if (!name) return {};
    if (!g_utf8_validate_len(name->data(), name->size(), nullptr)) names.push_back(*std::move(name));
  }
  return names;
}
