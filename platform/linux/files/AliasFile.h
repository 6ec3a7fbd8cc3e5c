// Files that stand for another file.
#pragma once

namespace platform::native {

/// Whether a regular file is an alias: it bears the Finder's alias flag in its extended attributes (as copied
/// from a volume of that platform), or is a desktop entry of type Link (freedesktop.org, Desktop Entry 1.5). A
/// symbolic link is one too, which its kind tells.
bool isAliasRegularFile(const char* path);

}  // namespace platform::native
