#include "console/BrowserDiagnosis.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

#include "platform/linux/OwnedGLib.h"

using platform::native::OwnedObject;
using platform::native::OwnedText;
using platform::native::OwnedVariant;
using platform::native::Release;
using Switch = BrowserPlace::Switch;

namespace {

/// A browser with a list of extensions that its user has switched off: Caja's holds modules, Nemo's the types that they register.
struct ExtensionList {
  std::string_view browser;
  const char* schema;
  const char* entry;
};
constexpr std::array extensionLists = {ExtensionList{"caja", "org.mate.caja.extensions", "libdovetail-caja"},
                                       ExtensionList{"nemo", "org.nemo.plugins", "DovetailNemo"}};

BrowserPlace browserAt(std::string name, std::string folder) {
  BrowserPlace browser{std::move(name), std::move(folder)};
  browser.isInstalled = OwnedText(g_find_program_in_path(browser.name.c_str())) != nullptr;
  const auto list = std::ranges::find(extensionLists, browser.name, &ExtensionList::browser);
  if (browser.isInstalled && list != extensionLists.end())
    browser.moduleSwitch = switchInList(list->schema, "disabled-extensions", list->entry);
  return browser;
}

std::string firstLineOf(const std::filesystem::path& file) {
  std::string line;
  std::ifstream stream(file);
  std::getline(stream, line);
  return line;
}

/// Nothing when the process does not let itself be looked at.
std::optional<bool> hasMapped(const std::filesystem::path& process, const std::string& file) {
  std::ifstream maps(process / "maps");
  if (!maps.is_open()) return std::nullopt;
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(file) || line.ends_with(file + " (deleted)")) return true;
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

bool isOfUser(const std::filesystem::path& process, uid_t user) {
  struct stat facts = {};
  return ::stat(process.c_str(), &facts) == 0 && facts.st_uid == user;
}

Finding findingOfProcess(const std::string& browser, const std::string& file, const std::filesystem::path& process, uid_t user) {
  const std::string number = "process " + process.filename().string();
  if (!isOfUser(process, user)) return Finding::unknown(browser, number + " is another user's: let that user ask");
  const auto isLoaded = hasMapped(process, "/" + file);
  if (!isLoaded) return Finding::unknown(browser, number + " does not let itself be looked at: quit it and start it again");
  if (!*isLoaded) return Finding::fault(browser, number + " runs without the module: quit it and start it again");
  return Finding::ok(browser, number + " has loaded the module");
}

Finding findingOfModule(const BrowserPlace& browser, const std::string& file) {
  const bool isThere = std::filesystem::exists(std::filesystem::path(browser.folder) / file);
  return isThere ? Finding::ok(browser.name, "the module is in " + browser.folder)
                 : Finding::fault(browser.name, "no " + file + " in " + browser.folder + ": install it");
}

void addFindingsOf(const BrowserPlace& browser, const std::string& processes, uid_t user, std::vector<Finding>& findings) {
  const std::string file = "libdovetail-" + browser.name + ".so";
  findings.push_back(findingOfModule(browser, file));
  if (browser.moduleSwitch == Switch::isOff)
    findings.push_back(Finding::fault(browser.name,
                                      "the module is switched off in the browser's own list of extensions: switch it on "
                                      "in its preferences, quit it and start it again"));
  if (browser.moduleSwitch == Switch::cannotBeSeen)
    findings.push_back(Finding::unknown(browser.name,
                                        "its list of extensions cannot be read: look in its preferences whether the "
                                        "module is switched on"));
  for (const auto& process : processesNamed(browser.name, processes))
    findings.push_back(findingOfProcess(browser.name, file, process, user));
}

bool runs(const BrowserPlace& browser, const std::string& processes, uid_t user) {
  return std::ranges::any_of(processesNamed(browser.name, processes), [&](const auto& process) { return isOfUser(process, user); });
}

std::string namesOf(const std::vector<BrowserPlace>& browsers) {
  std::string names;
  for (const BrowserPlace& browser : browsers) names += (names.empty() ? "" : ", ") + browser.name;
  return names;
}

}  // namespace

std::vector<BrowserPlace> builtBrowsers() {
  std::vector<BrowserPlace> browsers;
  std::string_view rest = DOVETAIL_BROWSER_FOLDERS;
  while (!rest.empty()) {
    const std::string_view one = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(one.size() + 1, rest.size()));
    const std::size_t sign = one.find('=');
    browsers.push_back(browserAt(std::string(one.substr(0, sign)), std::string(one.substr(sign + 1))));
  }
  return browsers;
}

// g_settings_new() ends the program when the schema or the key is not there.
Switch switchInList(const char* schema, const char* key, const std::string& entry) {
  GSettingsSchemaSource* source = g_settings_schema_source_get_default();
  const std::unique_ptr<GSettingsSchema, Release<g_settings_schema_unref>> found(
      source ? g_settings_schema_source_lookup(source, schema, TRUE) : nullptr);
  if (!found || !g_settings_schema_has_key(found.get(), key)) return Switch::cannotBeSeen;
  const OwnedObject<GSettings> settings(g_settings_new_full(found.get(), nullptr, nullptr));
  const OwnedVariant list(g_settings_get_value(settings.get(), key));
  if (!g_variant_is_of_type(list.get(), G_VARIANT_TYPE_STRING_ARRAY)) return Switch::cannotBeSeen;
  const std::unique_ptr<const char*, Release<g_free>> names(g_variant_get_strv(list.get(), nullptr));
  return g_strv_contains(names.get(), entry.c_str()) ? Switch::isOff : Switch::isOn;
}

std::vector<Finding> findingsOfBrowsers(const std::vector<BrowserPlace>& browsers, const std::string& processes, uid_t user) {
  constexpr const char* subject = "file browsers";
  if (browsers.empty()) return {Finding::fault(subject, "no module was built for any: build one, or install the package of one")};
  std::vector<Finding> findings;
  for (const BrowserPlace& browser : browsers)
    if (browser.isInstalled) addFindingsOf(browser, processes, user, findings);
  if (findings.empty())
    findings.push_back(
        Finding::fault(subject, "there is none that a module was built for (" + namesOf(browsers) + "): install one"));
  else if (std::ranges::none_of(browsers, [&](const BrowserPlace& browser) { return runs(browser, processes, user); }))
    findings.push_back(
        Finding::unknown(subject, "none of yours runs, so nobody can tell whether it loads its module: start one, then ask again"));
  return findings;
}
