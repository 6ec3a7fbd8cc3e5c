#include "browsers/ShownFolders.h"

#include "browsers/Guarded.h"

namespace browsers {

using platform::native::OwnedText;

ShownFolders::~ShownFolders() {
  for (const auto& [path, shown] : shown_) {
    if (shown.monitor) g_signal_handlers_disconnect_by_data(shown.monitor.get(), this);
  }
}

bool ShownFolders::opened(const URL& folder) {
  if (!browser_.folderOpened(folder)) return false;
  Shown& shown = shown_[folder.path()];
  if (shown.windows++ == 0) startMonitor(shown, folder.path());
  return true;
}

void ShownFolders::closed(const URL& folder) {
  browser_.folderClosed(folder);
  const auto shown = shown_.find(folder.path());
  if (shown == shown_.end() || --shown->second.windows > 0) return;
  if (shown->second.monitor) g_signal_handlers_disconnect_by_data(shown->second.monitor.get(), this);
  shown_.erase(shown);
}

void ShownFolders::startMonitor(Shown& shown, const std::string& path) {
  const OwnedObject<GFile> folder(g_file_new_for_path(path.c_str()));
  shown.monitor.reset(g_file_monitor_directory(folder.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr));
  if (shown.monitor) g_signal_connect(shown.monitor.get(), "changed", G_CALLBACK(changed), this);
}

// A file that is being written is told of when it is complete: the host is asked about it once.
void ShownFolders::changed(GFileMonitor*, GFile* file, GFile* other, GFileMonitorEvent event, gpointer self) {
  guarded([&] {
    auto& folders = *static_cast<ShownFolders*>(self);
    if (event == G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT || event == G_FILE_MONITOR_EVENT_MOVED_IN) folders.fileCame(file);
    if (event == G_FILE_MONITOR_EVENT_RENAMED && other) folders.fileCame(other);
  });
}

void ShownFolders::fileCame(GFile* file) {
  const OwnedText path(g_file_get_path(file));
  if (path) browser_.fileShown(URL::fileURLWithPath(path.get(), false));
}

}  // namespace browsers
