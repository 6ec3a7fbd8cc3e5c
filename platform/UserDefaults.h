// The settings that the programs of an application group share: a persistent key-value store, read here and written by
// the host, under a layer of registered defaults in memory (Cocoa's NSUserDefaults). Main thread only.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Object.h"

namespace platform {

/// Told of changes of single keys of a store, on the main loop.
class KeyValueObserver {
 public:
  virtual ~KeyValueObserver() = default;
  virtual void observeValueForKeyPath(std::string_view keyPath, const Object& newValue) = 0;
};

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The stored value, else the registered one, else nil. Valid until control returns to the main loop. A key that was read before
  /// costs a look-up in memory and no system call.
  virtual const Object& objectForKey(std::string_view key) const = 0;
  /// Supplies fallback values for keys without a stored one, in memory, for this process; replaces those registered before.
  virtual void registerDefaults(const Dictionary& defaults) = 0;

  /// Tells the observer of each change of the stored value of `key`, also when it is removed. An observer is told once a change
  /// for each time that it was added.
  virtual void addObserver(KeyValueObserver& observer, std::string_view key) = 0;
  virtual void removeObserver(KeyValueObserver& observer, std::string_view key) = 0;

  /// Typed reads: empty when the key is absent or its value is of another kind. A number reads as a boolean (not zero).
  const Dictionary* dictionaryForKey(std::string_view key) const;
  bool boolForKey(std::string_view key) const;
  const Array* arrayForKey(std::string_view key) const;
  std::optional<std::string> stringForKey(std::string_view key) const;
};

class UserDefaultsSuites {
 public:
  virtual ~UserDefaultsSuites() = default;
  /// Opens the store of a group, or null when it cannot be (no such store can be named).
  [[nodiscard]] virtual std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suiteName) = 0;
};

}  // namespace platform
