#include "browsers/ShownFolders.h"

#include "browsers/Guarded.h"

namespace browsers {

// What a file that came unnamed was, the folders themselves tell: the extension looks through them again, and knows the others.
ShownFolders::ShownFolders(FinderSyncBrowser& browser)
    : browser_(browser),
      newFiles_([&browser](const std::string& path) { guarded([&] { browser.fileShown(URL::fileURLWithPath(path)); }); },
                [&browser] { guarded([&] { browser.showFoldersAgain(); }); }) {}

bool ShownFolders::opened(const URL& folder) {
  if (!browser_.folderOpened(folder)) return false;
  newFiles_.watch(folder.path());
  return true;
}

void ShownFolders::closed(const URL& folder) {
  browser_.folderClosed(folder);
  newFiles_.end(folder.path());
}

}  // namespace browsers
