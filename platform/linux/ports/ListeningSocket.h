// A port's socket file and the lock that tells whether its owner lives.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/Result.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/ports/PortFolder.h"

namespace platform::native {

/// Beside the socket file stands ".FILE.lock", locked with flock(2) as long as the owner lives. Who holds the
/// lock may replace the socket file: so one left by a dead process is replaced, a live one never, and no two
/// processes can do so at once.
class ListeningSocket {
 public:
  /// Listens under the port's name.
  static Result<std::unique_ptr<ListeningSocket>> open(PortFolder folder, std::string_view port);
  /// Removes both files, unless they are no longer its own or a forked child ends.
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;

  /// Accepts connections without blocking.
  int descriptor() const { return socket_.get(); }
  /// Whether `folder` still shows these files under the port's name.
  bool isIn(const PortFolder& folder) const;

 private:
  ListeningSocket(PortFolder folder, std::string file);
  Result<Done> lock();
  Result<Done> listen();

  PortFolder folder_;
  std::string file_;
  std::string lockFile_;
  pid_t owner_;
  Descriptor lock_;
  Descriptor socket_;
};

}  // namespace platform::native
