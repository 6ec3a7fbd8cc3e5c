// The setting that is read for each entry of an archive menu, beside a look-up in a hash map.
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_map>

#include "bench/Ratios.h"
#include "platform/linux/Log.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/settings/UserDefaults.h"
#include "tests/TemporaryFolder.h"

namespace {

constexpr std::string_view key = "DTArchiveIconsShown ";
constexpr int times = 1'000'000;

}  // namespace

int main() {
  // No settings but those registered, and no bus that could tell of others.
  const tests::TemporaryFolder folder;
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) ::setenv(name, folder.path().c_str(), 1);
  ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder.path() + "/none").c_str(), 1);
  platform::native::LinuxLog log;
  platform::native::SessionBus bus(log);
  platform::native::LinuxUserDefaultsSuites suites(bus);
  const auto settings = suites.initWithSuiteName("org.dovetail.bench");
  platform::Dictionary defaults;
  std::unordered_map<std::string, bool> map;
  for (const std::string_view name : {key, std::string_view("DTFoldersPaths"), std::string_view("DTApplicationVersion")}) {
    defaults.add(name, true);
    map.emplace(name, true);
  }
  settings->registerDefaults(defaults);
  const std::string text(key);
  int count = 0;
  const auto medians = mediansOf({[&] {
                                    for (int i = 0; i < times; ++i) count += settings->boolForKey(key);
                                  },
                                  [&] {
                                    for (int i = 0; i < times; ++i) count += map.find(text)->second, keep(&map);
                                  }});
  keep(&count);
  std::fprintf(stderr, "reading a setting: %.1f ns\n", medians[0] / times * 1e9);
  printFigure("read of \"DTArchiveIconsShown \"", "look-up in a hash map", medians[0] / medians[1], Bar::atMost(1.5, 1));
  return count == 0;
}
