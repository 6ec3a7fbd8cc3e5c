#include "host/SettingsCommands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>

#include "host/ItemLists.h"
#include "platform/linux/files/Bookmark.h"
#include "platform/linux/files/PathText.h"
#include "wire/Settings.h"

using platform::JSON;
using platform::Object;
using platform::URL;
using platform::native::ExitStatus;
namespace SettingsKey = wire::SettingsKey;

namespace {

const std::map<std::string_view, wire::MenuSettings> menus{{"contextual", wire::contextualMenu}, {"toolbar", wire::toolbarMenu}};

std::optional<std::string_view> keyOfIcons(const std::string& word) {
  if (word == "archive") return SettingsKey::archiveIconsShown;
  const auto menu = menus.find(word);
  return menu == menus.end() ? std::nullopt : std::optional(menu->second.iconShown);
}

/// Where a folder of that path stands or stood: the links that are still there resolved.
std::string placeOfPath(const std::string& path) {
  std::error_code failure;
  std::string place = std::filesystem::weakly_canonical(path, failure);
  while (place.size() > 1 && place.ends_with('/')) place.pop_back();
  return place;
}

/// The folder itself, whatever links the path goes through; nothing when it is no folder.
std::optional<URL> folderAtPath(const std::string& path) {
  const auto real = platform::native::realPath(path);
  return real ? std::optional(URL::fileURLWithPath(*real, true)) : std::nullopt;
}

JSON flagJSON(const Object& value) {
  const auto* flag = value.get<bool>();
  return flag ? JSON(*flag) : JSON();
}

JSON listsJSON(const Object& value) {
  const auto lists = ItemLists::ofObject(value);
  return lists ? lists->json() : JSON();
}

}  // namespace

int SettingsCommands::run(const Words& words) {
  const std::string command = words.empty() ? "" : words[0];
  const Words rest(words.begin() + (words.empty() ? 0 : 1), words.end());
  if (command == "folders") return folders(rest);
  if (command == "items") return items(rest);
  if (command == "icons") return icons(rest);
  if (command == "settings") return printAll(rest);
  return program_.misuse("There is no command \"" + command + "\".");
}

int SettingsCommands::folders(const Words& words) {
  const std::string verb = words.empty() ? "" : words[0];
  const Words paths(words.begin() + (words.empty() ? 0 : 1), words.end());
  if (verb == "list" && paths.empty()) return listFolders();
  if (verb == "clear" && paths.empty()) return storeFolders({});
  if (verb == "add" && !paths.empty()) return addFolders(paths);
  if (verb == "remove" && !paths.empty()) return removeFolders(paths);
  return program_.misuse("Say: folders list, folders add PATH..., folders remove PATH... or folders clear.");
}

int SettingsCommands::listFolders() {
  for (const Folder& folder : storedFolders()) {
    std::cout << (folder.url                ? folder.url->path()
                  : folder.lastPath.empty() ? "(a folder that is gone)"
                                            : folder.lastPath + " (gone)")
              << '\n';
  }
  return ExitStatus::done;
}

int SettingsCommands::addFolders(const Words& paths) {
  std::vector<Folder> folders = storedFolders();
  for (const std::string& path : paths) {
    const auto folder = folderAtPath(path);
    if (!folder || !files_.resourceValueForKey(*folder, platform::ResourceKey::isDirectory, nullptr).get<bool>() ||
        !*files_.resourceValueForKey(*folder, platform::ResourceKey::isDirectory, nullptr).get<bool>())
      return program_.complain("\"" + path + "\" is no folder.");
    if (isStored(folders, *folder)) continue;
    platform::Error error;
    auto bookmark = files_.bookmarkDataWithURL(*folder, &error);
    if (!bookmark) return program_.complain("No bookmark of \"" + path + "\" can be made.");
    folders.push_back({Object(*std::move(bookmark)), folder, {}});
  }
  return storeFolders(folders);
}

int SettingsCommands::removeFolders(const Words& paths) {
  std::vector<Folder> folders = storedFolders();
  for (const std::string& path : paths) {
    const auto folder = folderAtPath(path);
    const auto identity = folder ? files_.fileResourceIdentifier(*folder) : std::nullopt;
    const std::string place = placeOfPath(path);
    const auto removed = std::erase_if(folders, [&](const Folder& stored) {
      return stored.url ? identity && files_.fileResourceIdentifier(*stored.url) == identity : stored.lastPath == place;
    });
    if (removed == 0) return program_.complain("\"" + path + "\" is no watched folder.");
  }
  return storeFolders(folders);
}

std::vector<SettingsCommands::Folder> SettingsCommands::storedFolders() {
  std::vector<Folder> folders;
  const platform::Array* bookmarks = settings_.arrayForKey(SettingsKey::foldersPaths);
  if (!bookmarks) return folders;
  for (const Object& bookmark : *bookmarks) folders.push_back(folderOfBookmark(bookmark));
  return folders;
}

SettingsCommands::Folder SettingsCommands::folderOfBookmark(const Object& bookmark) {
  const auto* data = bookmark.get<platform::Data>();
  if (!data) return {bookmark, std::nullopt, {}};
  bool isStale = false;
  platform::Error error;
  return {bookmark, files_.URLByResolvingBookmarkData(*data, platform::BookmarkResolutionWithoutUI, &isStale, &error),
          platform::native::pathInBookmark(*data).value_or("")};
}

bool SettingsCommands::isStored(const std::vector<Folder>& folders, const URL& folder) {
  const auto identity = files_.fileResourceIdentifier(folder);
  return identity && std::any_of(folders.begin(), folders.end(), [&](const Folder& stored) {
           return stored.url && files_.fileResourceIdentifier(*stored.url) == identity;
         });
}

int SettingsCommands::storeFolders(const std::vector<Folder>& folders) {
  platform::Array bookmarks;
  for (const Folder& folder : folders)
    if (folder.bookmark.get<platform::Data>()) bookmarks.push_back(folder.bookmark);
  // No folders are no value: an empty list would not tell of what kind its elements are.
  return store(bookmarks.empty() ? Object() : Object(std::move(bookmarks)), SettingsKey::foldersPaths);
}

int SettingsCommands::items(const Words& words) {
  const auto menu = words.empty() ? menus.end() : menus.find(words[0]);
  if (menu == menus.end()) return program_.misuse("Say which menu: items contextual or items toolbar.");
  const std::string_view key = menu->second.itemLists;
  const Words rest(words.begin() + 1, words.end());
  if (rest.empty() || rest == Words{"show"}) {
    const auto stored = ItemLists::ofObject(settings_.objectForKey(key));
    std::cout << (stored ? *stored : ItemLists::defaults()).text();
    return ExitStatus::done;
  }
  if (rest == Words{"reset"}) return store(Object(), key);
  const auto lists = ItemLists::ofWords(rest);
  return lists ? store(lists->object(), key) : program_.misuse(lists.reason());
}

int SettingsCommands::icons(const Words& words) {
  const auto key = words.size() == 2 ? keyOfIcons(words[0]) : std::nullopt;
  if (!key || (words[1] != "on" && words[1] != "off")) return program_.misuse("Say: icons archive|contextual|toolbar on|off.");
  return store(Object(words[1] == "on"), *key);
}

int SettingsCommands::printAll(const Words& words) {
  if (!words.empty()) return program_.misuse("The command settings stands alone.");
  JSON::ArrayValue folders;
  for (const Folder& folder : storedFolders()) folders.push_back(folder.url ? JSON(folder.url->path()) : JSON());
  const auto version = settings_.stringForKey(SettingsKey::applicationVersion);
  JSON all;
  all.set(SettingsKey::applicationVersion, version ? JSON(*version) : JSON());
  all.set(SettingsKey::archiveIconsShown, flagJSON(settings_.objectForKey(SettingsKey::archiveIconsShown)));
  for (const auto& [word, menu] : menus) {
    all.set(menu.itemLists, listsJSON(settings_.objectForKey(menu.itemLists)));
    all.set(menu.iconShown, flagJSON(settings_.objectForKey(menu.iconShown)));
  }
  all.set(SettingsKey::foldersPaths, settings_.arrayForKey(SettingsKey::foldersPaths) ? JSON(std::move(folders)) : JSON());
  all.set(SettingsKey::menuBarIconShown, flagJSON(settings_.objectForKey(SettingsKey::menuBarIconShown)));
  std::cout << all.text() << '\n';
  return ExitStatus::done;
}

int SettingsCommands::store(const Object& value, std::string_view key) {
  const auto written = writer_.setObject(value, key);
  if (written) return ExitStatus::done;
  const std::string* reason = written.reason().textForKey(platform::LocalizedDescriptionKey);
  return program_.complain("The setting cannot be written: " + (reason ? *reason : written.reason().domain));
}
