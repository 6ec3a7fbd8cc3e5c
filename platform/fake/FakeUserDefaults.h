// Shared settings in memory: a test writes as the host would.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/UserDefaults.h"
#include "platform/fake/CallLog.h"
#include "platform/fake/FakeMainLoop.h"

namespace platform::fake {

/// What is stored, by suite and key; it outlives the handles on it.
struct FakeSettings {
  std::map<std::string, Object, std::less<>> values;
  std::vector<std::pair<KeyValueObserver*, std::string>> observers;
};

class FakeUserDefaultsSuites final : public UserDefaultsSuites {
 public:
  FakeUserDefaultsSuites(CallLog& log, FakeMainLoop& loop) : log_(log), loop_(loop) {}

  bool refusesSuites = false;

  std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suiteName) override;

  /// Stores a value, or removes it when it is nil; observers are told through the main loop.
  void set(const std::string& suiteName, const std::string& key, Object value);

 private:
  CallLog& log_;
  FakeMainLoop& loop_;
  std::map<std::string, std::shared_ptr<FakeSettings>, std::less<>> suites_;
};

}  // namespace platform::fake
