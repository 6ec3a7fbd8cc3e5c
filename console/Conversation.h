// Lines in, lines out: reads one request, has it done, writes its reply, and lets the main loop run before the next.
#pragma once

#include <functional>

#include "console/Console.h"
#include "console/Language.h"
#include "console/LineSource.h"

class Conversation {
 public:
  /// Reads standard input and writes standard output. `onEnd` runs once: with 0 after a request to quit and at the end of the input,
  /// with 1 when nobody reads the output.
  Conversation(Language& language, std::function<void(int status)> onEnd);

  /// From now on requests are read.
  void start(Console& console);
  /// Writes an event, also before the start.
  void tell(const platform::JSON& event);

 private:
  void next();
  void take(std::string_view line);
  void answer(const platform::JSON& request, const platform::JSON& reply);
  void write(std::string_view text);
  void end(int status);

  Language& language_;
  std::function<void(int)> onEnd_;
  Console* console_ = nullptr;
  LineSource lines_;
};
