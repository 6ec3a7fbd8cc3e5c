#include "host/EventLines.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

using platform::JSON;
using platform::native::Descriptor;
using platform::native::MainLoopSource;

namespace {

using Clock = std::chrono::steady_clock;

// The flag O_NONBLOCK belongs to the open file, which the shell and others may share; so a pipe or a terminal is opened a second
// time. None for what cannot be opened again, as a socket.
Descriptor openedWithoutWaiting(int descriptor) {
  struct stat facts = {};
  if (::fstat(descriptor, &facts) != 0 || (!S_ISFIFO(facts.st_mode) && !S_ISCHR(facts.st_mode))) return {};
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  return Descriptor(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool isReady(int descriptor, int milliseconds) {
  pollfd watched{descriptor, POLLOUT, 0};
  return ::poll(&watched, 1, milliseconds) == 1;
}

}  // namespace

EventLines::EventLines(int descriptor, platform::Log& log, bool isQuiet)
    : own_(openedWithoutWaiting(descriptor)), descriptor_(own_ ? own_.get() : descriptor), log_(log), isQuiet_(isQuiet) {}

void EventLines::write(std::string_view name, const JSON::ObjectValue& members) {
  const std::string text = JSON(members).text();
  const std::string_view inner = std::string_view(text).substr(1, text.size() - 2);
  writeText(name, inner.empty() ? "" : "," + std::string(inner));
}

bool EventLines::isWanted(std::string_view name) const {
  return !isQuiet_ || name == "ready" || name == "promoted" || name == "quit";
}

void EventLines::writeText(std::string_view name, std::string_view members) {
  if (!isWanted(name) || descriptor_ < 0) return;
  std::string line = "{\"event\":" + JSON(name).text();
  line.append(members).append("}\n");
  add(line);
  if (!writable_) writeWaiting();
}

void EventLines::finish(std::chrono::milliseconds longest) {
  const auto deadline = Clock::now() + longest;
  const auto left = [&] { return std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count(); };
  while (!waiting_.empty() && left() > 0 && isReady(descriptor_, static_cast<int>(left()))) writeWaiting();
}

// Some room is kept for the line that counts.
void EventLines::add(std::string_view line) {
  constexpr std::size_t countOfLeftOut = 100;
  if (waiting_.size() - written_ + line.size() + countOfLeftOut > room) {
    ++leftOut_;
    return;
  }
  addCountOfLeftOut();
  waiting_.append(line);
}

void EventLines::addCountOfLeftOut() {
  if (leftOut_ == 0) return;
  waiting_.append("{\"event\":\"leftOut\",\"lines\":" + std::to_string(std::exchange(leftOut_, 0)) + "}\n");
}

void EventLines::writeWaiting() {
  while (descriptor_ >= 0 && written_ < waiting_.size() && writeSome()) {
    if (written_ == waiting_.size()) {
      waiting_.clear();
      written_ = 0;
      addCountOfLeftOut();
    }
  }
  writeWhenReady();
}

void EventLines::writeWhenReady() {
  // The part that is out goes when it is the larger one, so that each byte is moved once or twice.
  if (written_ > waiting_.size() / 2) waiting_.erase(0, std::exchange(written_, 0));
  if (waiting_.empty() || descriptor_ < 0) return writable_.reset();
  if (!writable_) writable_ = MainLoopSource::whenWritable(descriptor_, [this] { writeWaiting(); });
}

// Whether it is worth trying to write more at once. What may block is asked first, and given no more than it has promised to take
// (pipe(7), PIPE_BUF).
bool EventLines::writeSome() {
  std::size_t length = waiting_.size() - written_;
  if (!own_) {
    if (!isReady(descriptor_, 0)) return false;
    length = std::min<std::size_t>(length, PIPE_BUF);
  }
  const ssize_t count = ::write(descriptor_, waiting_.data() + written_, length);
  if (count >= 0) {
    written_ += static_cast<std::size_t>(count);
    return true;
  }
  if (errno == EINTR) return true;
  if (errno != EAGAIN) giveUp(errno);
  return false;
}

void EventLines::giveUp(int error) {
  log_.line(std::string("The lines go nowhere from now on: ") + std::strerror(error));
  writable_.reset();
  descriptor_ = -1;
  own_.reset();
  waiting_.clear();
  written_ = leftOut_ = 0;
}
