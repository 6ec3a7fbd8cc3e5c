#include "browsers/BrowserModule.h"

#include <array>

#include "wire/Settings.h"

namespace browsers {

using platform::UserDefaults;

namespace {

// What the menus are made from and the extension does not observe itself, or observes without telling.
constexpr std::array<std::string_view, 3> menuSettings{wire::contextualMenu.itemLists, wire::contextualMenu.iconShown,
                                                       wire::SettingsKey::archiveIconsShown};

}  // namespace

// Asked once in each turn of the main loop that something else has caused: costs no wake-up.
struct BrowserModule::ChangeSource {
  GSource source;
  BrowserModule* module;

  static BrowserModule& moduleOf(GSource* source) { return *reinterpret_cast<ChangeSource*>(source)->module; }
  static gboolean prepare(GSource* source, gint* timeout) {
    *timeout = -1;
    return guarded([&] { return moduleOf(source).menus_.isOutdated(); });
  }
  static gboolean check(GSource* source) {
    return guarded([&] { return moduleOf(source).menus_.isOutdated(); });
  }
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
    guarded([&] { moduleOf(source).tellOutdatedMenus(); });
    return G_SOURCE_CONTINUE;
  }
};

BrowserModule::BrowserModule(Traits traits)
    : extension_(DTDovetailSync::init(platform_.references(), onceOnly_)),
      planner_(traits.style, traits.areIconsDrawn ? &icons_ : nullptr),
      menus_(platform_.finderSyncBrowser(), *extension_, platform_.fileManager(), planner_) {
  platform_.finderSyncBrowser().setOnDirectoryURLs([this] { menus_.forget(); });
  UserDefaults* const defaults = extension_->sharedApplicationGroupDefaults();
  for (const std::string_view key : menuSettings) {
    if (defaults) defaults->addObserver(*this, key);
  }
  watchChanges();
}

BrowserModule::~BrowserModule() {
  g_source_destroy(changes_);
  g_source_unref(changes_);
  UserDefaults* const defaults = extension_->sharedApplicationGroupDefaults();
  for (const std::string_view key : menuSettings) {
    if (defaults) defaults->removeObserver(*this, key);
  }
  platform_.finderSyncBrowser().setOnDirectoryURLs(nullptr);
}

void BrowserModule::watchChanges() {
  static GSourceFuncs calls{ChangeSource::prepare, ChangeSource::check, ChangeSource::dispatch, nullptr, nullptr, nullptr};
  changes_ = g_source_new(&calls, sizeof(ChangeSource));
  reinterpret_cast<ChangeSource*>(changes_)->module = this;
  g_source_attach(changes_, nullptr);
}

void BrowserModule::tellOutdatedMenus() {
  if (onOutdatedMenus_) onOutdatedMenus_();
  if (menus_.isOutdated()) menus_.dropOutdated();
}

void BrowserModule::observeValueForKeyPath(std::string_view, const Object&) { menus_.forget(); }

}  // namespace browsers
