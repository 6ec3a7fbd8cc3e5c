#include "console/Conversation.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

using platform::JSON;

Conversation::Conversation(Language& language, std::function<void(int)> onEnd)
    : language_(language),
      onEnd_(std::move(onEnd)),
      lines_(STDIN_FILENO, {.onLine = [this](std::string_view line) { take(line); },
                            .onLongLine = [this] { answer({}, Console::error("the line is too long")); },
                            .onEnd = [this] { end(0); }}) {}

void Conversation::start(Console& console) {
  console_ = &console;
  next();
}

void Conversation::tell(const JSON& event) { write(language_.eventText(event)); }

void Conversation::next() {
  write(language_.prompt());
  lines_.next();
}

void Conversation::take(std::string_view line) {
  const auto request = language_.requestOfLine(line);
  if (!request) return next();
  if (request->member("error")) return answer(*request, *request);
  console_->perform(*request, [this, request](const JSON& reply) { answer(*request, reply); });
}

void Conversation::answer(const JSON& request, const JSON& reply) {
  write(language_.replyText(request, reply));
  const std::string* name = request.stringMember("do");
  if (name && *name == "quit") return end(0);
  next();
}

void Conversation::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) end(1);
}

void Conversation::end(int status) {
  if (onEnd_) std::exchange(onEnd_, nullptr)(status);
}
