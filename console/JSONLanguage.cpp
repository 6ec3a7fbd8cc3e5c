#include "console/JSONLanguage.h"

using platform::JSON;

std::optional<JSON> JSONLanguage::requestOfLine(std::string_view line) {
  auto request = JSON::parse(line);
  if (!request || !request->get<JSON::ObjectValue>()) return JSON::ObjectValue{{"error", "the line is no JSON object"}};
  return request;
}

std::string JSONLanguage::replyText(const JSON&, const JSON& reply) { return reply.text() + "\n"; }

std::string JSONLanguage::eventText(const JSON& event) { return event.text() + "\n"; }
