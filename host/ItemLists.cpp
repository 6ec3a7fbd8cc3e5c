#include "host/ItemLists.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "wire/Settings.h"

using platform::Array;
using platform::Dictionary;
using platform::Failure;
using platform::Integer;
using platform::JSON;
using platform::Object;

namespace {

using Tags = std::vector<std::int64_t>;

struct NamedList {
  wire::ItemList list;
  std::string_view word;
  Tags ItemLists::*tags;
};

constexpr std::array<NamedList, 3> lists{{{wire::rootItems, "root", &ItemLists::root},
                                          {wire::moreItems, "more", &ItemLists::more},
                                          {wire::otherItems, "other", &ItemLists::other}}};

bool isTag(std::int64_t number) { return wire::commandWithTag(number) != nullptr; }

/// "7,8,9" and the empty text; nothing for anything else.
std::optional<Tags> tagsOfText(std::string_view text) {
  Tags tags;
  while (!text.empty()) {
    std::int64_t tag = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tag);
    if (error != std::errc() || !isTag(tag)) return std::nullopt;
    tags.push_back(tag);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.empty()) break;
    if (text[0] != ',' || text.size() == 1) return std::nullopt;
    text.remove_prefix(1);
  }
  return tags;
}

const NamedList* listNamed(std::string_view word) {
  const auto list = std::find_if(lists.begin(), lists.end(), [&](const NamedList& named) { return named.word == word; });
  return list == lists.end() ? nullptr : &*list;
}

/// The first tag that stands twice, or 0.
std::int64_t doubledTag(const ItemLists& items) {
  Tags all;
  for (const NamedList& list : lists) all.insert(all.end(), (items.*list.tags).begin(), (items.*list.tags).end());
  std::sort(all.begin(), all.end());
  const auto twice = std::adjacent_find(all.begin(), all.end());
  return twice == all.end() ? 0 : *twice;
}

Tags leftOver(const ItemLists& items) {
  Tags left;
  for (const wire::Command& command : wire::commands)
    if (std::ranges::count(items.root, command.tag) + std::ranges::count(items.more, command.tag) == 0) left.push_back(command.tag);
  return left;
}

}  // namespace

std::string_view nameOfCommand(std::int64_t tag) {
  const wire::Command* command = wire::commandWithTag(tag);
  return command ? command->name() : "unknown";
}

ItemLists ItemLists::defaults() {
  ItemLists items;
  for (const NamedList& named : lists) (items.*named.tags).assign(named.list.defaults.begin(), named.list.defaults.end());
  return items;
}

std::optional<ItemLists> ItemLists::ofObject(const Object& object) {
  const auto* dictionary = object.get<Dictionary>();
  if (!dictionary) return std::nullopt;
  ItemLists items;
  for (const NamedList& list : lists) {
    const Object* value = dictionary->objectForKey(list.list.key);
    const auto* numbers = value ? value->get<Array>() : nullptr;
    if (!numbers) continue;
    for (const Object& number : *numbers)
      if (const auto* tag = number.get<Integer>()) (items.*list.tags).push_back(tag->signedValue());
  }
  return items;
}

platform::Result<ItemLists> ItemLists::ofWords(const std::vector<std::string>& words) {
  ItemLists items;
  bool isOtherGiven = false;
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    const NamedList* list = equals == std::string::npos ? nullptr : listNamed(word.substr(0, equals));
    if (!list) return Failure{"\"" + word + "\" is none of root=TAGS, more=TAGS and other=TAGS."};
    auto tags = tagsOfText(std::string_view(word).substr(equals + 1));
    if (!tags)
      return Failure{"\"" + word + "\" holds something else than tags from 1 to " + std::to_string(wire::commands.size()) + "."};
    items.*list->tags = *std::move(tags);
    isOtherGiven |= list->word == "other";
  }
  if (!isOtherGiven) items.other = leftOver(items);
  if (const std::int64_t tag = doubledTag(items)) return Failure{"The tag " + std::to_string(tag) + " stands twice."};
  return items;
}

Object ItemLists::object() const {
  Dictionary dictionary;
  for (const NamedList& list : lists) {
    Array numbers;
    for (const std::int64_t tag : this->*list.tags) numbers.emplace_back(Integer::ofSigned(tag));
    dictionary.add(list.list.key, Object(std::move(numbers)));
  }
  return Object(std::move(dictionary));
}

JSON ItemLists::json() const {
  JSON json{JSON::ObjectValue{}};
  for (const NamedList& list : lists) {
    JSON::ArrayValue items;
    for (const std::int64_t tag : this->*list.tags)
      items.emplace_back(JSON::ObjectValue{{"tag", JSON(tag)}, {"command", JSON(nameOfCommand(tag))}});
    json.set(list.list.key, JSON(std::move(items)));
  }
  return json;
}

std::string ItemLists::text() const {
  std::string text;
  for (const NamedList& list : lists) {
    text.append(list.word).append(":");
    for (const std::int64_t tag : this->*list.tags)
      text.append(text.back() == ':' ? " " : ", ").append(std::to_string(tag)).append(" ").append(nameOfCommand(tag));
    text += '\n';
  }
  return text;
}
