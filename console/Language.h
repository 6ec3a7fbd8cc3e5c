// How requests, replies and events look on the console's lines.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/programs/JSON.h"

class Language {
 public:
  virtual ~Language() = default;
  /// The request that a line makes, nothing for a line that asks for nothing, or `{"error":…}`.
  [[nodiscard]] virtual std::optional<platform::JSON> requestOfLine(std::string_view line) = 0;
  /// What is written for a reply or an event, ends of lines included; may be empty.
  virtual std::string replyText(const platform::JSON& request, const platform::JSON& reply) = 0;
  virtual std::string eventText(const platform::JSON& event) = 0;
  /// What is written before a line is read.
  virtual std::string_view prompt() const = 0;
};
