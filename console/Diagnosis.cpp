#include "console/Diagnosis.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

#include "core/ApplicationGroup.h"
#include "wire/Settings.h"

using platform::Array;
using platform::Dictionary;
using platform::Object;
using platform::Platform;
using platform::UserDefaults;

namespace {

Finding good(std::string subject, std::string text) { return {false, std::move(subject), std::move(text)}; }
Finding fault(std::string subject, std::string text) { return {true, std::move(subject), std::move(text)}; }

// ---- The host

Finding hostFinding(const Platform& services) {
  const std::string identifier = services.mainBundle.hostBundleIdentifier();
  const auto running = services.runningApplications.runningApplicationsWithBundleIdentifier(identifier);
  if (running.empty()) return fault("host", identifier + " is not running: start it");
  if (running.size() > 1) return fault("host", identifier + " is running more than once: end all but one");
  return good("host", identifier + " runs as process " + std::to_string(running.front().processIdentifier));
}

Finding versionFinding(const Platform& services, const UserDefaults& settings) {
  const auto own = services.mainBundle.objectForInfoDictionaryKey(platform::BundleVersionKey).value_or("");
  const auto host = settings.stringForKey(wire::SettingsKey::applicationVersion);
  if (!host) return fault("version", "the host has never written its version into the settings: start it");
  if (*host != own)
    return fault("version", "the host is of build " + *host + ", the extension of " + own + ": install both of one build");
  return good("version", "both of build " + own);
}

// ---- The settings

void addFolderFindings(std::vector<Finding>& findings, const Platform& services, const UserDefaults& settings) {
  const Array* bookmarks = settings.arrayForKey(wire::SettingsKey::foldersPaths);
  if (!bookmarks || bookmarks->empty()) {
    findings.push_back(fault("watched folders", "none: contextual menus appear in watched folders only; choose some in the host"));
    return;
  }
  for (const Object& bookmark : *bookmarks) {
    const auto* data = bookmark.get<platform::Data>();
    bool isStale = false;
    platform::Error error;
    const auto url = services.fileManager.URLByResolvingBookmarkData(data ? platform::ByteView(*data) : platform::ByteView(),
                                                                     platform::BookmarkResolutionWithoutUI, &isStale, &error);
    findings.push_back(url ? good("watched folder", url->path())
                           : fault("watched folder", "one can no longer be found (" + error.domain + " " +
                                                         std::to_string(error.code) + "): choose it again in the host"));
  }
}

std::size_t countIn(const Dictionary& lists, std::string_view list) {
  const Object* tags = lists.objectForKey(list);
  const Array* array = tags ? tags->get<Array>() : nullptr;
  return array ? array->size() : 0;
}

Finding itemListFinding(const UserDefaults& settings, std::string_view key, const std::string& subject) {
  const Object& value = settings.objectForKey(key);
  if (value.isNil()) return good(subject, "the default commands");
  const auto* lists = value.get<Dictionary>();
  if (!lists) return fault(subject, std::string(key) + " holds no item lists: choose the commands again in the host");
  const std::size_t root = countIn(*lists, wire::rootItems.key), more = countIn(*lists, wire::moreItems.key);
  if (root + more == 0) return fault(subject, "all commands are switched off: choose some in the host");
  return good(subject, std::to_string(root) + " commands, " + std::to_string(more) + " below More");
}

// ---- The browsers

std::string firstLineOf(const std::filesystem::path& file) {
  std::string line;
  std::ifstream stream(file);
  std::getline(stream, line);
  return line;
}

bool hasMapped(const std::filesystem::path& process, std::string_view file) {
  std::ifstream maps(process / "maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(file) || line.ends_with(std::string(file) + " (deleted)")) return true;
  }
  return false;
}

std::vector<std::filesystem::path> processesNamed(const std::string& name, const std::string& processes) {
  std::vector<std::filesystem::path> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(processes, error)) {
    const std::string number = entry.path().filename();
    if (number.find_first_not_of("0123456789") != std::string::npos) continue;
    if (firstLineOf(entry.path() / "comm") == name) found.push_back(entry.path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

std::vector<Finding> findingsOfServices(const Platform& services, bool hasBus) {
  std::vector<Finding> findings;
  const auto group = copyApplicationGroup(services.security);
  findings.push_back(group ? good("application group", *group) : fault("application group", std::string(group.reason())));
  findings.push_back(hasBus ? good("session bus", "reached") : fault("session bus", "none can be reached: log in to a session"));
  findings.push_back(hostFinding(services));
  const auto settings = group ? services.userDefaultsSuites.initWithSuiteName(*group) : nullptr;
  if (!settings) {
    findings.push_back(fault("settings", "there are none to be shared with the host: all menus are empty"));
    return findings;
  }
  findings.push_back(versionFinding(services, *settings));
  addFolderFindings(findings, services, *settings);
  findings.push_back(itemListFinding(*settings, wire::contextualMenu.itemLists, "contextual menus"));
  findings.push_back(itemListFinding(*settings, wire::toolbarMenu.itemLists, "toolbar button"));
  return findings;
}

std::vector<BrowserPlace> builtBrowsers() {
  std::vector<BrowserPlace> browsers;
  std::string_view rest = DOVETAIL_BROWSER_FOLDERS;
  while (!rest.empty()) {
    const std::string_view one = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(one.size() + 1, rest.size()));
    const std::size_t sign = one.find('=');
    browsers.push_back({std::string(one.substr(0, sign)), std::string(one.substr(sign + 1))});
  }
  return browsers;
}

std::vector<Finding> findingsOfBrowser(const BrowserPlace& browser, const std::string& processes) {
  const std::string file = "libdovetail-" + browser.name + ".so";
  std::vector<Finding> findings;
  const bool isInstalled = std::filesystem::exists(std::filesystem::path(browser.folder) / file);
  findings.push_back(isInstalled ? good(browser.name, "the module is in " + browser.folder)
                                 : fault(browser.name, "no " + file + " in " + browser.folder + ": install it"));
  for (const auto& process : processesNamed(browser.name, processes)) {
    const std::string number = process.filename();
    findings.push_back(hasMapped(process, "/" + file)
                           ? good(browser.name, "process " + number + " has loaded the module")
                           : fault(browser.name, "process " + number + " runs without the module: quit it and start it again"));
  }
  return findings;
}

std::string textOfFindings(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += finding.isFault ? "[FAULT] " : "[ok]    ";
    text += finding.subject + ": " + finding.text + "\n";
  }
  return text;
}
