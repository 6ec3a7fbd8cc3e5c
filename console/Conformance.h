// Whether the host that runs keeps what the page for hosts' authors asks of it (docs/host-protocol.md): plays an extension and a user's
// folder to it, and tells of each promise whether it was kept.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "archive/DTTreeNode.h"
#include "platform/Platform.h"

struct Promise {
  std::string section;                ///< Of the page.
  std::string text;                   ///< What a host does.
  std::optional<std::string> breach;  ///< What it did instead.
};

/// Examines the host and tells of each promise as soon as it is decided. Without a host that answers it ends early: of what could not be
/// asked nothing is told. True when all were kept. Makes a folder of small archives in the user's temporary folder and removes it.
bool examineHost(const platform::Platform& services, const std::function<void(const Promise&)>& tell);

/// One line: kept or not, the section, the promise, and what happened instead.
std::string textOfPromise(const Promise& promise);

/// A tree in one line: "name" for a file, "name[…]" for a folder, with ":size" where it is not 0.
std::string lineOfTree(const DTTreeNode& node);

/// What is wrong with the numbers of a tree's nodes, or nothing: each is distinct, and only the root's may be 0.
std::optional<std::string> breachOfNumbers(const DTTreeNode& root);
