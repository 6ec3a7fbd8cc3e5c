// The folders that a browser shows and the files that come into them: a browser's own word on each file would cost it another look at
// each. Main thread only.
#pragma once

#include <gio/gio.h>

#include <map>
#include <string>

#include "platform/linux/FinderSyncBrowser.h"
#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::URL;
using platform::native::FinderSyncBrowser;
using platform::native::OwnedObject;

class ShownFolders {
 public:
  /// The browser outlives the object.
  explicit ShownFolders(FinderSyncBrowser& browser) : browser_(browser) {}
  ~ShownFolders();
  ShownFolders(const ShownFolders&) = delete;

  /// A window, tab or pane shows the folder, or no longer does. False for a folder that is gone; nothing changes then.
  bool opened(const URL& folder);
  void closed(const URL& folder);

 private:
  struct Shown {
    OwnedObject<GFileMonitor> monitor;  ///< Null where the folder cannot be watched.
    std::size_t windows = 0;
  };

  static void changed(GFileMonitor*, GFile* file, GFile* other, GFileMonitorEvent event, gpointer self);
  void startMonitor(Shown& shown, const std::string& path);
  void fileCame(GFile* file);

  FinderSyncBrowser& browser_;
  std::map<std::string, Shown> shown_;  // by path
};

}  // namespace browsers
