// From a command's tag to its finished menu item, or nothing when it does not fit what the menu acts on.
#include "archive/ArchiveMenus.h"
#include "archive/DTTreeNode.h"
#include "archive/EntryPathMap.h"
#include "core/DTDovetailSync.h"
#include "folders/URLFacts.h"
#include "menus/CommandTables.h"

using platform::Menu;
using platform::MenuItem;
using platform::URL;

namespace {

using Item = std::shared_ptr<const MenuItem>;
using Submenu = std::shared_ptr<const Menu>;

Item item(std::string_view title, std::string_view action, std::int64_t tag = 0, Submenu submenu = nullptr) {
  return std::make_shared<const MenuItem>(MenuItem{.title = std::string(title),
                                                   .action = action,
                                                   .tag = tag,
                                                   .isEnabled = true,
                                                   .image = nullptr,
                                                   .submenu = std::move(submenu)});
}

template <std::size_t count>
Submenu choices(const std::array<Choice, count>& table, std::string_view action, std::int64_t code = 0) {
  auto menu = std::make_shared<Menu>();
  for (const Choice& choice : table) menu->items.push_back(*item(choice.title, action, choice.tag | code));
  return menu;
}

Submenu archiveFormats() {
  auto menu = std::make_shared<Menu>();
  for (std::size_t position = 0; position < archiveFormatTitles.size(); ++position) {
    const std::int64_t code = archiveFormatCodes[position];
    const bool hasCompressions = position >= firstCompressibleFormat;
    menu->items.push_back(*item(archiveFormatTitles[position], "compress:", code,
                                hasCompressions ? choices(compressions, "compress:", code) : nullptr));
  }
  return menu;
}

std::size_t countOf(const std::optional<std::vector<URL>>& urls) { return urls ? urls->size() : 0; }

}  // namespace

Item DTDovetailSync::menuItemWithTag(std::int64_t tag) {
  switch (tag) {
    case DTMenuItemPermissions: return item("Permissions…", "showPermissions:");
    case DTMenuItemCombinedPermissions:
      if (countOf(targetUrls_) < 2) return nullptr;
      return item("Combined Permissions…", "showPermissions:", combinedPermissionsTag);
    case DTMenuItemAccessControlList: return item("Access Control List…", "showAcl:");
    case DTMenuItemRename: return item("Rename…", "rename:");
    case DTMenuItemSizeBrowser: return isSizeBrowserOffered() ? item("Size Browser…", "showSizeBrowser:") : nullptr;
    case DTMenuItemChecksum:
      if (!isChecksumOffered()) return nullptr;
      return item("Checksum…", "showChecksum:", 0, choices(checksumAlgorithms, "showChecksum:"));
    case DTMenuItemDelete: return item("Delete…", "delete:", deleteTag);
    case DTMenuItemSecureDelete: return item("Secure Delete…", "delete:", secureDeleteTag, choices(secureDeleteLevels, "delete:"));
    case DTMenuItemCompress: return item("Compress", "compress:", 0, archiveFormats());
    case DTMenuItemExpand: return expandItem();
    default: return nullptr;
  }
}

// Several targets, whatever they are, or a single folder.
bool DTDovetailSync::isSizeBrowserOffered() const {
  const std::size_t count = countOf(targetUrls_);
  if (count != 1) return count > 1;
  return DTExtension::isDirectory(platform_.fileManager, targetUrls_->front());
}

bool DTDovetailSync::isChecksumOffered() const {
  if (!targetUrls_) return false;
  for (const URL& url : *targetUrls_) {
    if (!DTExtension::isDirectory(platform_.fileManager, url)) return true;
  }
  return false;
}

Item DTDovetailSync::expandItem() {
  if (countOf(targetUrls_) != 1) return nullptr;
  const auto identity = DTExtension::identifier(platform_.fileManager, targetUrls_->front());
  if (!identity) return nullptr;
  if (const auto* cached = archiveMenus_.objectForKey(*identity)) return *cached;
  const Archive* archive = archives_.objectForKey(*identity);
  if (!archive || !*archive) return nullptr;

  const DTArchiveEntry* entry = (*archive)->representedObject();
  auto expand = std::make_shared<MenuItem>();
  expand->title = entry ? entry->name().value_or("") : "";
  expand->action = "expand:";
  expand->image = iconForFileType(pathExtension(expand->title));
  senderObjects_["expand:"][*identity] = std::make_shared<EntryPathMap>(*archive);
  populateMenuItem(*expand, **archive, *identity);
  archiveMenus_.setObject(expand, *identity);
  return expand;
}
