// One JSON object a line, both ways, for scripts: a reply to each line, in their order.
#pragma once

#include "console/Language.h"

class JSONLanguage final : public Language {
 public:
  std::optional<platform::JSON> requestOfLine(std::string_view line) override;
  std::string replyText(const platform::JSON& request, const platform::JSON& reply) override;
  std::string eventText(const platform::JSON& event) override;
  std::string_view prompt() const override { return ""; }
};
