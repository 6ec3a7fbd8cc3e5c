#include "console/LineSource.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

using platform::native::MainLoopSource;

void LineSource::next() {
  source_ = MainLoopSource::soon([this] { deliver(); });
}

void LineSource::deliver() {
  const std::size_t end = text_.find('\n', searched_);
  const bool isWhole = end != std::string::npos;
  searched_ = isWhole ? 0 : text_.size();
  if (!isWhole && !isEnded_) {
    if (text_.size() > longestLine) isSkipping_ = true;
    if (isSkipping_) text_.clear(), searched_ = 0;
    source_ = MainLoopSource::whenReadable(descriptor_, [this] { read(); });
    return;
  }
  if (!isWhole && text_.empty() && !isSkipping_) return handlers_.onEnd();
  const std::string line = text_.substr(0, end);
  text_.erase(0, isWhole ? end + 1 : end);
  searched_ = 0;
  if (std::exchange(isSkipping_, false) || line.size() > longestLine) return handlers_.onLongLine();
  handlers_.onLine(line);
}

void LineSource::read() {
  char bytes[64 * 1024];
  const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
  if (count > 0) text_.append(bytes, static_cast<std::size_t>(count));
  isEnded_ = count <= 0;
  next();
}
