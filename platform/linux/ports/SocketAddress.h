// The address of a local socket, and who stands at its other end.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <string_view>

namespace platform::native {

class SocketAddress {
 public:
  /// `path` has at most 107 bytes, as those of PortFolder have.
  explicit SocketAddress(std::string_view path) {
    path = path.substr(0, sizeof(address_.sun_path) - 1);
    std::copy(path.begin(), path.end(), address_.sun_path);
  }

  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  socklen_t length() const { return sizeof(address_); }

 private:
  sockaddr_un address_{.sun_family = AF_UNIX, .sun_path = {}};
};

/// The process that connected, or that listens (unix(7), SO_PEERCRED); user and process -1 when that cannot be told.
inline ucred peerOf(int socket) {
  ucred peer = {.pid = -1, .uid = static_cast<uid_t>(-1), .gid = static_cast<gid_t>(-1)};
  socklen_t length = sizeof(peer);
  ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length);
  return peer;
}

inline bool isPeerOfUser(int socket, uid_t user) { return peerOf(socket).uid == user; }

}  // namespace platform::native
