// Connects to the ports of other processes of this user, by name. Shared by the backend and its remote ports,
// which may outlive it.
#pragma once

#include <sys/types.h>

#include <optional>
#include <set>
#include <string>

#include "platform/Log.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/ports/PortFolder.h"

namespace platform::native {

class Connector {
 public:
  enum class Wait { oneSecond, notAtAll };

  struct Connection {
    Descriptor socket;    ///< None when nobody listens, or another user.
    pid_t listener = 0;   ///< The process that listens.
    bool isBusy = false;  ///< No socket yet: the listener's queue is full, or the system has no means left.
  };

  Connector(Log& log, std::string folder, uid_t user);
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;

  /// A listener whose queue is full is waited for once: until a connect succeeds again, later ones to that
  /// name do not wait.
  Connection connect(const std::string& name, Wait wait);
  /// The folder of ports; why it cannot be used stands in the log.
  std::optional<PortFolder> openFolder(PortFolder::Missing missing) const;

 private:
  Connection accepted(Descriptor socket, const std::string& name);
  Connection refused(int error, const std::string& name, Wait wait);

  Log& log_;
  const std::string folder_;
  const uid_t user_;
  std::set<std::string, std::less<>> unanswering_;
};

}  // namespace platform::native
