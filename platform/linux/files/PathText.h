// Parts of absolute paths without a final slash, in the file system's bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::native {

/// What stands after the last slash; empty for the root folder.
std::string_view lastComponent(std::string_view path);
/// What stands before the last slash; "/" for the root folder and what is directly in it.
std::string withoutLastComponent(std::string_view path);

/// The path without symbolic links and dot segments (realpath(3)). Nothing with `errno` set on failure;
/// `errno` is 0 on success.
[[nodiscard]] std::optional<std::string> realPath(const std::string& path);
/// The path itself, or its real path when it ends in a dot segment and so has neither the file's name nor the
/// folder that contains it in its text.
[[nodiscard]] std::optional<std::string> pathEndingInName(const std::string& path);

}  // namespace platform::native
