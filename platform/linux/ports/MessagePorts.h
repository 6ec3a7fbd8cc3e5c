// Message ports over sequenced-packet sockets in a folder of the user's own (unix(7)). A port is a socket file
// in $XDG_RUNTIME_DIR/dovetail; PortFolder.h says how it is called, Record.h how a record travels. Only
// processes of the same user are served, at both ends. The number of a message does not travel: the other end
// sees 0.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/linux/ports/Connector.h"
#include "platform/linux/ports/LocalPort.h"

namespace platform::native {

class LinuxMessagePorts final : public MessagePorts {
 public:
  /// Serves the effective user of this process, in the usual folder.
  explicit LinuxMessagePorts(Log& log);
  LinuxMessagePorts(Log& log, std::string folder, uid_t user);
  /// Closes the local ports and removes their files.
  ~LinuxMessagePorts() override;

  std::shared_ptr<LocalMessagePort> createLocal(std::string_view name, MessagePortCallBack callBack,
                                                const MessagePortContext& context) override;
  std::unique_ptr<RunLoopSource> createRunLoopSource(LocalMessagePort& port, int order) override;
  void addSourceToCurrentRunLoop(RunLoopSource& source, RunLoopMode mode) override;

  /// The process that connected to send the record which `port`, a port of this backend, delivers just now (unix(7), SO_PEERCRED);
  /// 0 for one that this process cannot see. To be asked in the port's callback.
  static pid_t senderTo(const LocalMessagePort& port);

  /// Waits as the connector does. Also publishes a local port again whose file somebody removed, as a peer that is
  /// greeted over the new connection will look for it.
  std::unique_ptr<RemoteMessagePort> createRemote(std::string_view name) override;

 private:
  struct Source;

  void refreshLocalPorts();

  Log& log_;
  uid_t user_;
  std::shared_ptr<Connector> connector_;
  std::vector<std::shared_ptr<LocalPort>> ports_;  // those that were closed go when the next one is made
};

}  // namespace platform::native
