// Whether somebody listens on a host's port, and reads.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

struct PortFacts {
  enum class Answer { isRead, isUnread, nobodyListens, cannotBeSeen };

  Answer answer = Answer::nobodyListens;
  pid_t listener = 0;  ///< The process that listens, where it is known.
  std::string reason;  ///< Why it cannot be seen.
};

/// Connects to the port of that name in the folder of ports at `path` and ends the connection at once, without a record: a listener that
/// reads closes its side then, which is waited for that long at most.
PortFacts factsOfPort(const std::string& path, const std::string& name, std::chrono::milliseconds longest);
