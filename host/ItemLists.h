// The layout of a menu as the shared settings hold it: which commands, by tag, stand at the top level, which under "More" and
// which nowhere.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Object.h"
#include "platform/Result.h"
#include "platform/linux/programs/JSON.h"

struct ItemLists {
  std::vector<std::int64_t> root;
  std::vector<std::int64_t> more;
  std::vector<std::int64_t> other;

  /// What a new user sees.
  static ItemLists defaults();
  /// The stored form; lists that are missing, and elements that are no numbers, read as none. Nothing for any other object.
  [[nodiscard]] static std::optional<ItemLists> ofObject(const platform::Object& object);
  /// Reads "root=7,8,9", "more=2" and "other=". A list that is not named is empty, but "other" then takes all tags that stand nowhere.
  /// Fails, with one sentence, for another word, for a tag outside 1 to 10 and for one that stands twice.
  static platform::Result<ItemLists> ofWords(const std::vector<std::string>& words);

  platform::Object object() const;
  /// Each list as an array of {"tag":7,"command":"Delete"}.
  platform::JSON json() const;
  /// Three lines for people.
  std::string text() const;

  friend bool operator==(const ItemLists&, const ItemLists&) = default;
};

/// A command's name, or "unknown".
std::string_view nameOfCommand(std::int64_t tag);
