#include "platform/linux/FinderSyncBrowser.h"

#include <algorithm>

namespace platform::native {
namespace {

std::string parentPath(const std::string& path) { return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1)); }

}  // namespace

bool FinderSyncBrowser::folderOpened(const URL& folder) {
  const auto identity = fileManager_.fileResourceIdentifier(shownFolder(folder));
  if (!identity) return false;
  auto open = std::ranges::find(openFolders_, *identity, &OpenFolder::identity);
  if (open == openFolders_.end()) open = openFolders_.insert(open, {*identity, {}, std::nullopt, false});
  open->windows.push_back(folder);
  updateObservation(*open);
  return true;
}

bool FinderSyncBrowser::folderClosed(const URL& folder) {
  const auto open = openFolder(folder);
  if (open == openFolders_.end()) return false;
  const URL last = open->windows.size() == 1 ? folderNow(*open) : folder;
  const auto window = std::ranges::find_if(open->windows, [&](const URL& url) { return url.isSameText(folder); });
  open->windows.erase(window == open->windows.end() ? open->windows.end() - 1 : window);
  if (!open->windows.empty()) return true;
  const bool isObserved = open->isObserved;
  openFolders_.erase(open);
  if (isObserved && extension_) extension_->endObservingDirectoryAtURL(last);
  return true;
}

FinderSyncBrowser::OpenFolders::iterator FinderSyncBrowser::openedBy(const URL& folder) {
  return std::ranges::find_if(openFolders_, [&](const OpenFolder& candidate) {
    return std::ranges::any_of(candidate.windows, [&](const URL& url) { return url.isSameText(folder); });
  });
}

// By the URL first: the path may lead to another folder by now, or nowhere.
FinderSyncBrowser::OpenFolders::iterator FinderSyncBrowser::openFolder(const URL& folder) {
  const auto open = openedBy(folder);
  if (open != openFolders_.end()) return open;
  const auto identity = fileManager_.fileResourceIdentifier(shownFolder(folder));
  return identity ? std::ranges::find(openFolders_, *identity, &OpenFolder::identity) : openFolders_.end();
}

// A watched folder that was renamed is still known by what it is.
void FinderSyncBrowser::updateObservation(OpenFolder& folder) {
  const bool isWanted = watched_.contains(folder.identity) || (!watched_.empty() && isWatched(folderNow(folder)));
  if (!extension_ || isWanted == folder.isObserved) return;
  const URL url = folderNow(folder);
  folder.isObserved = isWanted;
  folder.reference = isWanted ? referenceOf(url) : std::nullopt;
  if (isWanted) {
    extension_->beginObservingDirectoryAtURL(url);
  } else {
    extension_->endObservingDirectoryAtURL(url);
  }
}

// A reference keeps its volume mounted, as the watched folders do theirs: no other volume is to be kept from being ejected.
std::optional<URL> FinderSyncBrowser::referenceOf(const URL& folder) {
  const auto volumeOf = [this](const URL& url) {
    const Object volume = fileManager_.resourceValueForKey(url, ResourceKey::volumeURL, nullptr);
    const auto* root = volume.get<URL>();
    return root ? root->path() : std::string();
  };
  const std::string volume = volumeOf(folder);
  const bool isHeld = std::ranges::any_of(directoryURLs_, [&](const URL& watched) { return volumeOf(watched) == volume; });
  return isHeld ? fileManager_.fileReferenceURL(folder) : std::nullopt;
}

URL FinderSyncBrowser::folderNow(const OpenFolder& open) {
  for (const URL& window : open.windows) {
    const URL folder = shownFolder(window);
    if (fileManager_.fileResourceIdentifier(folder) == open.identity) return folder;
  }
  const std::string path = open.reference ? open.reference->path() : "";
  return path.empty() ? open.windows.front() : URL::fileURLWithPath(path, true);
}

URL FinderSyncBrowser::folderNow(const URL& folder) {
  const auto open = openedBy(folder);
  return open == openFolders_.end() ? shownFolder(folder) : folderNow(*open);
}

std::optional<URL> FinderSyncBrowser::targetedURL() { return target_ ? std::optional(folderNow(*target_)) : std::nullopt; }

void FinderSyncBrowser::showFoldersAgain() {
  for (const OpenFolder& folder : openFolders_) {
    if (extension_ && folder.isObserved) extension_->beginObservingDirectoryAtURL(folderNow(folder));
  }
}

// The extension knows the file by one folder, in whatever way its windows lead there.
void FinderSyncBrowser::fileShown(const URL& file) {
  if (!extension_ || watched_.empty() || !file.isFileURL()) return;
  const auto open = openFolderOf(file);
  const URL item = open == openFolders_.end() ? file : folderNow(*open).URLByAppendingPathComponent(file.lastPathComponent());
  if (isWatched(item)) extension_->requestBadgeIdentifierForURL(item);
}

void FinderSyncBrowser::strayFileShown(const URL& file) {
  if (!watched_.empty() && file.isFileURL() && openFolderOf(file) == openFolders_.end()) fileShown(file);
}

FinderSyncBrowser::OpenFolders::iterator FinderSyncBrowser::openFolderOf(const URL& item) {
  return openedBy(URL::fileURLWithPath(parentPath(item.path()), true));
}

std::optional<Menu> FinderSyncBrowser::menuForMenuKind(MenuKind kind) {
  if (!extension_ || !isMenuWanted(kind)) return std::nullopt;
  return extension_->menuForMenuKind(kind);
}

// A contextual menu acts on the selection, and without one on the folder shown.
bool FinderSyncBrowser::isMenuWanted(MenuKind kind) {
  if (kind == MenuKind::toolbarItemMenu) return true;
  if (selection_.empty()) return target_ && !watched_.empty() && isWatched(folderNow(*target_));
  return std::ranges::all_of(selection_, [this](const URL& item) { return isWatched(item); });
}

void FinderSyncBrowser::itemChosen(const MenuItem& item) {
  if (extension_) extension_->sendAction(item);
}

bool FinderSyncBrowser::initFinderSync(FinderSync& extension) {
  if (extension_) return false;
  extension_ = &extension;
  return true;
}

void FinderSyncBrowser::deallocFinderSync(FinderSync& extension) {
  if (extension_ != &extension) return;
  extension_ = nullptr;
  for (OpenFolder& folder : openFolders_) {
    folder.isObserved = false;
    folder.reference.reset();
  }
}

void FinderSyncBrowser::setDirectoryURLs(std::vector<URL> urls) {
  directoryURLs_ = std::move(urls);
  watched_.clear();
  lastVerdict_.reset();
  for (const URL& folder : directoryURLs_) addWatched(folder);
  for (OpenFolder& folder : openFolders_) updateObservation(folder);
  if (onDirectoryURLs_) onDirectoryURLs_();
}

// A user who chose a symbolic link meant the folder that it shows.
void FinderSyncBrowser::addWatched(const URL& folder) {
  for (const URL& url : {folder, shownFolder(folder)}) {
    if (const auto identity = fileManager_.fileResourceIdentifier(url)) watched_.insert(*identity);
  }
}

bool FinderSyncBrowser::isWatched(const URL& item) {
  if (watched_.empty() || !item.isFileURL()) return false;
  const auto identity = fileManager_.fileResourceIdentifier(item);
  return identity && (watched_.contains(*identity) || isBelowWatched(item));
}

// Items come a folder at a time. The path alone would not do: another folder may have taken it.
bool FinderSyncBrowser::isBelowWatched(const URL& item) {
  std::string folderPath = parentPath(item.path());
  const auto folder = fileManager_.fileResourceIdentifier(URL::fileURLWithPath(folderPath, true));
  if (!lastVerdict_ || lastVerdict_->folderPath != folderPath || lastVerdict_->folder != folder) {
    lastVerdict_ = Verdict{std::move(folderPath), folder, isAncestorWatched(item)};
  }
  return lastVerdict_->isWatched;
}

// A reference tells the true path of this moment, links on the way resolved.
bool FinderSyncBrowser::isAncestorWatched(const URL& item) {
  const auto reference = fileManager_.fileReferenceURL(item);
  std::string path = reference ? reference->path() : "";
  while (path.size() > 1) {
    path = parentPath(path);
    if (isWatchedIdentity(URL::fileURLWithPath(path, true))) return true;
  }
  return false;
}

bool FinderSyncBrowser::isWatchedIdentity(const URL& url) {
  const auto identity = fileManager_.fileResourceIdentifier(url);
  return identity && watched_.contains(*identity);
}

// The entry "." of a link's path is the folder at its end (path_resolution(7)); a reference to it tells its own path.
URL FinderSyncBrowser::shownFolder(const URL& folder) {
  const Object isLink = fileManager_.resourceValueForKey(folder, ResourceKey::isSymbolicLink, nullptr);
  const bool* value = isLink.get<bool>();
  if (!value || !*value) return folder;
  URL entry = URL::fileURLWithPath(folder.path() + "/.", true);
  const auto reference = fileManager_.fileReferenceURL(entry);
  const std::string path = reference ? reference->path() : "";
  return path.empty() ? entry : URL::fileURLWithPath(path, true);
}

}  // namespace platform::native
