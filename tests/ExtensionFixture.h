// The extension over fakes, with a host that the test plays: what reaches the host's port is decoded again.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "archive/ArchivedClasses.h"
#include "archive/DTTreeNode.h"
#include "core/DTDovetailSync.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/fake/FakePlatform.h"

inline platform::URL fileURL(std::string_view path) { return platform::URL::fileURLWithPath(path); }

/// The paths of an array of URLs, or "not an array of URLs".
inline std::vector<std::string> pathsOf(const platform::Object& object) {
  std::vector<std::string> paths;
  const auto* array = object.get<platform::Array>();
  if (!array) return {"not an array of URLs"};
  for (const platform::Object& element : *array) {
    const auto* url = element.get<platform::URL>();
    paths.push_back(url ? url->path() : "not a URL");
  }
  return paths;
}

/// One message as text: its selector and its argument where that is a string or a URL.
inline std::string summaryOf(const DTMessage& message) {
  std::string text = message.selector().value_or("(null)");
  if (const auto* url = message.argument().get<platform::URL>()) text += " " + url->path();
  if (const auto* string = message.argument().get<std::string>()) text += " " + *string;
  return text;
}

class ExtensionTest : public testing::Test {
 protected:
  static constexpr std::int32_t hostPid = 900;

  /// A host of the right build that listens; found at the start or at the next notice.
  void startHost() {
    fakes.messagePorts.listen("G.App");
    fakes.runningApplications.processes["host"] = {hostPid};
    fakes.userDefaultsSuites.set("G", "DTApplicationVersion", platform::Object("1.0"));
    fakes.loop.run();
  }
  void quitHost() {
    fakes.messagePorts.hangUp("G.App");
    fakes.runningApplications.processes.clear();
    fakes.processSources.fire(hostPid);
    fakes.loop.run();
  }
  void notice() {
    fakes.distributedNotificationCenter.postNotificationName("DTDovetailRunning", "", true);
    fakes.loop.run();
  }

  void startExtension() { extension = DTDovetailSync::init(fakes.references(), onceOnly); }
  void startBoth() {
    startHost();
    startExtension();
    takeMessages();
    fakes.calls.take();
  }

  /// The messages that the host has received since the last call.
  std::vector<DTMessage> takeMessages() {
    std::vector<DTMessage> messages;
    for (const platform::Data& record : fakes.messagePorts.takeReceived("G.App")) {
      const auto message = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses()).instance<DTMessage>();
      EXPECT_TRUE(message) << "the host received bytes that are no record";
      if (message) messages.push_back(*message);
    }
    return messages;
  }
  std::vector<std::string> takeSummaries() {
    std::vector<std::string> summaries;
    for (const DTMessage& message : takeMessages()) summaries.push_back(summaryOf(message));
    return summaries;
  }

  /// The host sends a message to the extension's port.
  void receive(DTMessage message) {
    const auto record = platform::KeyedArchiver::archivedDataWithRootObject(
        platform::Object(std::shared_ptr<const platform::Coding>(std::make_shared<DTMessage>(std::move(message)))));
    ASSERT_TRUE(record);
    fakes.messagePorts.deliver("G.Sync.4711", *record);
  }
  platform::FileIdentity identityOf(const std::string& path) {
    return platform::fake::FakeFileManager::identityOf(fakes.fileManager.find(path)->number);
  }
  /// The argument of `setArchive:` for a file.
  platform::Object archiveArgument(const std::string& path, DTTreeNode tree) {
    const auto identity = identityOf(path);
    platform::Dictionary option;
    option.add("1", std::shared_ptr<const platform::Coding>(std::make_shared<DTTreeNode>(std::move(tree))));
    option.add("2", platform::Data(identity.bytes().begin(), identity.bytes().end()));
    return option;
  }
  void receiveArchive(const std::string& path, DTTreeNode tree) {
    receive(DTMessage("setArchive:", archiveArgument(path, std::move(tree))));
  }
  bool isMarked(const std::string& path) {
    const auto* archive = extension->archives().objectForKey(identityOf(path));
    return archive && !*archive;
  }
  /// The recorded files of a folder; "no record" when it has none.
  std::vector<std::string> observedIn(const std::string& folder) {
    const auto found = extension->observedFiles().find(identityOf(folder));
    if (found == extension->observedFiles().end()) return {"no record"};
    std::vector<std::string> paths;
    for (const platform::URL& url : found->second.urls()) paths.push_back(url.path());
    return paths;
  }

  void select(const std::vector<std::string>& paths) {
    fakes.finderSyncController.selection.clear();
    for (const std::string& path : paths) fakes.finderSyncController.selection.push_back(fileURL(path));
  }
  std::optional<platform::Menu> menu(std::uint64_t kind = 0) {
    return extension->menuForMenuKind(static_cast<platform::MenuKind>(kind));
  }
  static std::vector<std::string> titlesOf(const platform::Menu& menu) {
    std::vector<std::string> titles;
    for (const platform::MenuItem& item : menu.items) titles.push_back(item.title);
    return titles;
  }
  /// The item under these titles, level by level; null when there is none.
  static const platform::MenuItem* itemIn(const platform::Menu& menu, const std::vector<std::string>& titles) {
    const platform::Menu* level = &menu;
    const platform::MenuItem* found = nullptr;
    for (const std::string& title : titles) {
      found = nullptr;
      if (!level) return nullptr;
      for (const platform::MenuItem& item : level->items) {
        if (item.title == title) found = &item;
      }
      if (!found) return nullptr;
      level = found->submenu.get();
    }
    return found;
  }
  void choose(const platform::Menu& menu, const std::vector<std::string>& titles) {
    const platform::MenuItem* item = itemIn(menu, titles);
    ASSERT_TRUE(item) << titles.back();
    extension->sendAction(*item);
  }

  platform::fake::FakePlatform fakes;
  OnceOnly onceOnly;
  std::shared_ptr<DTDovetailSync> extension;
};

inline DTTreeNode leaf(const std::string& name, std::uint64_t index) { return DTTreeNode(DTArchiveEntry(name, false, index, 0)); }

template <typename... Children>
DTTreeNode folder(const std::string& name, std::uint64_t index, Children... children) {
  DTTreeNode node(DTArchiveEntry(name, true, index, 0));
  (node.appendChild(std::move(children)), ...);
  return node;
}

/// The root: it describes the archive file itself.
template <typename... Children>
DTTreeNode archive(const std::string& name, Children... children) {
  DTTreeNode node(DTArchiveEntry(name, false, 0, 0));
  (node.appendChild(std::move(children)), ...);
  return node;
}
