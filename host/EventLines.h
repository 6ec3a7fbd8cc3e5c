// What the host tells its user or script: one JSON object a line, each written out before anything else happens as long as the
// reader keeps up. The host never waits for its reader: lines that do not fit wait here, and are written from the main loop.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Log.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/programs/JSON.h"

class EventLines {
 public:
  /// The bytes that wait at most. What does not fit is left out, and counted in a line `{"event":"leftOut","lines":N}` in its place.
  static constexpr std::size_t room = 16 * 1024 * 1024;

  /// Lines go to that descriptor, which is not owned. Once it cannot be written any more they go nowhere, and the log says so.
  /// A quiet one writes the lines of the host's own life alone: "ready", "promoted" and "quit".
  EventLines(int descriptor, platform::Log& log, bool isQuiet = false);
  EventLines(const EventLines&) = delete;
  EventLines& operator=(const EventLines&) = delete;

  /// `{"event":name, …}`, the members in their order. Name characters that are no UTF-8 are escaped (platform/JSONText.h).
  void write(std::string_view name, const platform::JSON::ObjectValue& members);
  /// The same for members that are text already: `,"key":value…`, or nothing.
  void writeText(std::string_view name, std::string_view members);
  /// Waits that long at most for the reader to take what waits: for the end of the program.
  void finish(std::chrono::milliseconds longest);

 private:
  bool isWanted(std::string_view name) const;
  void add(std::string_view line);
  void addCountOfLeftOut();
  void writeWaiting();
  void writeWhenReady();
  bool writeSome();
  void giveUp(int error);

  platform::native::Descriptor own_;  // of a pipe or terminal: opened anew, so that no other process's writes are changed
  int descriptor_;
  platform::Log& log_;
  bool isQuiet_;
  std::string waiting_;
  std::size_t written_ = 0;  // of what waits
  std::size_t leftOut_ = 0;
  platform::native::MainLoopSource writable_;
};
