// The extension object: everything that the file browser and the host application can ask of the extension, and all the
// state that it keeps. Each group of operations names the file that holds its bodies. Made once when the browser loads
// the extension, lives until the process ends. Main thread only; every call comes from the main loop, nothing here blocks
// but a send to the host (1.0 s at most), nothing throws.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/DTMessage.h"
#include "core/MessageWriter.h"
#include "core/OnceOnly.h"
#include "core/URLSet.h"
#include "platform/Cache.h"
#include "platform/Platform.h"
#include "platform/Result.h"

class DTTreeNode;
class EntryPathMap;

namespace wire {
struct Command;
}

class DTDovetailSync final : public platform::FinderSync,
                             public platform::KeyValueObserver,
                             public std::enable_shared_from_this<DTDovetailSync> {
 public:
  /// Files seen in watched folders that the host has still to be asked about, by the identity of their folder.
  using ObservedFiles = std::unordered_map<platform::FileIdentity, URLSet>;
  /// A table of contents, or null for the null marker: the host was asked, or the file is not one to ask about.
  using Archive = std::shared_ptr<const DTTreeNode>;
  /// Action name → file identity → what finds the index path of a chosen item. Only "expand:" is used.
  using SenderObjects =
      std::map<std::string, std::unordered_map<platform::FileIdentity, std::shared_ptr<EntryPathMap>>, std::less<>>;

  // ---- Life: core/Lifecycle.cpp

  /// Starts the extension up, in a fixed order. Null when the browser takes no extension. `platform` and `onceOnly` outlive it;
  /// the inbound port outlives the object, and what it receives afterwards is dropped.
  static std::shared_ptr<DTDovetailSync> init(const platform::Platform& platform, OnceOnly& onceOnly);
  ~DTDovetailSync() override;
  DTDovetailSync(const DTDovetailSync&) = delete;
  DTDovetailSync& operator=(const DTDovetailSync&) = delete;

  void observeValueForKeyPath(std::string_view keyPath, const platform::Object& newValue) override;
  std::string toolbarItemName() const override;
  std::string toolbarItemToolTip() const override;
  platform::ImageRef toolbarItemImage() const override;

  // ---- The fields, in their order. Getters answer the field.

  /// The running host's process, at least 1, or -1 while there is no usable host; 0 only during start-up.
  std::int32_t applicationPid() const { return applicationPid_; }
  /// The outbound port, opened by the first send; null for none.
  const platform::RemoteMessagePort* port() const { return port_.get(); }
  /// The name of the own inbound port; nothing when it could not be opened.
  const std::optional<std::string>& portName() const { return portName_; }
  /// The watcher on the host's process; null for none.
  const std::shared_ptr<platform::ProcessSource>& portMonitor() const { return portMonitor_; }
  const ObservedFiles& observedFiles() const { return observedFiles_; }
  /// What the menu of this moment acts on; nothing before the first menu.
  const std::optional<std::vector<platform::URL>>& targetUrls() const { return targetUrls_; }
  const platform::Cache<platform::FileIdentity, Archive>& archives() const { return archives_; }
  const platform::Cache<platform::FileIdentity, std::shared_ptr<const platform::MenuItem>>& archiveMenus() const {
    return archiveMenus_;
  }
  const SenderObjects& senderObjects() const { return senderObjects_; }
  /// A browser's adapter puts back the selection that a chosen item's menu was built for.
  void setTargetUrls(std::optional<std::vector<platform::URL>> urls) { targetUrls_ = std::move(urls); }

  // ---- Ports: core/Ports.cpp

  /// Opens the inbound port; reports to the host when it cannot.
  void setupMessageListener();
  /// Sends one message to the host, opening the outbound port when none is open, and stamps the own port name into it. Blocks for
  /// 1.0 s at most. A message for a host without a port is dropped without a report; any other failure is posted to the host as
  /// the notification "DTDovetailAppMessage". Nothing is retried.
  void sendMessage(DTMessage& message);
  /// Invalidates and releases the stored port, if any, and takes the new one over.
  void setPort(std::unique_ptr<platform::RemoteMessagePort> port);

  // ---- Messages from the host: core/Dispatch.cpp

  /// Runs the operation that the archived record names, if it is in the table; reports bytes that are no record.
  void handleMessage(platform::ByteView bytes);
  void pingPortName(const platform::Object& portName);
  void showError(const platform::Object& error);
  void openArchivePortName(const platform::Object& url);

  // ---- The host's life: core/HostTracking.cpp

  /// Decides anew whether exactly one host of the very same build runs.
  void updateApplicationRunning();
  /// Enters "host running" for a positive process identifier, "host absent" for any other.
  void setApplicationPid(std::int32_t pid);

  // ---- Shared settings: menus/SharedSettings.cpp

  /// The store shared with the host, with its registered defaults; null for the rest of the process when the group is unknown.
  platform::UserDefaults* sharedApplicationGroupDefaults() const;

  // ---- Menus: menus/MenuAssembly.cpp, menus/MenuCatalogue.cpp

  std::optional<platform::Menu> menuForMenuKind(platform::MenuKind kind) override;
  /// A new item, or the cached one of the archive (tag 10); null for an unknown tag and for a command that does not fit the targets.
  std::shared_ptr<const platform::MenuItem> menuItemWithTag(std::int64_t tag);

  // ---- Requests to the host: menus/ActionRequests.cpp. A null sender counts as one with tag 0.

  void sendAction(const platform::MenuItem& sender) override;
  void delete_(const platform::MenuItem* sender);
  void compress(const platform::MenuItem* sender);
  void expand(const platform::MenuItem* sender);
  void rename(const platform::MenuItem* sender);
  void showPermissions(const platform::MenuItem* sender);
  void showAcl(const platform::MenuItem* sender);
  void showSizeBrowser(const platform::MenuItem* sender);
  void showChecksum(const platform::MenuItem* sender);

  // ---- Archives: archive/ArchiveMenus.cpp, archive/FileTypeIcons.cpp

  /// The classes that a record may hold.
  static platform::ClassTable archivedClasses();
  /// Keeps the table of contents that the host sent under "1" for the file with the identity under "2". A message that lacks either,
  /// or holds other kinds, is ignored.
  void setArchive(const platform::Object& argument);
  /// Gives the item a submenu for the node's children, all the way down, and notes each entry's node under its number.
  void populateMenuItem(platform::MenuItem& item, const DTTreeNode& node, const platform::FileIdentity& identity);
  /// The 16 × 16 icon of a file name extension, or the folder icon for `platform::ImageNameFolder` itself.
  platform::ImageRef iconForFileType(std::string_view type);

  // ---- Folders: folders/ObservedFolders.cpp

  /// Hands the folders that the user chose to the browser.
  void updateFolders();
  void beginObservingDirectoryAtURL(const platform::URL& url) override;
  void endObservingDirectoryAtURL(const platform::URL& url) override;
  void requestBadgeIdentifierForURL(const platform::URL& url) override;

 private:
  friend struct DispatchTable;

  DTDovetailSync(const platform::Platform& platform, OnceOnly& onceOnly) : platform_(platform), onceOnly_(onceOnly) {}

  // core/Lifecycle.cpp
  bool startUp();
  /// One diagnostic line under the name of the operation that writes it.
  void log(std::string_view method, std::string_view text) const;

  // core/Ports.cpp
  platform::Result<platform::Done, std::string_view> openInboundPort();
  platform::Result<platform::Done> openOutboundPort();
  platform::Result<platform::Done> deliver(DTMessage& message);
  void reportSendFailure(std::string_view reason);
  /// Sends the host an error record of the receiving side.
  void reportReceiveFailure(std::int64_t code, std::string_view reason);

  // core/Dispatch.cpp
  void call(std::string_view selector, const platform::Object& argument);

  // core/HostTracking.cpp
  void noteHostOfAnotherBuild(std::string host);
  void askAboutObservedFiles();
  void watchHost(std::int32_t pid);

  // menus/MenuAssembly.cpp, menus/MenuCatalogue.cpp
  bool recordTargets();
  std::vector<platform::MenuItem> itemsForTags(const platform::Dictionary& itemLists, std::string_view list);
  std::shared_ptr<const platform::MenuItem> itemOfArchive(const wire::Command& command);

  // archive/ArchiveMenus.cpp
  EntryPathMap* entryPathMap(const platform::FileIdentity& identity) const;

  // menus/ActionRequests.cpp
  void perform(const wire::Command& command, const platform::MenuItem* sender);
  platform::Object filesAmongTargets() const;
  void sendEntry(std::string_view selector, platform::Integer number);
  void sendOption(std::string_view selector, platform::Object subject, platform::Object choice);
  void sendTargets(std::string_view selector);

  // folders/ObservedFolders.cpp
  bool see(const platform::URL& url, const platform::FileSighting& file, std::vector<platform::URL>& questions);
  void ask(const std::vector<platform::URL>& questions);

  const platform::Platform platform_;
  OnceOnly& onceOnly_;
  bool isStarted_ = false;
  int dispatchDepth_ = 0;
  MessageWriter messageWriter_;
  std::string hostOfAnotherBuild_;  // as the log has it; empty while there is none

  // Released in the reverse of this order.
  std::int32_t applicationPid_ = 0;
  std::unique_ptr<platform::RemoteMessagePort> port_;
  std::optional<std::string> portName_;
  std::shared_ptr<platform::ProcessSource> portMonitor_;
  ObservedFiles observedFiles_;
  std::optional<std::vector<platform::URL>> targetUrls_;
  platform::Cache<platform::FileIdentity, Archive> archives_;
  platform::Cache<platform::FileIdentity, std::shared_ptr<const platform::MenuItem>> archiveMenus_;
  SenderObjects senderObjects_;
};
