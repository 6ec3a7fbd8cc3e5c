#include "console/MenuJSON.h"

#include <cmath>

using platform::JSON;

namespace {

JSON numberJSON(double number) { return number == std::floor(number) ? JSON(static_cast<std::int64_t>(number)) : JSON(number); }

JSON itemJSON(const platform::MenuItem& item) {
  JSON json(JSON::ObjectValue{
      {"title", item.title},
      {"action", item.action.empty() ? JSON() : JSON(item.action)},
      {"tag", item.tag},
      {"enabled", item.isEnabled},
      {"image", imageJSON(item.image)},
  });
  if (item.submenu) json.set("items", *menuJSON(*item.submenu).member("items"));
  return json;
}

}  // namespace

JSON menuJSON(const platform::Menu& menu) {
  JSON::ArrayValue items;
  items.reserve(menu.items.size());
  for (const platform::MenuItem& item : menu.items) items.push_back(itemJSON(item));
  return JSON::ObjectValue{{"items", std::move(items)}};
}

JSON imageJSON(const platform::ImageRef& image) {
  if (!image) return {};
  const auto* representation = image->bestRepresentationForRect(image->size);
  return JSON::ObjectValue{
      {"source", representation ? JSON(representation->source) : JSON()},
      {"width", numberJSON(image->size.width)},
      {"height", numberJSON(image->size.height)},
  };
}
