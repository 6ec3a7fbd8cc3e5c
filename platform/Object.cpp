#include "platform/Object.h"

namespace platform {

const Object* Dictionary::objectForKey(std::string_view key) const {
  for (const auto& [entryKey, value] : entries) {
    const auto* text = entryKey.get<std::string>();
    if (text && *text == key) return &value;
  }
  return nullptr;
}

void Dictionary::add(std::string_view key, Object value) { entries.emplace_back(Object(key), std::move(value)); }

const std::string* Error::textForKey(std::string_view key) const {
  const Object* value = userInfo.objectForKey(key);
  return value ? value->get<std::string>() : nullptr;
}

void Error::setText(std::string_view key, std::string_view text) {
  for (auto& [entryKey, value] : userInfo.entries) {
    const auto* entryText = entryKey.get<std::string>();
    if (!entryText || *entryText != key) continue;
    value = Object(text);
    return;
  }
  userInfo.add(key, Object(text));
}

}  // namespace platform
