// Files that stand for another file.
#pragma once

namespace platform::native {

/// Whether a regular file is an alias: a desktop entry of type Link (freedesktop.org, Desktop Entry 1.5). A
/// symbolic link is one too, which its kind tells. The Finder's aliases lead nowhere on this platform and are
/// ordinary files here; to ask every file for their flag, an extended attribute, would cost nearly
/// as much as the rest of a look at it.
bool isAliasRegularFile(const char* path);

}  // namespace platform::native
