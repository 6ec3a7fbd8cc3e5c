// The folders that a browser shows and the files that come into them: a browser's own word on each file would cost it another look at
// each. Main thread only.
#pragma once

#include "platform/linux/FinderSyncBrowser.h"
#include "platform/linux/files/NewFiles.h"

namespace browsers {

using platform::URL;
using platform::native::FinderSyncBrowser;
using platform::native::NewFiles;

class ShownFolders {
 public:
  /// The browser outlives the object.
  explicit ShownFolders(FinderSyncBrowser& browser);
  ShownFolders(const ShownFolders&) = delete;

  /// A window, tab or pane shows the folder, or no longer does. False for a folder that is gone; nothing changes then.
  bool opened(const URL& folder);
  void closed(const URL& folder);
  /// A file is shown, maybe among those of many folders.
  void fileShown(const URL& file) { browser_.strayFileShown(file); }

 private:
  FinderSyncBrowser& browser_;
  NewFiles newFiles_;
};

}  // namespace browsers
