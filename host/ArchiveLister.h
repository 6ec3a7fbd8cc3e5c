// Finds out what archives hold. Formats are told by content, never by name. The work is done by a few child processes under
// limits (host/ListingChild.h), as reading a hostile file may hang or crash; this end only queues and never waits.
// Main thread only.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/Listing.h"
#include "host/ListingChild.h"
#include "platform/Log.h"

class ArchiveLister {
 public:
  /// The table of contents, or nothing for a file that is no archive, is no regular file, cannot be read, or was given up.
  using Completion = std::function<void(std::optional<Listing> listing)>;

  struct Options {
    /// The program that is run as a listing child; the running one knows how.
    std::string childProgram = "/proc/self/exe";
    ListingLimits limits;
    std::size_t children = 2;            ///< At work at once.
    unsigned filesPerChild = 256;        ///< Then a fresh one takes over, so that no leak or stain of the library's lasts.
    std::size_t waitingFiles = 500'000;  ///< Beyond them a file is given up.
  };

  ArchiveLister(Options options, platform::Log& log);
  /// A lister that goes drops what is queued or under way; no completion runs any more.
  ArchiveLister(const ArchiveLister&) = delete;
  ArchiveLister& operator=(const ArchiveLister&) = delete;

  /// Lists the file of that path (bytes; a final symbolic link is not followed). The completion runs once, from the main loop,
  /// never from within this call. Files are begun in the order asked for and may end in another. A file that is given up, or
  /// listed in part, costs one log line.
  void list(std::string path, Completion completion);
  /// Files asked for whose completion has not run.
  std::size_t waitingFiles() const { return waiting_.size() + underWay_; }
  /// Processes that live now; none while nothing is asked for.
  std::size_t liveChildren() const { return children_.size(); }

 private:
  struct Request {
    std::string path;
    Completion completion;
  };

  void schedule();
  void startWork();
  bool startNext();
  ListingChild* idleChild();
  void begin(ListingChild& child, platform::native::Descriptor file, Request request);
  void childIsDone(ListingChild& child, const Request& request, std::optional<Listing> listing, const std::string& trouble);
  void removeChild(ListingChild& child);

  const Options options_;
  platform::Log& log_;
  std::deque<Request> waiting_;
  std::vector<std::unique_ptr<ListingChild>> children_;
  std::size_t underWay_ = 0;
  platform::native::MainLoopSource scheduled_;
};
