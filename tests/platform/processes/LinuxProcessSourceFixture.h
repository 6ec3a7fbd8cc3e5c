// Watches on real processes with the real watcher, and what the system says of them meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/processes/ProcessSource.h"
#include "tests/MainLoopPump.h"
#include "tests/platform/processes/TracedProcess.h"

namespace tests {

using platform::ProcessExit;
using platform::ProcessSignal;
using platform::ProcessSource;

class LinuxProcessSource : public testing::Test {
 protected:
  std::shared_ptr<ProcessSource> watch(pid_t process, std::uint32_t mask = ProcessSignal) {
    auto source = sources->createProcessSource(process, mask);
    source->setEventHandler([this] { ++events; });
    source->resume();
    return source;
  }
  static bool runUntilTraced(pid_t process) {
    return pumpUntil([&] { return tracerOf(process) != 0; });
  }
  static bool runUntilLeftAlone(pid_t process) {
    return pumpUntil([&] { return tracerOf(process) == 0; });
  }
  static bool runUntilGone(pid_t process) {
    return pumpUntil([&] { return ::kill(process, 0) != 0 || stateOf(process) == 'Z'; });
  }
  bool runUntilEvents(int count) {
    return pumpUntil([&] { return events >= count; });
  }
  long logged(std::string_view words) const {
    return std::count_if(log.lines.begin(), log.lines.end(),
                         [&](const std::string& line) { return line.find(words) != std::string::npos; });
  }

  platform::fake::FakeLog log;
  std::unique_ptr<platform::native::LinuxProcessSources> sources =
      std::make_unique<platform::native::LinuxProcessSources>(log, DOVETAIL_WATCHER);
  int events = 0;
};

}  // namespace tests
