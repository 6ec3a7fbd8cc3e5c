// Any bytes as what a peer does with a connection to a port: packets of any length, with any descriptors beside them. The port
// delivers the records that are formed as they must be, in their order, up to the first breach, and keeps no descriptor.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "fuzz/Target.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/ports/MessagePorts.h"
#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"

using platform::ByteView;
using platform::Data;
using platform::native::Descriptor;

namespace {

constexpr std::size_t longestPacket = 65536;
constexpr int allSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// One port for all inputs.
struct Port {
  Port() {
    const auto keep = [this](platform::LocalMessagePort&, std::int32_t, ByteView data) {
      received.emplace_back(data.begin(), data.end());
      return std::optional<Data>();
    };
    const auto port = ports.createLocal("G.App", keep, {});
    ports.addSourceToCurrentRunLoop(*ports.createRunLoopSource(*port, 0), platform::RunLoopMode::common);
  }
  Descriptor connect() const {
    const std::string path = folder.path() + "/dovetail/G.App";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const bool isOpen = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    fuzz::expect(isOpen, "the port can be connected to");
    return socket;
  }

  tests::TemporaryFolder folder;
  platform::fake::FakeLog log;
  std::vector<Data> received;
  platform::native::LinuxMessagePorts ports{log, folder.path() + "/dovetail", ::geteuid()};
};

// Takes an input apart; past its end there are zeros.
struct Input {
  std::uint8_t byte() {
    const std::uint8_t value = left.empty() ? 0 : left.front();
    if (!left.empty()) left = left.subspan(1);
    return value;
  }
  ByteView left;
};

Data content(Input& input) {
  const std::uint8_t kind = input.byte();
  const std::size_t lengths[] = {0, 1, longestPacket - 1, longestPacket, longestPacket + 1, 100'000};
  const std::size_t length = kind < 0xf0 ? kind : lengths[kind % 6];
  return Data(length, input.byte());
}

// What a peer sends at once, and what the port should make of it.
struct Step {
  enum class Outcome { record, end, breach };

  Data packet;
  std::vector<Descriptor> descriptors;
  Outcome outcome = Outcome::breach;
  Data record;
};

Descriptor memoryFile(const Data& content, int seals) {
  Descriptor memory(::memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  const bool isMade = ::write(memory.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()) &&
                      ::fcntl(memory.get(), F_ADD_SEALS, seals) == 0;
  fuzz::expect(isMade, "a memory file can be made");
  return memory;
}

Step stepOf(Input& input) {
  Step step;
  step.packet = content(input);
  const std::uint8_t descriptors = input.byte();
  for (int i = 0; i < descriptors % 4; ++i) {
    const std::uint8_t kind = input.byte();
    if (kind % 4 == 0) {
      step.descriptors.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    } else {
      step.record = content(input);
      // The kernel refuses a seal after F_SEAL_SEAL, so any set of them is one call.
      const int seals = kind % 4 == 1 ? kind >> 4 : allSeals;
      step.descriptors.push_back(memoryFile(step.record, seals));
      if (i == 0 && (seals & allSeals) == allSeals) step.outcome = Step::Outcome::record;
    }
  }
  if (step.packet.size() > longestPacket || step.descriptors.size() > 1) {
    step.outcome = Step::Outcome::breach;
  } else if (step.descriptors.empty()) {
    step.outcome = step.packet.empty() ? Step::Outcome::end : Step::Outcome::record;
    step.record = step.packet;
  }
  return step;
}

void send(int socket, const Step& step) {
  std::uint8_t nothing = 0;
  iovec part{step.packet.empty() ? &nothing : const_cast<std::uint8_t*>(step.packet.data()), step.packet.size()};
  alignas(cmsghdr) unsigned char control[CMSG_SPACE(4 * sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (const std::size_t count = step.descriptors.size()) {
    message.msg_control = control;
    message.msg_controllen = CMSG_SPACE(count * sizeof(int));
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(count * sizeof(int));
    for (std::size_t i = 0; i < count; ++i) {
      const int number = step.descriptors[i].get();
      std::memcpy(CMSG_DATA(header) + i * sizeof(int), &number, sizeof(int));
    }
  }
  const ssize_t sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
  fuzz::expect(sent == static_cast<ssize_t>(step.packet.size()), "a packet can be sent");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Port port;
  tests::pumpReady();
  const std::size_t before = openDescriptors();
  std::vector<Data> expected;
  {
    const Descriptor socket = port.connect();
    bool isOpen = true;
    for (Input input{{data, size}}; isOpen && !input.left.empty();) {
      // Some steps go out together, so that the port finds several at once.
      const Step step = stepOf(input);
      send(socket.get(), step);
      isOpen = step.outcome == Step::Outcome::record;
      if (isOpen) expected.push_back(step.record);
      if (isOpen && (input.left.empty() || input.left[0] % 2 == 0 || step.packet.size() > 1000)) tests::pumpReady();
    }
  }
  tests::pumpReady();
  fuzz::expect(port.received == expected, "each well-formed record arrives, in order, and nothing else");
  fuzz::expect(openDescriptors() == before, "no descriptor is kept");
  port.received.clear();
  port.log.lines.clear();
  return 0;
}
