// The folders that the user chose become the browser's watched set; what the browser shows in them becomes questions to the
// host, one for each regular file. No badge is ever set.
#include <unordered_set>

#include "core/DTDovetailSync.h"
#include "folders/URLFacts.h"
#include "wire/Messages.h"
#include "wire/Settings.h"

using platform::FileIdentity;
using platform::URL;

namespace {

std::string description(const platform::Error& error) {
  const std::string* text = error.textForKey(platform::LocalizedDescriptionKey);
  return error.domain + " " + std::to_string(error.code) + (text ? ": " + *text : "");
}

}  // namespace

void DTDovetailSync::updateFolders() {
  const auto* defaults = sharedApplicationGroupDefaults();
  const platform::Array* bookmarks = defaults ? defaults->arrayForKey(wire::SettingsKey::foldersPaths) : nullptr;
  std::vector<URL> folders;
  std::unordered_set<FileIdentity> members;
  for (const platform::Object& bookmark : bookmarks ? *bookmarks : platform::Array()) {
    const auto* data = bookmark.get<platform::Data>();
    bool isStale = false;  // a stale bookmark is used as it resolves
    platform::Error error;
    const auto url = platform_.fileManager.URLByResolvingBookmarkData(data ? platform::ByteView(*data) : platform::ByteView(),
                                                                      platform::BookmarkResolutionWithoutUI, &isStale, &error);
    if (!url) {
      log("updateFolders", description(error));
      continue;
    }
    const auto reference = platform_.fileManager.fileReferenceURL(*url);
    const auto identity = reference ? DTExtension::identifier(platform_.fileManager, *reference) : std::nullopt;
    if (identity && members.insert(*identity).second) folders.push_back(*reference);
  }
  platform_.finderSyncController.setDirectoryURLs(std::move(folders));
}

void DTDovetailSync::beginObservingDirectoryAtURL(const URL& url) {
  const auto folder = DTExtension::identifier(platform_.fileManager, url);
  if (!folder) return;
  URLSet& files = observedFiles_[*folder];
  // Asked in one go: a host that falls asleep between two questions has to be woken for each, which costs more than all the rest.
  std::vector<URL> questions;
  platform_.fileManager.seeEntriesOfDirectoryAtURL(url, [&](const URL& entry, const platform::FileSighting& sighting) {
    if (see(entry, sighting, questions)) files.insert(entry, sighting.identity, platform_.fileManager);
  });
  ask(questions);
}

void DTDovetailSync::requestBadgeIdentifierForURL(const URL& url) {
  const auto file = platform_.fileManager.sightingOfFile(url);
  std::vector<URL> questions;
  if (!file || !see(url, *file, questions)) return;
  ask(questions);
  const auto parent = DTExtension::parentUrl(platform_.fileManager, url);
  const auto folder = parent ? DTExtension::identifier(platform_.fileManager, *parent) : std::nullopt;
  if (folder) observedFiles_[*folder].insert(url, file->identity, platform_.fileManager);
}

// Whether the file is one to record: a file that is known already is, whatever its kind; a new one only when it is regular. A new
// one that the host is to be asked about is marked as asked, and added to the questions.
bool DTDovetailSync::see(const URL& url, const platform::FileSighting& file, std::vector<URL>& questions) {
  if (archives_.objectForKey(file.identity)) return true;
  const bool isToRecord = file.isRegularFile && !platform_.fileManager.isAliasRegularFile(url);
  const bool isToAsk = isToRecord && applicationPid_ > 0;
  if (isToAsk) questions.push_back(url);
  if (isToAsk || !isToRecord) archives_.setObject(nullptr, file.identity);
  return isToRecord;
}

void DTDovetailSync::ask(const std::vector<URL>& questions) {
  for (const URL& url : questions) {
    DTMessage request(wire::Selector::openArchive, url);
    sendMessage(request);
  }
}

// The record of a folder stays when the browser stops showing it: only the host's start clears it. For a folder whose identity
// cannot be read there is no key to remove either.
void DTDovetailSync::endObservingDirectoryAtURL(const URL&) {}
