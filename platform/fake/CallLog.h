// One list of all calls that reach the fakes, in order, for tests to compare whole with a literal list.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace platform::fake {

class CallLog {
 public:
  void add(std::string call) { calls_.push_back(std::move(call)); }
  /// All calls since the last `take`.
  std::vector<std::string> take() { return std::exchange(calls_, {}); }

 private:
  std::vector<std::string> calls_;
};

}  // namespace platform::fake
