#include "host/ArchiveLister.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

using platform::native::Descriptor;
using platform::native::MainLoopSource;

namespace {

/// Open for reading when it is a regular file; opening never waits for a writer, as it would for a FIFO.
Descriptor openRegularFile(const std::string& path) {
  Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW));
  struct stat facts {};
  if (!file || fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return Descriptor();
  return file;
}

}  // namespace

ArchiveLister::ArchiveLister(Options options, platform::Log& log) : options_(std::move(options)), log_(log) {}

void ArchiveLister::list(std::string path, Completion completion) {
  if (waiting_.size() >= options_.waitingFiles) {
    log_.line("The listing of \"" + path + "\" was given up: too many files wait.");
    path.clear();  // it takes its turn as a file that cannot be read
  }
  waiting_.push_back({std::move(path), std::move(completion)});
  schedule();
}

void ArchiveLister::schedule() {
  if (!scheduled_) scheduled_ = MainLoopSource::soon([this] { startWork(); });
}

void ArchiveLister::startWork() {
  scheduled_.reset();
  std::erase_if(children_, [](const auto& child) { return !child->isSound(); });
  while (!waiting_.empty() && startNext()) {
  }
  if (waiting_.empty()) std::erase_if(children_, [](const auto& child) { return !child->isBusy(); });
}

/// False when all children are at work.
bool ArchiveLister::startNext() {
  ListingChild* child = idleChild();
  if (!child && children_.size() >= options_.children) return false;
  Request request = std::move(waiting_.front());
  waiting_.pop_front();
  Descriptor file = openRegularFile(request.path);
  if (!file) {
    request.completion(std::nullopt);
    return true;
  }
  if (!child) {
    auto started = ListingChild::start(options_.childProgram, options_.limits);
    child = started.get();
    if (started) children_.push_back(std::move(started));
  }
  if (child)
    begin(*child, std::move(file), std::move(request));
  else {
    log_.line("The listing of \"" + request.path + "\" was given up: no process could be started for it.");
    request.completion(std::nullopt);
  }
  return true;
}

ListingChild* ArchiveLister::idleChild() {
  const auto idle =
      std::find_if(children_.begin(), children_.end(), [](const auto& child) { return child->isSound() && !child->isBusy(); });
  return idle == children_.end() ? nullptr : idle->get();
}

void ArchiveLister::begin(ListingChild& child, Descriptor file, Request request) {
  ++underWay_;
  child.list(std::move(file),
             [this, &child, request = std::move(request)](std::optional<Listing> listing, const std::string& trouble) {
               childIsDone(child, request, std::move(listing), trouble);
             });
}

void ArchiveLister::childIsDone(ListingChild& child, const Request& request, std::optional<Listing> listing,
                                const std::string& trouble) {
  --underWay_;
  if (!trouble.empty()) log_.line("The listing of \"" + request.path + "\" was given up: " + trouble + ".");
  if (listing && !listing->shortfall.empty())
    log_.line("The listing of \"" + request.path + "\" is not whole: " + listing->shortfall + ".");
  // A file that the library stumbled over may have left it in any state.
  const bool isStained = listing && !listing->shortfall.empty();
  if (!child.isSound() || isStained || child.listedFiles() >= options_.filesPerChild) removeChild(child);
  schedule();
  request.completion(std::move(listing));
}

void ArchiveLister::removeChild(ListingChild& child) {
  std::erase_if(children_, [&child](const auto& owned) { return owned.get() == &child; });
}
