// What a module of a file browser consists of beside the browser's own interface: the platform, the extension object and its menus. Made
// once, when the browser loads the module, and kept until the process exits. Main thread only; nothing of it throws.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "browsers/Guarded.h"
#include "browsers/IconFiles.h"
#include "browsers/SelectionMenus.h"
#include "browsers/ShownFolders.h"
#include "core/DTDovetailSync.h"
#include "platform/linux/LinuxPlatform.h"

namespace browsers {

using platform::KeyValueObserver;
using platform::Log;
using platform::Object;
using platform::native::LinuxPlatform;

class BrowserModule final : KeyValueObserver {
 public:
  struct Traits {
    MenuStyle style;
    bool areIconsDrawn = true;  ///< Whether the browser draws the icons of items.
  };

  explicit BrowserModule(Traits traits);
  ~BrowserModule() override;

  ShownFolders& shownFolders() { return shownFolders_; }
  SelectionMenus& menus() { return menus_; }
  const DTDovetailSync& extension() const { return *extension_; }
  IconFiles& icons() { return icons_; }
  Log& log() { return platform_.log(); }

  /// Runs on the main loop when a contextual menu given last would be another one now: contents have arrived, the host has come or gone,
  /// settings have changed. It holds the menus (`menus().hold()`) as long as one is up, or forgets them (`menus().dropOutdated()`).
  /// Without it they are forgotten.
  void setOnOutdatedMenus(std::function<void()> handler) { onOutdatedMenus_ = std::move(handler); }

 private:
  struct ChangeSource;

  void observeValueForKeyPath(std::string_view keyPath, const Object& newValue) override;
  void watchChanges();
  void tellOutdatedMenus();

  LinuxPlatform platform_;
  OnceOnly onceOnly_;
  std::shared_ptr<DTDovetailSync> extension_;
  IconFiles icons_{IconFiles::usualFolder()};
  MenuPlanner planner_;
  SelectionMenus menus_;
  ShownFolders shownFolders_{platform_.finderSyncBrowser()};
  std::function<void()> onOutdatedMenus_;
  GSource* changes_ = nullptr;
};

}  // namespace browsers
