// A file browser without a screen: does what a person would do in one, as requests tell it, and answers what is then to be
// seen. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "console/Condition.h"
#include "console/SentRecords.h"
#include "console/StateJSON.h"
#include "core/DTDovetailSync.h"
#include "platform/linux/FinderSyncBrowser.h"
#include "platform/linux/programs/JSON.h"

class Console {
 public:
  using JSON = platform::JSON;
  using URL = platform::URL;

  /// All of them outlive the console. `sent` are the ports that the extension sends by.
  Console(platform::native::FinderSyncBrowser& browser, DTDovetailSync& extension, platform::FileManager& fileManager,
          const SentRecords& sent)
      : browser_(browser), extension_(extension), fileManager_(fileManager), sent_(sent) {}

  /// Does what `request` says and hands its answer to `reply`, at once or, for a request to wait, later. docs/console.md lists the
  /// requests. The answer to one that cannot be done is `{"error":…}`; nothing has changed then. One at a time.
  void perform(const JSON& request, std::function<void(JSON)> reply);

  static JSON error(std::string_view text) { return JSON::ObjectValue{{"error", text}}; }

 private:
  using Request = JSON (Console::*)(const JSON&);
  static Request find(std::string_view name);

  JSON begin(const JSON& request);
  JSON end(const JSON& request);
  JSON badge(const JSON& request);
  JSON open(const JSON& request);
  JSON close(const JSON& request);
  JSON select(const JSON& request);
  JSON target(const JSON& request);
  JSON menu(const JSON& request);
  JSON choose(const JSON& request);
  JSON state(const JSON& request);
  JSON toolbar(const JSON& request);
  JSON quit(const JSON& request);
  void wait(const JSON& request, std::function<void(JSON)> reply);

  std::optional<URL> urlMember(const JSON& request, std::string_view key) const;
  std::optional<URL> urlOf(const JSON& value) const;
  std::function<bool()> conditionOf(const JSON& request) const;
  void rememberFolder(const URL& folder);

  platform::native::FinderSyncBrowser& browser_;
  DTDovetailSync& extension_;
  platform::FileManager& fileManager_;
  const SentRecords& sent_;
  FolderPaths folderPaths_;
  std::optional<platform::Menu> lastMenu_;
  std::unique_ptr<Condition> condition_;
};
