#include "browsers/gobject/FileURLs.h"

#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::URL;
using platform::native::OwnedObject;
using platform::native::OwnedText;

URL urlOf(GFile* file, bool isFolder) {
  const OwnedText path(g_file_is_native(file) ? g_file_get_path(file) : nullptr);
  if (path) return URL::fileURLWithPath(path.get(), isFolder);
  const OwnedText text(g_file_get_uri(file));
  return URL::URLWithString(text.get());
}

URL folderURL(const char* uri) {
  const OwnedObject<GFile> folder(g_file_new_for_uri(uri));
  return urlOf(folder.get(), true);
}

}  // namespace browsers
