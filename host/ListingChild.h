// The host's end of one listing child (host/ListingService.h): starts it, hands it one open file at a time, and puts its
// answer together on the main loop without ever waiting for it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/Listing.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"

struct ListingLimits {
  std::chrono::milliseconds time{30'000};  ///< For one file.
  std::uint64_t memoryBytes = 512u << 20;  ///< Of the child's address space.
  ListingBounds bounds;
};

class ListingChild {
 public:
  /// The listing, or nothing: with an empty `trouble` for a sound file that is no archive, else with the reason why the file
  /// was given up, as the rest of a sentence.
  using Completion = std::function<void(std::optional<Listing> listing, std::string trouble)>;

  /// A child made from that program, or null when it cannot be started. The program gets the socket as its standard input.
  static std::unique_ptr<ListingChild> start(const std::string& program, const ListingLimits& limits);
  ListingChild(const ListingChild&) = delete;
  ListingChild& operator=(const ListingChild&) = delete;
  /// Ends the process; a listing under way is dropped without a word.
  ~ListingChild();

  /// Lists one file, which must be the only one under way. The completion runs once, from the main loop, as the child's last
  /// act, so it may delete the child.
  void list(platform::native::Descriptor file, Completion completion);
  bool isBusy() const { return completion_ != nullptr; }
  /// False once it has failed: it lists nothing any more.
  bool isSound() const { return isSound_; }
  unsigned listedFiles() const { return listedFiles_; }
  pid_t processIdentifier() const { return process_; }

 private:
  ListingChild(pid_t process, platform::native::Descriptor handle, platform::native::Descriptor socket,
               const ListingLimits& limits);
  void end();
  void takeBytes();
  void fail(std::string trouble);
  void finish(std::optional<Listing> listing, std::string trouble);

  const pid_t process_;
  const platform::native::Descriptor handle_;
  platform::native::Descriptor socket_;
  const ListingLimits limits_;
  ListingParser parser_;
  Completion completion_;
  platform::native::MainLoopSource reading_;
  platform::native::MainLoopSource timeLimit_;
  unsigned listedFiles_ = 0;
  bool isSound_ = true;
};
