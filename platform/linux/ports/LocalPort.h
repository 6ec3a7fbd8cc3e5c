// A port that other processes send to: its socket, the connections to it, and the reading of their records.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/ports/ListeningSocket.h"

namespace platform::native {

class LocalPort final : public LocalMessagePort, public std::enable_shared_from_this<LocalPort> {
 public:
  /// Connections held at once. Others wait in the socket's queue until one closes.
  static constexpr std::size_t mostPeers = 64;

  LocalPort(std::string name, std::unique_ptr<ListeningSocket> socket, uid_t user, MessagePortCallBack callBack, Log& log);

  std::string_view name() const override { return name_; }
  void invalidate() override;
  bool isOpen() const { return isOpen_; }
  /// The process at the other end of the connection that was read last.
  pid_t sender() const { return sender_; }
  /// From now on connections are accepted and records delivered, at that order of the loop's sources.
  void startReading(int order);
  /// Listens under the name anew when `folder` no longer shows the socket of the open port: somebody emptied the runtime
  /// folder.
  void publishAgain(PortFolder folder);
  /// Tries again to accept connections that were left waiting for want of descriptors.
  void resumeAccepting();

 private:
  struct Peer {
    Descriptor socket;
    pid_t process;
    MainLoopSource source;
  };

  void acceptOne();
  Descriptor acceptedSocket();
  void read(std::list<Peer>::iterator peer);
  void close(std::list<Peer>::iterator peer);

  std::string name_;
  std::unique_ptr<ListeningSocket> socket_;  // null after it was removed and could not be opened again
  uid_t user_;
  MessagePortCallBack callBack_;
  Log& log_;

  bool isOpen_ = true;
  bool isReading_ = false;
  int order_ = 0;
  pid_t sender_ = 0;
  MainLoopSource accepting_;
  std::list<Peer> peers_;
  // Given up for a connection when the process has no other descriptor left: so there is always a connection
  // whose end tells that the next one can be accepted, and nobody needs to try in vain.
  Descriptor spare_;
};

}  // namespace platform::native
