#include "host/EventLines.h"

#include <unistd.h>

#include <cerrno>

using platform::JSON;

void EventLines::write(std::string_view name, const JSON::ObjectValue& members) {
  const std::string text = JSON(members).text();
  const std::string_view inner = std::string_view(text).substr(1, text.size() - 2);
  writeText(name, inner.empty() ? "" : "," + std::string(inner));
}

bool EventLines::isWanted(std::string_view name) const {
  return !isQuiet_ || name == "ready" || name == "promoted" || name == "quit";
}

void EventLines::writeText(std::string_view name, std::string_view members) {
  if (!isWanted(name)) return;
  std::string line = "{\"event\":" + JSON(name).text();
  line.append(members).append("}\n");
  std::string_view rest = line;
  while (!rest.empty() && descriptor_ >= 0) {
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written >= 0)
      rest.remove_prefix(static_cast<std::size_t>(written));
    else if (errno != EINTR)
      descriptor_ = -1;
  }
}
