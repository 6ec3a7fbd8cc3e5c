// The file browser as the extension sees it, and the one place of the platform's rule: contextual menus, the begin and end of showing
// a folder, and badge requests only for what is a watched folder or below one; the toolbar button's menu always. An adapter
// tells it what its windows show and asks it for menus. Main thread only; the extension and the file manager outlive
// every call.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/FileManager.h"
#include "platform/FinderSync.h"

namespace platform::native {

class FinderSyncBrowser final : public FinderSyncController {
 public:
  explicit FinderSyncBrowser(FileManager& fileManager) : fileManager_(fileManager) {}

  // ---- The adapter's side

  /// What the next menu acts on: the selected items, else the folder whose background is shown. Nothing is asked of the files
  /// before a menu is.
  void setSelectedItemURLs(std::vector<URL> urls) { selection_ = std::move(urls); }
  void setTargetedURL(std::optional<URL> url) { target_ = std::move(url); }

  /// A window, tab or pane shows the folder, or no longer does. The extension hears of the first and of the last one only, and in
  /// place of a symbolic link of the folder that it leads to. A folder is the same in whatever way its path is written; one that was
  /// renamed or removed meanwhile is closed by the URL that it was opened by. False for a folder that is gone, or that was not open;
  /// nothing changes then.
  bool folderOpened(const URL& folder);
  bool folderClosed(const URL& folder);
  /// The extension has found a host, and forgotten what it was shown before that one came: the open folders begin again.
  void showFoldersAgain();
  /// The browser is about to show an item of an open folder, under the path that the folder was opened by.
  void fileShown(const URL& file);
  /// The same of an item that may be of a folder that is not open, as what a search finds. Nothing for an open folder's, which are shown
  /// with it, or once they are complete.
  void strayFileShown(const URL& file);

  /// The extension's part of a menu, or nothing.
  std::optional<Menu> menuForMenuKind(MenuKind kind);
  /// The user chose an item of a menu given before.
  void itemChosen(const MenuItem& item);

  /// Whether the item is a watched folder or below one, by what it is and where it really lies: a symbolic link to it counts for
  /// nothing, a link on the way to it is followed. False for an item that is gone. Costs nothing while no folder is watched,
  /// otherwise two questions for each further item of the same folder.
  bool isWatched(const URL& item);

  const std::vector<URL>& directoryURLs() const { return directoryURLs_; }
  /// Runs after each replacement of the watched set, when the extension was told of the open folders that entered or left it.
  void setOnDirectoryURLs(std::function<void()> handler) { onDirectoryURLs_ = std::move(handler); }

  // ---- The extension's side

  bool initFinderSync(FinderSync& extension) override;
  void deallocFinderSync(FinderSync& extension) override;
  std::vector<URL> selectedItemURLs() override { return selection_; }
  /// Where the folder that was set is now: an open one is followed when it or a folder above it is renamed.
  std::optional<URL> targetedURL() override;
  void setDirectoryURLs(std::vector<URL> urls) override;

 private:
  struct OpenFolder {
    FileIdentity identity;
    std::vector<URL> windows;      ///< The URL that each of them opened the folder by.
    std::optional<URL> reference;  ///< Follows it while it is observed.
    bool isObserved;               ///< The extension was told of its begin and not of its end.
  };
  using OpenFolders = std::vector<OpenFolder>;
  /// Whether the folder that holds an item is watched; the answer serves for its other items.
  struct Verdict {
    std::string folderPath;
    std::optional<FileIdentity> folder;
    bool isWatched;
  };

  URL shownFolder(const URL& folder);
  URL folderNow(const URL& folder);
  URL folderNow(const OpenFolder& open);
  std::optional<URL> referenceOf(const URL& folder);
  bool isWatchedIdentity(const URL& url);
  bool isBelowWatched(const URL& item);
  bool isAncestorWatched(const URL& item);
  bool isMenuWanted(MenuKind kind);
  void addWatched(const URL& folder);
  void updateObservation(OpenFolder& folder);
  OpenFolders::iterator openFolder(const URL& folder);
  OpenFolders::iterator openedBy(const URL& folder);
  OpenFolders::iterator openFolderOf(const URL& item);

  FileManager& fileManager_;
  FinderSync* extension_ = nullptr;
  std::vector<URL> selection_;
  std::optional<URL> target_;
  std::vector<URL> directoryURLs_;
  std::unordered_set<FileIdentity> watched_;
  std::optional<Verdict> lastVerdict_;
  OpenFolders openFolders_;
  std::function<void()> onDirectoryURLs_;
};

}  // namespace platform::native
