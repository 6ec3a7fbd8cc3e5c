#include "platform/linux/ports/Record.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace platform::native {
namespace {

// Without these the sender could change or shorten the memory while it is read.
constexpr int neededSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

bool writeAll(int descriptor, ByteView bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

// A message of one packet, with room for one descriptor beside it.
struct Message {
  explicit Message(void* bytes, std::size_t length) : part{bytes, length} {
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof(control);
  }

  iovec part;
  alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr header = {};
};

int sendDescriptor(int socket, int descriptor) {
  std::uint8_t byte = 0;
  Message message(&byte, 1);
  cmsghdr* control = CMSG_FIRSTHDR(&message.header);
  control->cmsg_level = SOL_SOCKET;
  control->cmsg_type = SCM_RIGHTS;
  control->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(control), &descriptor, sizeof(int));
  return ::sendmsg(socket, &message.header, MSG_DONTWAIT | MSG_NOSIGNAL) < 0 ? errno : 0;
}

// Alignment leaves room for a second descriptor, so there may be more than the one that is legal.
std::vector<Descriptor> descriptorsOf(msghdr& header) {
  std::vector<Descriptor> found;
  for (cmsghdr* control = CMSG_FIRSTHDR(&header); control != nullptr; control = CMSG_NXTHDR(&header, control)) {
    if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t count = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
      int number = -1;
      std::memcpy(&number, CMSG_DATA(control) + i * sizeof(int), sizeof(int));
      found.emplace_back(number);
    }
  }
  return found;
}

}  // namespace

int OutgoingRecord::sendTo(int socket) {
  if (!memory_ && !bytes_.empty() && bytes_.size() <= longestPacket) {
    if (::send(socket, bytes_.data(), bytes_.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) return 0;
    // A socket whose buffer was set smaller than the packet.
    if (errno != EMSGSIZE) return errno;
  }
  if (!memory_) {
    const int error = makeMemory();
    if (error != 0) return error;
  }
  return sendDescriptor(socket, memory_.get());
}

int OutgoingRecord::makeMemory() {
  if (bytes_.size() > longestRecord) return EMSGSIZE;
  Descriptor memory(::memfd_create("dovetail-record", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!memory || !writeAll(memory.get(), bytes_) || ::fcntl(memory.get(), F_ADD_SEALS, neededSeals) != 0) return errno;
  memory_ = std::move(memory);
  return 0;
}

IncomingRecord::~IncomingRecord() {
  if (mapping_ != nullptr) ::munmap(mapping_, bytes_.size());
}

IncomingRecord::Result IncomingRecord::receiveFrom(int socket, std::span<std::uint8_t> packet) {
  Message message(packet.data(), packet.size());
  ssize_t length;
  do {
    length = ::recvmsg(socket, &message.header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  } while (length < 0 && errno == EINTR);
  if (length < 0) return errno == EAGAIN ? Result::nothingYet : Result::end;

  const std::vector<Descriptor> descriptors = descriptorsOf(message.header);
  if (length == 0 && descriptors.empty()) return Result::end;
  if ((message.header.msg_flags & MSG_CTRUNC) != 0 && descriptors.empty()) return Result::outOfMeans;
  if ((message.header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 || descriptors.size() > 1) return Result::brokenRules;
  if (descriptors.size() == 1) return map(descriptors.front());
  bytes_ = packet.first(static_cast<std::size_t>(length));
  return Result::record;
}

IncomingRecord::Result IncomingRecord::map(const Descriptor& memory) {
  const int seals = ::fcntl(memory.get(), F_GET_SEALS);
  struct stat facts = {};
  if (seals < 0 || (seals & neededSeals) != neededSeals || ::fstat(memory.get(), &facts) != 0 || facts.st_size < 0 ||
      static_cast<std::uint64_t>(facts.st_size) > longestRecord) {
    return Result::brokenRules;
  }
  const auto size = static_cast<std::size_t>(facts.st_size);
  if (size == 0) return Result::record;
  // Shared mappings of a file sealed against writing are refused before Linux 6.7, even read-only ones; a
  // private one that is never written to shares its pages all the same.
  void* mapping = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, memory.get(), 0);
  if (mapping == MAP_FAILED) return Result::outOfMeans;
  mapping_ = mapping;
  bytes_ = {static_cast<const std::uint8_t*>(mapping), size};
  return Result::record;
}

}  // namespace platform::native
