#include "console/SettingsDiagnosis.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "wire/Settings.h"

using platform::Array;
using platform::Dictionary;
using platform::Object;
using platform::UserDefaults;

namespace {

// The head of a GVDB file: two signature words and a version, words of options, and where the root table begins and ends. A file
// of the other byte order has the signature's words turned around.
constexpr std::size_t headSize = 24;

std::uint32_t wordAt(std::string_view bytes, std::size_t offset, bool isBigEndian) {
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto byte = static_cast<std::uint8_t>(bytes[offset + (isBigEndian ? i : 3 - i)]);
    word = word << 8 | byte;
  }
  return word;
}

bool isDatabase(std::string_view head, std::uintmax_t size) {
  const bool isBigEndian = head.starts_with("raVGtnai");
  if (head.size() < headSize || (!isBigEndian && !head.starts_with("GVariant"))) return false;
  const std::uint32_t begin = wordAt(head, 16, isBigEndian), end = wordAt(head, 20, isBigEndian);
  return wordAt(head, 8, isBigEndian) == 0 && begin % 4 == 0 && begin <= end && end <= size;
}

std::size_t countIn(const Dictionary& lists, std::string_view list) {
  const Object* tags = lists.objectForKey(list);
  const Array* array = tags ? tags->get<Array>() : nullptr;
  return array ? array->size() : 0;
}

Finding findingOfItemList(const UserDefaults& settings, std::string_view key, const std::string& subject) {
  const Object& value = settings.objectForKey(key);
  if (value.isNil()) return Finding::ok(subject, "the default commands");
  const auto* lists = value.get<Dictionary>();
  if (!lists) return Finding::fault(subject, std::string(key) + " holds no item lists: choose the commands again in the host");
  const std::size_t root = countIn(*lists, wire::rootItems.key), more = countIn(*lists, wire::moreItems.key);
  if (root + more == 0) return Finding::fault(subject, "all commands are switched off: choose some in the host");
  return Finding::ok(subject, std::to_string(root) + " commands, " + std::to_string(more) + " below More");
}

Finding findingOfFolder(platform::FileManager& fileManager, const Object& bookmark) {
  const auto* data = bookmark.get<platform::Data>();
  bool isStale = false;
  platform::Error error;
  const auto url = fileManager.URLByResolvingBookmarkData(data ? platform::ByteView(*data) : platform::ByteView(),
                                                          platform::BookmarkResolutionWithoutUI, &isStale, &error);
  if (url) return Finding::ok("watched folder", url->path());
  return Finding::fault("watched folder", "one can no longer be found (" + error.domain + " " + std::to_string(error.code) +
                                              "): choose it again in the host");
}

}  // namespace

Finding findingOfSettingsService(const std::optional<std::vector<std::string>>& busNames) {
  constexpr const char *subject = "settings service", *name = "ca.desrt.dconf";
  if (!busNames) return Finding::unknown(subject, "the session bus does not tell of it: log in to a session, then ask again");
  if (std::ranges::find(*busNames, name) != busNames->end()) return Finding::ok(subject, std::string(name) + " is there");
  return Finding::fault(subject, "the session bus knows no " + std::string(name) +
                                     ", so that settings can be read but not changed: install dconf's service and log in again");
}

Finding findingOfSettingsFile(const std::string& configurationFolder, const std::string& profile) {
  constexpr const char* subject = "settings file";
  if (!profile.empty())
    return Finding::unknown(subject, "the profile " + profile + " says where it is: ask again with DCONF_PROFILE unset");
  const std::filesystem::path file = configurationFolder + "/dconf/user";
  std::error_code error;
  if (!std::filesystem::exists(file, error))
    return error ? Finding::unknown(subject,
                                    file.string() + " is out of reach (" + error.message() + "): let yourself into its folder")
                 : Finding::ok(subject, "none yet: nothing has been chosen");
  const auto size = std::filesystem::file_size(file, error);
  std::ifstream stream(file, std::ios::binary);
  std::string head(headSize, '\0');
  stream.read(head.data(), headSize);
  if (error || !stream.is_open() || stream.bad())
    return Finding::fault(subject, file.string() + " cannot be read: make it a file that you may read and write");
  head.resize(static_cast<std::size_t>(stream.gcount()));
  if (isDatabase(head, size)) return Finding::ok(subject, file.string());
  return Finding::fault(subject, file.string() + " is damaged: move it away, log in again and choose all settings anew");
}

std::vector<Finding> findingsOfChoices(platform::FileManager& fileManager, const UserDefaults& settings) {
  std::vector<Finding> findings;
  const Array* bookmarks = settings.arrayForKey(wire::SettingsKey::foldersPaths);
  if (!bookmarks || bookmarks->empty())
    findings.push_back(
        Finding::fault("watched folders", "none: contextual menus appear in watched folders only; choose some in the host"));
  else
    for (const Object& bookmark : *bookmarks) findings.push_back(findingOfFolder(fileManager, bookmark));
  findings.push_back(findingOfItemList(settings, wire::contextualMenu.itemLists, "contextual menus"));
  findings.push_back(findingOfItemList(settings, wire::toolbarMenu.itemLists, "toolbar button"));
  return findings;
}
