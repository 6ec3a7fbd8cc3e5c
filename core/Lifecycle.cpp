// Start-up, teardown, reactions to changed settings, and what the browser asks about the toolbar item.
#include "core/DTDovetailSync.h"
#include "wire/Messages.h"
#include "wire/Settings.h"

using platform::ImageRef;
namespace SettingsKey = wire::SettingsKey;

std::shared_ptr<DTDovetailSync> DTDovetailSync::init(const platform::Platform& platform, OnceOnly& onceOnly) {
  std::shared_ptr<DTDovetailSync> extension(new DTDovetailSync(platform, onceOnly));
  return extension->startUp() ? extension : nullptr;
}

bool DTDovetailSync::startUp() {
  isStarted_ = platform_.finderSyncController.initFinderSync(*this);
  if (!isStarted_) return false;
  setupMessageListener();
  updateFolders();
  updateApplicationRunning();
  if (auto* defaults = sharedApplicationGroupDefaults()) {
    defaults->addObserver(*this, SettingsKey::foldersPaths);
    defaults->addObserver(*this, SettingsKey::archiveIconsShown);
  }
  platform_.distributedNotificationCenter.addObserver(this, wire::Notification::hostRunning,
                                                      [this](const std::string&) { updateApplicationRunning(); });
  return true;
}

// The inbound port stays open, and a watcher on the host stays armed: both belong to the process.
DTDovetailSync::~DTDovetailSync() {
  if (!isStarted_) return;
  platform_.distributedNotificationCenter.removeObserver(this);
  if (auto* defaults = sharedApplicationGroupDefaults()) {
    defaults->removeObserver(*this, SettingsKey::foldersPaths);
    defaults->removeObserver(*this, SettingsKey::archiveIconsShown);
  }
  setPort(nullptr);
  platform_.finderSyncController.deallocFinderSync(*this);
}

void DTDovetailSync::observeValueForKeyPath(std::string_view keyPath, const platform::Object&) {
  if (keyPath == SettingsKey::foldersPaths) {
    updateFolders();
  } else if (keyPath == SettingsKey::archiveIconsShown) {
    archiveMenus_.removeAllObjects();
  }
}

std::string DTDovetailSync::toolbarItemName() const { return "Dovetail"; }

std::string DTDovetailSync::toolbarItemToolTip() const { return ""; }

ImageRef DTDovetailSync::toolbarItemImage() const { return platform_.workspace.imageNamed("StatusItemImage"); }

void DTDovetailSync::log(std::string_view method, std::string_view text) const {
  std::string line = "__DT: -[DTDovetailSync ";
  ((line += method) += "] ::: ") += text;
  platform_.log.line(line);
}
