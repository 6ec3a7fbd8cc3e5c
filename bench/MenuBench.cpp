// Archive menus: how long a table of contents takes to become submenus, beside the barest list of the same entries and
// beside GLib's own menu model.
#include <gio/gio.h>

#include <set>
#include <string>

#include "archive/ArchiveMenus.h"
#include "bench/Ratios.h"
#include "bench/TreeShapes.h"
#include "core/DTDovetailSync.h"
#include "platform/fake/FakePlatform.h"

using platform::FileIdentity;
using platform::MenuItem;

namespace {

constexpr std::size_t entryCount = 100'000;

struct BareEntry {
  std::string title;
  std::int64_t tag;
  const void* image;
};

/// A workspace that counts how often it is asked for an icon.
class CountingWorkspace final : public platform::Workspace {
 public:
  explicit CountingWorkspace(platform::Workspace& workspace) : workspace_(workspace) {}

  platform::ImageRef iconForFileType(std::string_view type) override {
    ++count;
    return workspace_.iconForFileType(type);
  }
  platform::ImageRef imageNamed(std::string_view name) override {
    ++count;
    return workspace_.imageNamed(name);
  }

  std::size_t count = 0;

 private:
  platform::Workspace& workspace_;
};

struct World {
  World() {
    fakes.fileManager.add("/a.zip");
    fakes.runningApplications.processes["host"] = {2};
    fakes.userDefaultsSuites.set("G", "DTApplicationVersion", platform::Object("1.0"));
    const platform::Platform fake = fakes.references();
    extension = DTDovetailSync::init(
        {fake.finderSyncController, fake.messagePorts, fake.userDefaultsSuites, fake.security, fake.distributedNotificationCenter,
         fake.runningApplications, fake.processSources, fake.fileManager, workspace, fake.mainBundle, fake.log},
        onceOnly);
    fakes.finderSyncController.selection = {platform::URL::fileURLWithPath("/a.zip")};
  }

  void give(std::shared_ptr<const DTTreeNode> tree) {
    platform::Dictionary option;
    const FileIdentity identity = *fakes.fileManager.fileResourceIdentifier(fakes.finderSyncController.selection[0]);
    option.add("1", std::shared_ptr<const platform::Coding>(std::move(tree)));
    option.add("2", platform::Data(identity.bytes().begin(), identity.bytes().end()));
    extension->setArchive(option);
  }

  platform::fake::FakePlatform fakes;
  CountingWorkspace workspace{fakes.workspace};
  OnceOnly onceOnly;
  std::shared_ptr<DTDovetailSync> extension;
};

void addAll(std::vector<BareEntry>& list, const DTTreeNode& node) {
  for (const DTTreeNode& child : node.childNodes()) {
    const DTArchiveEntry& entry = *child.representedObject();
    list.push_back({*entry.name(), static_cast<std::int64_t>(entry.index()), nullptr});
    addAll(list, child);
  }
}

void addAll(GMenu* menu, const DTTreeNode& node) {
  for (const DTTreeNode& child : node.childNodes()) {
    const DTArchiveEntry& entry = *child.representedObject();
    GMenuItem* item = g_menu_item_new(entry.name()->c_str(), nullptr);
    g_menu_item_set_action_and_target(item, "dovetail.expand", "x", static_cast<gint64>(entry.index()));
    if (!child.childNodes().empty()) {
      GMenu* submenu = g_menu_new();
      addAll(submenu, child);
      g_menu_item_set_submenu(item, G_MENU_MODEL(submenu));
      g_object_unref(submenu);
    }
    g_menu_append_item(menu, item);
    g_object_unref(item);
  }
}

void compareShape(const char* name, std::shared_ptr<const DTTreeNode> tree) {
  World world;
  world.give(tree);
  world.extension->menuForMenuKind(platform::MenuKind::contextualMenuForItems);
  const auto ours = [&] {
    world.give(tree);  // drops the item that was built before
    keep(world.extension->menuItemWithTag(10).get());
  };
  const auto bare = [&] {
    std::vector<BareEntry> list;
    addAll(list, *tree);
    keep(list.data());
  };
  const auto glib = [&] {
    GMenu* menu = g_menu_new();
    addAll(menu, *tree);
    keep(menu);
    g_object_unref(menu);
  };
  const auto medians = mediansOf({ours, bare, glib});
  std::fprintf(stderr, "%s: %.0f ns an entry\n", name, medians[0] / entryCount * 1e9);
  printFigure(std::string("archive menu of 100,000, ") + name, "bare structs in one vector", medians[0] / medians[1],
              Bar::atMost(5, 1.25));
  printFigure("GLib's GMenu", std::string("archive menu of 100,000, ") + name, medians[2] / medians[0], Bar::atLeast(6, 25));
}

void addTypes(std::set<std::string>& types, const DTTreeNode& node) {
  for (const DTTreeNode& child : node.childNodes()) {
    const DTArchiveEntry& entry = *child.representedObject();
    types.insert(entry.isFolder() ? std::string("a folder's") : "." + std::string(pathExtension(*entry.name())));
    addTypes(types, child);
  }
}

void countIconLookups() {
  World world;
  const auto tree = std::make_shared<const DTTreeNode>(realisticTree(entryCount));
  std::set<std::string> types{".gz"};  // the archive's own item
  addTypes(types, *tree);
  world.give(tree);
  world.extension->menuForMenuKind(platform::MenuKind::contextualMenuForItems);
  world.workspace.count = 0;
  world.onceOnly.fileTypeIcons.clear();
  world.give(tree);
  keep(world.extension->menuItemWithTag(10).get());
  printFigure("file-type icon lookups of that menu", "distinct file types",
              static_cast<double>(world.workspace.count) / static_cast<double>(types.size()), Bar::atMost(1, 1));
}

// The menus of ten selections of 1,000 files, one after the other, and of one of 10,000, each selection as often: else a small one
// would stay in a cache that does not hold the large one.
void compareDefaultMenus() {
  constexpr std::size_t most = 10'000, rounds = 20;
  World world;
  for (std::size_t i = 0; i < most; ++i) world.fakes.fileManager.add("/w/" + std::to_string(i));
  auto& selected = world.fakes.finderSyncController.selection;
  std::vector<std::function<double()>> sides;
  for (const std::size_t count : {std::size_t{1}, std::size_t{1'000}, most}) {
    std::vector<std::vector<platform::URL>> selections(std::min<std::size_t>(most / count, 10));
    for (std::size_t i = 0; i < count * selections.size(); ++i) {
      selections[i / count].push_back(platform::URL::fileURLWithPath("/w/" + std::to_string(i)));
    }
    sides.push_back([&world, &selected, selections]() mutable {
      std::int64_t sum = 0;
      const std::size_t menus = rounds * selections.size();
      for (std::size_t i = 0; i < menus; ++i) {
        auto& selection = selections[i % selections.size()];
        selected.swap(selection);
        const std::int64_t start = now();
        const auto menu = world.extension->menuForMenuKind(platform::MenuKind::contextualMenuForItems);
        sum += now() - start;
        keep(&menu);
        selected.swap(selection);
      }
      return static_cast<double>(sum) / static_cast<double>(menus) * 1e-9;
    });
  }
  const auto medians = mediansOfMeasures(sides, 31);
  std::fprintf(stderr,
               "menuForMenuKind: with the default lists, over files in memory: one file %.1f us, 1,000 %.1f us, 10,000 %.0f us\n",
               medians[0] * 1e6, medians[1] * 1e6, medians[2] * 1e6);
  printFigure("default menu, 10,000 selected files", "1,000 selected files", medians[2] / medians[1], Bar::atMost(12, 10));
}

}  // namespace

int main() {
  compareShape("flat", std::make_shared<const DTTreeNode>(flatTree(entryCount)));
  compareShape("realistic", std::make_shared<const DTTreeNode>(realisticTree(entryCount)));
  countIconLookups();
  compareDefaultMenus();
}
