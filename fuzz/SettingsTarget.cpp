// Any bytes as a stored setting, of any type and under any key: it is read, written and read again as the same value, and an
// extension lives with it.
#include <array>
#include <string>

#include "core/DTDovetailSync.h"
#include "fuzz/Target.h"
#include "host/ObjectJSON.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/settings/SettingsValue.h"

using platform::ByteView;
using platform::Object;
using namespace platform::native;

namespace {

constexpr std::array types{"v", "a{sv}", "aay", "av", "as", "ai", "ab", "ay",       "s",   "o",
                           "b", "y",     "n",   "u",  "x",  "t",  "d",  "a{s(iv)}", "aav", "mv"};
constexpr std::array keys{
    "DTFoldersPaths",     "DTContextualMenuItems",          "DTToolbarItemMenuItems",          "DTArchiveIconsShown ",
    "DTMenuBarIconShown", "DTContextualMenuItemsIconShown", "DTToolbarItemMenuItemsIconShown", "DTApplicationVersion"};

OwnedVariant variantOf(const char* type, ByteView bytes) {
  GBytes* const owned = g_bytes_new(bytes.data(), bytes.size());
  OwnedVariant value(g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type), owned, FALSE)));
  g_bytes_unref(owned);
  return value;
}

void useAsSetting(const char* key, const Object& value) {
  platform::fake::FakePlatform fakes;
  OnceOnly onceOnly;
  fakes.fileManager.add("/w/a.zip");
  fakes.finderSyncController.selection = {platform::URL::fileURLWithPath("/w/a.zip")};
  fakes.messagePorts.listen("G.App");
  fakes.runningApplications.processes["host"] = {900};
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("1.0"));
  const auto extension = DTDovetailSync::init(fakes.references(), onceOnly);
  fakes.userDefaultsSuites.set("G", key, value);
  fakes.loop.run();
  for (const std::uint64_t kind : {0, 3}) {
    const auto menu = extension->menuForMenuKind(static_cast<platform::MenuKind>(kind));
    fuzz::expect(menu.has_value(), "a setting cannot take the menu away");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const Object object = objectOfVariant(variantOf(types[data[0] % types.size()], {data + 2, size - 2}).get());
  useAsSetting(keys[data[1] % keys.size()], object);
  const OwnedVariant written = variantOfObject(object);
  if (written) fuzz::expect(textOfObject(objectOfVariant(written.get())) == textOfObject(object), "what is written reads the same");
  return 0;
}
