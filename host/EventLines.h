// What the host tells its user or script: one JSON object a line, each written out before anything else happens.
#pragma once

#include <string>
#include <string_view>

#include "platform/linux/programs/JSON.h"

class EventLines {
 public:
  /// Lines go to that descriptor, which is not owned. Once it cannot be written any more they go nowhere.
  /// A quiet one writes the lines of the host's own life alone: "ready", "promoted" and "quit".
  explicit EventLines(int descriptor, bool isQuiet = false) : descriptor_(descriptor), isQuiet_(isQuiet) {}

  /// `{"event":name, …}`, the members in their order. Name characters that are no UTF-8 are escaped (platform/JSONText.h).
  void write(std::string_view name, const platform::JSON::ObjectValue& members);
  /// The same for members that are text already: `,"key":value…`, or nothing.
  void writeText(std::string_view name, std::string_view members);

 private:
  bool isWanted(std::string_view name) const;

  int descriptor_;
  bool isQuiet_;
};
