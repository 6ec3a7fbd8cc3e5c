// Why a menu may be missing: each condition of the extension's menus, checked in the order in which they depend on each other.
#pragma once

#include <string>
#include <vector>

#include "platform/Platform.h"

struct Finding {
  bool isFault;
  std::string subject;  ///< What was looked at, in a word or two.
  std::string text;     ///< What was found; for a fault also what to do.
};

/// Of the host, the settings and the watched folders. `hasBus` tells whether a session bus can be reached.
std::vector<Finding> findingsOfServices(const platform::Platform& services, bool hasBus);

/// A file browser that a module was built for.
struct BrowserPlace {
  std::string name;    ///< Of its program.
  std::string folder;  ///< Where it looks for extensions.
};

/// The browsers of this build, each with its module's folder.
std::vector<BrowserPlace> builtBrowsers();

/// Whether the browser's module is in its folder, and loaded in the browser's processes of `processes` ("/proc", proc(5)).
std::vector<Finding> findingsOfBrowser(const BrowserPlace& browser, const std::string& processes);

/// One line for each finding, a mark first.
std::string textOfFindings(const std::vector<Finding>& findings);
