// The menus of one browser: builds one when it can be seen, keeps the last of several windows, and binds to each the files that it was
// built for, since browsers ask again at odd times and for other windows than the one with the menu. Main thread only.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "browsers/MenuPlan.h"
#include "core/DTDovetailSync.h"
#include "platform/FileIdentity.h"
#include "platform/linux/FinderSyncBrowser.h"

namespace browsers {

using platform::FileIdentity;
using platform::FileManager;
using platform::MenuKind;
using platform::URL;
using platform::native::FinderSyncBrowser;

/// A menu and what it acts on. Immutable; the toolkit's items hold it as long as they can be chosen.
struct BoundMenu {
  PlannedItems items;
  std::optional<std::vector<URL>> targets;
  std::optional<URL> folder;  ///< Whose background it is of, as the browser names it; the menu acts on it wherever it is by then.
};
using BoundMenuRef = std::shared_ptr<const BoundMenu>;

class SelectionMenus {
 public:
  /// All of them outlive the menus.
  SelectionMenus(FinderSyncBrowser& browser, DTDovetailSync& extension, FileManager& files, MenuPlanner& planner)
      : browser_(browser), extension_(extension), files_(files), planner_(planner) {}

  /// Null when the extension has no part in the menu. The same menu as before when nothing that it depends on has changed.
  BoundMenuRef menuForItems(std::vector<URL> selection);
  BoundMenuRef menuForFolder(URL folder);
  /// Of the toolbar button; never null for a browser that has taken the extension.
  BoundMenuRef menuForToolbar(std::vector<URL> selection, std::optional<URL> folder);

  /// The user chose an item of a menu given before: it acts on that menu's files, whatever was selected since.
  void choose(const BoundMenu& menu, const PlannedItem& item);

  /// What no file tells has changed: settings, watched folders.
  void forget() { ++age_; }
  /// While a menu is up, what is asked for again stays as it is: browsers look the chosen item up by its name in a new answer.
  void hold() { isHeld_ = true; }
  void release() { isHeld_ = false; }
  /// Whether a contextual menu given last would be another one now. Never while they are held. Asks no file.
  bool isOutdated() const;
  /// Forgets such menus. True when there was one.
  bool dropOutdated();

 private:
  /// What a menu depends on beside the files' names.
  struct Facts {
    std::int32_t applicationPid;
    std::uint64_t age;
    std::optional<FileIdentity> file;  ///< Of a selection of one.
    DTDovetailSync::Archive archive;   ///< Of that file.
    friend bool operator==(const Facts&, const Facts&) = default;
  };
  struct Request {
    MenuKind kind;
    std::vector<URL> selection;
    std::optional<URL> folder;
  };
  struct Given {
    Request request;
    Facts facts;
    BoundMenuRef menu;
  };

  BoundMenuRef give(Request request);
  BoundMenuRef build(const Request& request);
  std::optional<std::vector<URL>> targetsOf(const BoundMenu& menu);
  Facts factsOf(std::optional<FileIdentity> file) const;
  std::optional<FileIdentity> fileOf(const Request& request);
  static bool isSame(const Request& a, const Request& b);
  bool isOutdated(const Given& given) const { return given.facts != factsOf(given.facts.file); }

  FinderSyncBrowser& browser_;
  DTDovetailSync& extension_;
  FileManager& files_;
  MenuPlanner& planner_;
  std::uint64_t age_ = 0;
  bool isHeld_ = false;
  std::deque<Given> given_;  // the last first
};

}  // namespace browsers
