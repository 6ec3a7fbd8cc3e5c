// Records between the two programs: a small one from the object to the object, and a large tree's bytes, beside the barest way to
// carry as many bytes over the same kind of socket.
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <memory>

#include "archive/ArchivedClasses.h"
#include "bench/Ratios.h"
#include "bench/ReceivingProcess.h"
#include "bench/TreeShapes.h"
#include "core/MessageWriter.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/linux/Log.h"
#include "platform/linux/ports/MessagePorts.h"
#include "tests/TemporaryFolder.h"

namespace {

using platform::ByteView;
using platform::Data;
using platform::native::Descriptor;

constexpr std::string_view portName = "bench.Sync.1";

/// The seconds from the start of `send` to the moment when the receiver is done, the median of so many times: what waited for its
/// turn behind another program is not counted.
double secondsOf(ReceivingProcess& receiver, int times, const std::function<void()>& send) {
  std::vector<std::int64_t> taken;
  for (int i = 0; i < times; ++i) {
    const std::int64_t start = now();
    send();
    taken.push_back(receiver.waitUntilDone() - start);
  }
  return static_cast<double>(medianOf(taken)) * 1e-9;
}

/// Listens under the port's name in that folder, uses each record as told, and says so.
ReceivingProcess::Run listener(const std::string& folder, void (*use)(ByteView)) {
  return [folder, use](const std::function<void()>& done) {
    listenForEver(folder, portName, done, [&](ByteView record) {
      use(record);
      done();
    });
  };
}

void send(platform::RemoteMessagePort& port, ByteView record) {
  check(port.sendRequest(0, record, 1.0, 1.0) == platform::MessagePortStatus::success);
}

/// What the extension asks the host for each file of a watched folder, encoded as it does.
ByteView encodedRecord(MessageWriter& writer, const platform::URL& file) {
  DTMessage message("openArchive:portName:", file);
  message.setPortName("org.dovetail.group.Sync.4711");
  return *writer.archive(message);
}

void decodeRecord(ByteView record) {
  const auto root = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses());
  const auto message = root.instance<DTMessage>();
  check(message && message->argument().get<platform::URL>());
}

void touchPages(ByteView bytes) {
  std::uint8_t sum = 0;
  for (std::size_t at = 0; at < bytes.size(); at += 4096) sum = static_cast<std::uint8_t>(sum + bytes[at]);
  keep(&sum);
}

void compareSmallRecords(const std::string& folder) {
  constexpr int times = 1'000;
  const auto ends = socketPair(SOCK_SEQPACKET);
  const Descriptor &out = ends[0], &in = ends[1];
  ReceivingProcess reader(listener(folder, decodeRecord));
  ReceivingProcess bareReader([&](const auto& done) {
    Data packet(64 * 1024);
    done();
    for (;;) {
      check(::recv(in.get(), packet.data(), packet.size(), 0) > 0);
      done();
    }
  });
  platform::native::LinuxLog log;
  platform::native::LinuxMessagePorts ports(log, folder, ::geteuid());
  const auto port = ports.createRemote(portName);
  check(port != nullptr);
  const platform::URL file = platform::URL::fileURLWithPath("/home/user/Downloads/holiday pictures.tar.gz");
  MessageWriter writer;
  const ByteView encoded = encodedRecord(writer, file);
  const Data record(encoded.begin(), encoded.end());
  const auto ours = [&] { return secondsOf(reader, times, [&] { send(*port, encodedRecord(writer, file)); }); };
  const auto bare = [&] {
    return secondsOf(bareReader, times, [&] {
      check(::send(out.get(), record.data(), record.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(record.size()));
    });
  };
  const auto codec = [&] {
    const std::int64_t start = now();
    for (int i = 0; i < times; ++i) decodeRecord(encodedRecord(writer, file));
    return static_cast<double>(now() - start) / times * 1e-9;
  };
  const auto medians = mediansOfMeasures({ours, bare, codec}, 31);
  std::fprintf(stderr, "a record of %zu bytes: %.2f us, bare %.2f us; of them encode and decode %.2f us\n", record.size(),
               medians[0] * 1e6, medians[1] * 1e6, medians[2] * 1e6);
  printFigure("record: encode, send, receive, decode", "bare send and receive of as many bytes", medians[0] / medians[1],
              Bar::atMost(1.5, 1.4));
}

// The barest way for bytes of any number: as a stream, their length first, into memory that nobody has used before.
void sendStream(int socket, ByteView bytes) {
  const std::uint64_t length = bytes.size();
  check(::send(socket, &length, sizeof length, MSG_NOSIGNAL) == sizeof length);
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    check(sent > 0);
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
}

void receiveStreams(int socket, const std::function<void()>& done) {
  done();
  for (;;) {
    std::uint64_t length = 0;
    check(::recv(socket, &length, sizeof length, MSG_WAITALL) == sizeof length);
    void* memory = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    check(memory != MAP_FAILED);
    check(::recv(socket, memory, length, MSG_WAITALL) == static_cast<ssize_t>(length));
    touchPages({static_cast<const std::uint8_t*>(memory), length});
    done();
    ::munmap(memory, length);
  }
}

void compareTrees(const std::string& folder) {
  const Data tree = archiveOf(realisticTree(20'000));
  const auto ends = socketPair(SOCK_STREAM);
  const Descriptor &out = ends[0], &in = ends[1];
  ReceivingProcess reader(listener(folder, touchPages));
  ReceivingProcess bareReader([&](const auto& done) { receiveStreams(in.get(), done); });
  platform::native::LinuxLog log;
  platform::native::LinuxMessagePorts ports(log, folder, ::geteuid());
  const auto port = ports.createRemote(portName);
  check(port != nullptr);
  const auto ours = [&] { return secondsOf(reader, 4, [&] { send(*port, tree); }); };
  const auto bare = [&] { return secondsOf(bareReader, 4, [&] { sendStream(out.get(), tree); }); };
  const auto medians = mediansOfMeasures({ours, bare}, 31);
  std::fprintf(stderr, "a tree of %.1f MB: %.2f ms, by stream socket %.2f ms\n", static_cast<double>(tree.size()) / 1e6,
               medians[0] * 1e3, medians[1] * 1e3);
  printFigure("hand over a 10 MB tree", "stream socket into fresh pages", medians[0] / medians[1], Bar::atMost(1.3, 0.5));
}

}  // namespace

int main() {
  // Where two processes wake one another, the way from one processor to another would be most of the figure, and by chance.
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  check(::sched_setaffinity(0, sizeof one, &one) == 0);
  const tests::TemporaryFolder root;
  compareSmallRecords(root.path() + "/small");
  compareTrees(root.path() + "/tree");
  return 0;
}
