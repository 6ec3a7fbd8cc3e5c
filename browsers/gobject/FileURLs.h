// The URLs of files as browsers name them with GIO.
#pragma once

#include <gio/gio.h>

#include "platform/URL.h"

namespace browsers {

/// The URL of a file; of the desktop, the one of its folder. A file of another file system than the machine's own is no file URL.
platform::URL urlOf(GFile* file, bool isFolder);
/// Of a folder that stands as text.
platform::URL folderURL(const char* uri);

}  // namespace browsers
