// The main loop of a test: what the fakes deliver later waits here until the test steps it.
#pragma once

#include <deque>
#include <functional>
#include <utility>

namespace platform::fake {

class FakeMainLoop {
 public:
  void post(std::function<void()> task) { tasks_.push_back(std::move(task)); }
  /// Runs what waits, and what that posts, until nothing does.
  void run() {
    while (!tasks_.empty()) {
      const auto task = std::move(tasks_.front());
      tasks_.pop_front();
      task();
    }
  }

 private:
  std::deque<std::function<void()>> tasks_;
};

}  // namespace platform::fake
