// A backend of message ports in a private folder, one port of it whose records are kept, and the raw sockets
// of a peer that was not written with this code.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/ports/MessagePorts.h"
#include "platform/linux/ports/SocketAddress.h"
#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/PeerProcess.h"

namespace tests {

using platform::ByteView;
using platform::Data;
using platform::MessagePortStatus;
using platform::native::Descriptor;

inline Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

inline std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

inline sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

/// A connected socket, or none with errno set.
inline Descriptor rawConnect(const std::string& path) {
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const sockaddr_un address = addressOf(path);
  const bool isOpen = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  return isOpen ? std::move(socket) : Descriptor();
}

inline Descriptor rawListen(const std::string& path, int queue = 8) {
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const sockaddr_un address = addressOf(path);
  const bool isOpen =
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 && ::listen(socket.get(), queue) == 0;
  return isOpen ? std::move(socket) : Descriptor();
}

/// Sends one packet with descriptors beside it.
inline void rawSend(int socket, const Data& packet, const std::vector<int>& descriptors = {}) {
  iovec part{const_cast<std::uint8_t*>(packet.data()), packet.size()};
  std::vector<unsigned char> control(descriptors.empty() ? 0 : CMSG_SPACE(descriptors.size() * sizeof(int)));
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (!descriptors.empty()) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
    std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size() * sizeof(int));
  }
  ASSERT_EQ(::sendmsg(socket, &message, MSG_NOSIGNAL), static_cast<ssize_t>(packet.size())) << std::strerror(errno);
}

/// Whether the other end has closed the connection; waits for it.
inline bool isCut(int socket) {
  return pumpUntil([&] {
    pollfd watched{socket, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1 && (watched.revents & POLLHUP) != 0;
  });
}

class LinuxPortsTest : public testing::Test {
 protected:
  platform::MessagePortCallBack keep() {
    return [this](platform::LocalMessagePort&, std::int32_t, ByteView data) {
      received.emplace_back(data.begin(), data.end());
      return std::optional<Data>();
    };
  }
  std::string portFolder() const { return folder.path() + "/dovetail"; }
  std::string socketPath(const std::string& file = "G.App") const { return portFolder() + "/" + file; }
  std::unique_ptr<platform::native::LinuxMessagePorts> makePorts(uid_t user = ::geteuid()) {
    return std::make_unique<platform::native::LinuxMessagePorts>(log, portFolder(), user);
  }

  std::shared_ptr<platform::LocalMessagePort> open(const std::string& name = "G.App") {
    return ports->createLocal(name, keep(), {});
  }
  void read(const std::shared_ptr<platform::LocalMessagePort>& port) {
    ports->addSourceToCurrentRunLoop(*ports->createRunLoopSource(*port, 0), platform::RunLoopMode::common);
  }
  void listen(const std::string& name = "G.App") {
    const auto port = open(name);
    ASSERT_NE(port, nullptr);
    read(port);
  }
  bool runUntilReceived(std::size_t count) {
    return pumpUntil([&] { return received.size() >= count; });
  }
  static MessagePortStatus send(platform::RemoteMessagePort& port, ByteView record, double timeOut = 1) {
    return port.sendRequest(0, record, timeOut, 1);
  }
  bool hasLogged(std::string_view words) const {
    return std::any_of(log.lines.begin(), log.lines.end(),
                       [&](const std::string& line) { return line.find(words) != std::string::npos; });
  }

  TemporaryFolder folder;
  platform::fake::FakeLog log;
  std::vector<Data> received;
  std::unique_ptr<platform::native::LinuxMessagePorts> ports = makePorts();
};

}  // namespace tests
