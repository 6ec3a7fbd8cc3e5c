// The files that come into folders, from an inotify instance of its own (inotify(7)). An instance watches a folder once, in whatever ways
// its path is written, so whoever shared one with the file browser would end the browser's watch with his own. Main thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"

namespace platform::native {

class NewFiles {
 public:
  /// `onFile` runs on the main loop with the path of each file that was written to its end, moved, renamed or linked into a watched
  /// folder; for a folder that is watched under several paths, the newest of them. `onLoss` runs when some came that nobody can name.
  NewFiles(std::function<void(const std::string& path)> onFile, std::function<void()> onLoss);

  /// Counted: a folder is watched until it was ended as often, by the same path. One that cannot be watched stays silent.
  void watch(const std::string& folder);
  void end(const std::string& folder);

 private:
  struct Watched {
    std::string folder;
    int number;  ///< The instance's own; the same for every path of a folder.
  };

  void readEvents();
  void tell(int number, unsigned kinds, const char* name);

  std::function<void(const std::string& path)> onFile_;
  std::function<void()> onLoss_;
  Descriptor events_;
  std::vector<Watched> watched_;  // the newest last
  MainLoopSource source_;
};

}  // namespace platform::native
