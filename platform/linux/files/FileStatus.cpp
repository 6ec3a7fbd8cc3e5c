#include "platform/linux/files/FileStatus.h"

#include <glib.h>

#include <array>

namespace platform::native {
namespace {

// From 1970-01-01 to 2001-01-01, both 00:00:00 UTC.
constexpr double referenceDateSinceEpoch = 978307200.0;

void putBigEndian(std::uint64_t number, std::uint8_t* bytes) {
  for (int i = 7; i >= 0; --i, number >>= 8) bytes[i] = static_cast<std::uint8_t>(number);
}

}  // namespace

Error posixError(int code) {
  Error error{std::string(POSIXErrorDomain), code, {}};
  error.setText(LocalizedDescriptionKey, g_strerror(code));
  return error;
}

std::optional<FileStatus> FileStatus::ofPath(const char* path, unsigned fields) { return ofEntry(AT_FDCWD, path, fields); }

std::optional<FileStatus> FileStatus::ofEntry(int folder, const char* name, unsigned fields) {
  FileStatus file;
  if (statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, fields, &file.status_) != 0) return std::nullopt;
  return file;
}

std::optional<FileStatus> FileStatus::ofDescriptor(int descriptor, unsigned fields) {
  FileStatus file;
  if (statx(descriptor, "", AT_EMPTY_PATH, fields, &file.status_) != 0) return std::nullopt;
  return file;
}

FileIdentity FileStatus::identity() const {
  const bool hasBirthTime = (status_.stx_mask & STATX_BTIME) != 0;
  const auto seconds = static_cast<std::uint64_t>(status_.stx_btime.tv_sec);
  std::array<std::uint8_t, identityLength> bytes;
  putBigEndian(std::uint64_t{status_.stx_dev_major} << 32 | status_.stx_dev_minor, &bytes[0]);
  putBigEndian(status_.stx_ino, &bytes[8]);
  putBigEndian(hasBirthTime ? seconds * 1'000'000'000u + status_.stx_btime.tv_nsec : ~std::uint64_t{0}, &bytes[16]);
  return *FileIdentity::withBytes(bytes);
}

std::optional<Date> FileStatus::birthDate() const {
  if ((status_.stx_mask & STATX_BTIME) == 0) return std::nullopt;
  return date(status_.stx_btime);
}

std::optional<std::uint64_t> FileStatus::mountIdentifier() const {
  if ((status_.stx_mask & STATX_MNT_ID) == 0) return std::nullopt;
  return status_.stx_mnt_id;
}

Date FileStatus::date(const statx_timestamp& time) {
  return {static_cast<double>(time.tv_sec) - referenceDateSinceEpoch + time.tv_nsec / 1e9};
}

}  // namespace platform::native
