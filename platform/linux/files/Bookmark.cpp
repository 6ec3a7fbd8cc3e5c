#include "platform/linux/files/Bookmark.h"

#include <limits.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include "platform/linux/files/FileStatus.h"
#include "platform/linux/files/NearbySearch.h"
#include "platform/linux/files/PathText.h"

namespace platform::native {
namespace {

constexpr std::array<std::uint8_t, 5> start = {'D', 'T', 'B', 'M', 1};
constexpr std::size_t kindOffset = 5;
constexpr std::size_t lengthOffset = 6;
constexpr std::size_t identityOffset = 8;
constexpr std::size_t pathOffset = identityOffset + identityLength;
constexpr std::size_t checksumLength = 4;

std::uint32_t checksum(ByteView bytes) { return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size())); }

void append(Data& data, std::uint32_t number, int length) {
  for (int shift = 8 * (length - 1); shift >= 0; shift -= 8) data.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t numberIn(ByteView bytes) {
  std::uint32_t number = 0;
  for (const std::uint8_t byte : bytes) number = number << 8 | byte;
  return number;
}

struct Bookmark {
  std::string path;
  bool isDirectory;
  FileIdentity identity;
};

bool isRealPathText(std::string_view path) {
  return path.starts_with('/') && path.size() < PATH_MAX && (path.size() == 1 || !path.ends_with('/')) &&
         path.find('\0') == std::string_view::npos;
}

std::optional<Bookmark> decode(ByteView data) {
  if (data.size() < pathOffset + checksumLength) return std::nullopt;
  const ByteView checked = data.first(data.size() - checksumLength);
  const ByteView path = checked.subspan(pathOffset);
  const bool isWhole = std::ranges::equal(data.first(start.size()), start) && data[kindOffset] <= 1 &&
                       numberIn(data.subspan(lengthOffset, 2)) == path.size() &&
                       numberIn(data.last(checksumLength)) == checksum(checked);
  if (!isWhole) return std::nullopt;
  const auto identity = FileIdentity::withBytes(data.subspan(identityOffset, identityLength));
  Bookmark bookmark{std::string(path.begin(), path.end()), data[kindOffset] == 1, *identity};
  return isRealPathText(bookmark.path) ? std::optional(std::move(bookmark)) : std::nullopt;
}

std::optional<std::string> pathInRealFolder(const std::string& path) {
  const auto named = pathEndingInName(path);
  if (!named || *named == "/") return named;
  const auto folder = realPath(withoutLastComponent(*named));
  if (!folder) return std::nullopt;
  return (*folder == "/" ? "/" : *folder + "/") += lastComponent(*named);
}

}  // namespace

Result<Data, int> bookmarkOfFile(const std::string& path) {
  const auto real = pathInRealFolder(path);
  const auto status = real ? FileStatus::ofPath(real->c_str()) : std::nullopt;
  if (!status) return Failure{errno};
  const FileIdentity identity = status->identity();
  Data data(start.begin(), start.end());
  data.push_back(status->isDirectory() ? 1 : 0);
  append(data, static_cast<std::uint32_t>(real->size()), 2);
  data.insert(data.end(), identity.bytes().begin(), identity.bytes().end());
  data.insert(data.end(), real->begin(), real->end());
  append(data, checksum(data), checksumLength);
  return data;
}

std::optional<std::string> pathInBookmark(ByteView data) {
  auto bookmark = decode(data);
  return bookmark ? std::optional(std::move(bookmark->path)) : std::nullopt;
}

Result<ResolvedBookmark, int> resolveBookmark(ByteView data) {
  const auto bookmark = decode(data);
  if (!bookmark) return Failure{EINVAL};
  const auto status = FileStatus::ofPath(bookmark->path.c_str());
  const int failure = status ? ENOENT : errno;
  if (status && isSameFile(status->identity(), bookmark->identity)) {
    return ResolvedBookmark{bookmark->path, bookmark->isDirectory, false};
  }
  if (auto found = pathNearby(bookmark->path, bookmark->identity)) {
    return ResolvedBookmark{*std::move(found), bookmark->isDirectory, true};
  }
  if (status && status->isDirectory() == bookmark->isDirectory) {
    return ResolvedBookmark{bookmark->path, bookmark->isDirectory, true};
  }
  return Failure{failure};
}

}  // namespace platform::native
