#include "platform/UserDefaults.h"

namespace platform {

const Dictionary* UserDefaults::dictionaryForKey(std::string_view key) const { return objectForKey(key).get<Dictionary>(); }

bool UserDefaults::boolForKey(std::string_view key) const {
  const Object& value = objectForKey(key);
  if (const auto* flag = value.get<bool>()) return *flag;
  if (const auto* number = value.get<Integer>()) return number->bits != 0;
  if (const auto* number = value.get<double>()) return *number != 0;
  return false;
}

const Array* UserDefaults::arrayForKey(std::string_view key) const { return objectForKey(key).get<Array>(); }

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
  if (const auto* text = objectForKey(key).get<std::string>()) return *text;
  return std::nullopt;
}

}  // namespace platform
