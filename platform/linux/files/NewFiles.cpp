#include "platform/linux/files/NewFiles.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace platform::native {
namespace {

constexpr unsigned kindsWatched = IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_ONLYDIR;
constexpr std::size_t readAtOnce = 16 * 1024;  // the browser has its turn between two of them

// A file that is made is told of when it is closed; a further name of a file that stands is not closed.
bool isFurtherName(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink > 1;
}

}  // namespace

NewFiles::NewFiles(std::function<void(const std::string& path)> onFile, std::function<void()> onLoss)
    : onFile_(std::move(onFile)), onLoss_(std::move(onLoss)), events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (events_) source_ = MainLoopSource::whenReadable(events_.get(), [this] { readEvents(); });
}

void NewFiles::watch(const std::string& folder) {
  const int number = events_ ? inotify_add_watch(events_.get(), folder.c_str(), kindsWatched) : -1;
  if (number >= 0) watched_.push_back({folder, number});
}

// The kernel has ended the watch of a folder that was removed; a number is not used again (inotify(7)).
void NewFiles::end(const std::string& folder) {
  const auto ended = std::ranges::find(watched_, folder, &Watched::folder);
  if (ended == watched_.end()) return;
  const int number = ended->number;
  watched_.erase(ended);
  if (std::ranges::find(watched_, number, &Watched::number) == watched_.end()) inotify_rm_watch(events_.get(), number);
}

void NewFiles::readEvents() {
  alignas(inotify_event) std::array<char, readAtOnce> buffer;
  const ssize_t length = read(events_.get(), buffer.data(), buffer.size());
  for (ssize_t at = 0; at < length;) {
    const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
    at += static_cast<ssize_t>(sizeof *event + event->len);
    if (event->mask & IN_Q_OVERFLOW) onLoss_();
    if (event->len > 0 && !(event->mask & IN_ISDIR)) tell(event->wd, event->mask, event->name);
  }
}

void NewFiles::tell(int number, unsigned kinds, const char* name) {
  const auto hasNumber = [number](const Watched& watched) { return watched.number == number; };
  const auto watched = std::find_if(watched_.rbegin(), watched_.rend(), hasNumber);  // the newest of the folder's paths
  if (watched == watched_.rend()) return;
  const std::string path = (watched->folder == "/" ? "" : watched->folder) + "/" + name;
  if (!(kinds & IN_CREATE) || isFurtherName(path)) onFile_(path);
}

}  // namespace platform::native
