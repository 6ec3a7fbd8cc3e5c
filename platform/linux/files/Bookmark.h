// Bookmarks: a file's path and identity as bytes to keep, found again after it was moved or renamed nearby.
//
// Format, version 1, numbers with the highest byte first:
//   0  4 bytes   "DTBM"
//   4  1 byte    1, the version
//   5  1 byte    1 for a folder, else 0
//   6  2 bytes   N, the path's length in bytes, at most 4095
//   8  24 bytes  the identity (platform/linux/files/FileStatus.h)
//  32  N bytes   the path: absolute, real, without a final slash (but for "/"), without NUL
//  32+N 4 bytes  CRC-32 (ISO 3309, as in zlib) of all bytes before
#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/Result.h"

namespace platform::native {

struct ResolvedBookmark {
  std::string path;
  bool isDirectory = false;
  bool isStale = false;  ///< The path or the identity is not the bookmark's: it should be made anew.
};

/// Fails with the errno when there is no such file.
Result<Data, int> bookmarkOfFile(const std::string& path);

/// The path as it was when the bookmark was made, whatever stands there now. Nothing for bytes that are no bookmark.
std::optional<std::string> pathInBookmark(ByteView bookmark);

/// In this order: the file at the path, if it is the same; the same file elsewhere nearby (NearbySearch.h);
/// another file of the same kind that took the path. Else fails with an errno, EINVAL for bytes that are no
/// bookmark.
Result<ResolvedBookmark, int> resolveBookmark(ByteView bookmark);

}  // namespace platform::native
