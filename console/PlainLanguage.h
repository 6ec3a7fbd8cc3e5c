// Plain commands and readable answers, for people. Words are split as a shell splits them.
#pragma once

#include <string>
#include <vector>

#include "console/Language.h"

class PlainLanguage final : public Language {
 public:
  /// `isPrompting` for a person at a terminal.
  explicit PlainLanguage(bool isPrompting) : isPrompting_(isPrompting) {}

  std::optional<platform::JSON> requestOfLine(std::string_view line) override;
  std::string replyText(const platform::JSON& request, const platform::JSON& reply) override;
  std::string eventText(const platform::JSON& event) override;
  std::string_view prompt() const override { return isPrompting_ ? "dovetail> " : ""; }

 private:
  bool isPrompting_;
};
