// What is wrong with the file browsers: none there, the module missing, switched off, not loaded.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "console/Finding.h"

/// A file browser that a module was built for.
struct BrowserPlace {
  /// What the browser's own list of extensions says of the module.
  enum class Switch { isOn, isOff, cannotBeSeen };

  std::string name;    ///< Of its program.
  std::string folder;  ///< Where it looks for extensions.
  bool isInstalled = true;
  Switch moduleSwitch = Switch::isOn;
};

/// The browsers of this build as they are on this machine.
std::vector<BrowserPlace> builtBrowsers();

/// What the list under the key of a schema says of an entry: off when it is in. Cannot be seen where the schema is not installed.
BrowserPlace::Switch switchInList(const char* schema, const char* key, const std::string& entry);

/// For each installed browser whether its module is in its folder, switched on, and loaded in the processes of `processes` ("/proc",
/// proc(5)) that are the user's.
std::vector<Finding> findingsOfBrowsers(const std::vector<BrowserPlace>& browsers, const std::string& processes, uid_t user);
