// Whether a usable host runs: exactly one instance, of the very same build. What happens when it comes and when it goes.
#include "core/DTDovetailSync.h"
#include "wire/Messages.h"
#include "wire/Settings.h"

using platform::FileIdentity;

namespace {

std::string nameOfBuild(const std::optional<std::string>& version) {
  return version ? "of build " + *version : "of no known build";
}

}  // namespace

void DTDovetailSync::updateApplicationRunning() {
  const platform::Bundle& bundle = platform_.mainBundle;
  const auto running = platform_.runningApplications.runningApplicationsWithBundleIdentifier(bundle.hostBundleIdentifier());
  if (running.size() != 1) {
    noteHostOfAnotherBuild("");
    setApplicationPid(-1);
    return;
  }
  const auto* defaults = sharedApplicationGroupDefaults();
  const auto hostVersion = defaults ? defaults->stringForKey(wire::SettingsKey::applicationVersion) : std::nullopt;
  const auto ownVersion = bundle.objectForInfoDictionaryKey(platform::BundleVersionKey);
  const bool isSameBuild = hostVersion && ownVersion && *hostVersion == *ownVersion;
  const std::int32_t pid = running.front().processIdentifier;
  noteHostOfAnotherBuild(isSameBuild ? ""
                                     : "host " + std::to_string(pid) + " is " + nameOfBuild(hostVersion) + ", this extension " +
                                           nameOfBuild(ownVersion));
  setApplicationPid(isSameBuild ? pid : -1);
}

// Once for each change, not at each look. Menus show such a host as they show an absent one, so only the log tells them apart.
void DTDovetailSync::noteHostOfAnotherBuild(std::string host) {
  if (host == hostOfAnotherBuild_) return;
  hostOfAnotherBuild_ = std::move(host);
  if (!hostOfAnotherBuild_.empty()) log("updateApplicationRunning", hostOfAnotherBuild_);
}

void DTDovetailSync::setApplicationPid(std::int32_t pid) {
  if (pid <= 0) {
    setPort(nullptr);
    archives_.removeAllObjects();
    archiveMenus_.removeAllObjects();
    applicationPid_ = -1;
    return;
  }
  applicationPid_ = pid;
  DTMessage ping(wire::Selector::pingPortName, portName_ ? platform::Object(*portName_) : platform::Object());
  sendMessage(ping);
  askAboutObservedFiles();
  watchHost(pid);
}

// The folders are those of this moment; each set is walked as it then stands.
void DTDovetailSync::askAboutObservedFiles() {
  std::vector<FileIdentity> folders;
  folders.reserve(observedFiles_.size());
  for (const auto& [folder, files] : observedFiles_) folders.push_back(folder);
  for (const FileIdentity& folder : folders) {
    const auto files = observedFiles_.find(folder);
    if (files == observedFiles_.end()) continue;
    for (std::size_t i = 0; i < files->second.urls().size(); ++i) {
      const platform::URL url = files->second.urls()[i];
      const auto identity = platform_.fileManager.fileResourceIdentifier(url);
      if (!identity) continue;
      archives_.setObject(nullptr, *identity);
      DTMessage request(wire::Selector::openArchive, url);
      sendMessage(request);
    }
    observedFiles_.erase(files);
  }
}

// A watcher stored before is let go, not cancelled: it stays armed until it fires. A signal delivered to the host counts
// as its exit.
void DTDovetailSync::watchHost(std::int32_t pid) {
  const auto watcher = platform_.processSources.createProcessSource(pid, platform::ProcessExit | platform::ProcessSignal);
  portMonitor_ = watcher;
  watcher->setEventHandler([weak = weak_from_this(), watcher] {
    if (const auto self = weak.lock()) {
      self->setPort(nullptr);
      self->setApplicationPid(-1);
    }
    watcher->cancel();
  });
  watcher->setCancelHandler([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->portMonitor_ = nullptr;
  });
  watcher->resume();
}
