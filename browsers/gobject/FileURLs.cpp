#include "browsers/gobject/FileURLs.h"

#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::URL;
using platform::native::OwnedObject;
using platform::native::OwnedText;

namespace {

// The desktop as Caja names it: with the files of the desktop's folder, and some of its own.
bool isDesktop(GFile* file) {
  const OwnedText text(g_file_get_uri(file));
  return g_str_equal(text.get(), "x-caja-desktop:") || g_str_equal(text.get(), "x-caja-desktop:///");
}

}  // namespace

URL urlOf(GFile* file, bool isFolder) {
  const OwnedText path(g_file_is_native(file) ? g_file_get_path(file) : nullptr);
  if (path) return URL::fileURLWithPath(path.get(), isFolder);
  const char* const desktop = isDesktop(file) ? g_get_user_special_dir(G_USER_DIRECTORY_DESKTOP) : nullptr;
  if (desktop) return URL::fileURLWithPath(desktop, true);
  const OwnedText text(g_file_get_uri(file));
  return URL::URLWithString(text.get());
}

URL folderURL(const char* uri) {
  const OwnedObject<GFile> folder(g_file_new_for_uri(uri));
  return urlOf(folder.get(), true);
}

}  // namespace browsers
