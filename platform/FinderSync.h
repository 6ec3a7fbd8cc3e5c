// The two sides of a file browser's extension interface: what the browser calls (FinderSync) and what it answers
// (FinderSyncController). Cocoa's FIFinderSync and FIFinderSyncController. Main thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Image.h"
#include "platform/Menu.h"
#include "platform/URL.h"

namespace platform {

/// The platform's menu kinds. Any other number may come too.
enum class MenuKind : std::uint64_t {
  contextualMenuForItems = 0,
  contextualMenuForContainer = 1,
  contextualMenuForSidebar = 2,
  toolbarItemMenu = 3,
};

/// The extension as the browser sees it.
class FinderSync {
 public:
  virtual ~FinderSync() = default;
  /// The menu to add, or nothing for no part in it.
  virtual std::optional<Menu> menuForMenuKind(MenuKind kind) = 0;
  /// The browser starts or stops showing a folder in the watched set.
  virtual void beginObservingDirectoryAtURL(const URL& url) = 0;
  virtual void endObservingDirectoryAtURL(const URL& url) = 0;
  /// The browser is about to show an item in the watched set.
  virtual void requestBadgeIdentifierForURL(const URL& url) = 0;
  virtual std::string toolbarItemName() const = 0;
  virtual std::string toolbarItemToolTip() const = 0;
  virtual ImageRef toolbarItemImage() const = 0;
  /// The user chose this item of a menu that the extension gave.
  virtual void sendAction(const MenuItem& sender) = 0;
};

/// The browser as the extension sees it.
class FinderSyncController {
 public:
  virtual ~FinderSyncController() = default;
  /// The platform's base initialiser of a principal object: from now on the browser may call it. False when the browser takes
  /// no extension; nothing is then held.
  [[nodiscard]] virtual bool initFinderSync(FinderSync& extension) = 0;
  /// The base teardown: the browser never calls the object again.
  virtual void deallocFinderSync(FinderSync& extension) = 0;

  /// What the menu acts on that is being asked for: the selected items, empty for none, and the folder that the user acted in,
  /// nothing for none. Both hold from the start of a call of `menuForMenuKind` to its end; at any other time they are what the
  /// browser last had, which the user may have left by then. So an extension keeps what it shall act on when the item is chosen.
  virtual std::vector<URL> selectedItemURLs() = 0;
  virtual std::optional<URL> targetedURL() = 0;
  /// Replaces the set of watched folders.
  virtual void setDirectoryURLs(std::vector<URL> urls) = 0;
};

}  // namespace platform
