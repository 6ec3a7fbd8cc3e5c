// One record on the wire between two ports: a sequenced packet that is the record's bytes, or, for a record
// that does not fit one, a packet of one byte with a sealed memory file (memfd_create(2)) passed along, which
// is the record's bytes. An empty record travels as an empty memory file, as an empty packet means the end of
// the connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Bytes.h"
#include "platform/MessagePort.h"
#include "platform/linux/Descriptor.h"

namespace platform::native {

/// What a packet holds at most; a longer one breaks the rules.
inline constexpr std::size_t longestPacket = 64 * 1024;
using platform::longestRecord;

/// A record on its way out. Refers to the bytes given.
class OutgoingRecord {
 public:
  explicit OutgoingRecord(ByteView bytes) : bytes_(bytes) {}

  /// Sends the whole record without blocking. The result is 0 or the system's error number; then nothing was
  /// sent, and EAGAIN tells that the peer must read first.
  int sendTo(int socket);

 private:
  int makeMemory();

  ByteView bytes_;
  Descriptor memory_;
};

/// A record that came in. The bytes stand in the packet given or in memory of its own.
class IncomingRecord {
 public:
  enum class Result { record, nothingYet, end, brokenRules, outOfMeans };

  IncomingRecord() = default;
  IncomingRecord(const IncomingRecord&) = delete;
  IncomingRecord& operator=(const IncomingRecord&) = delete;
  ~IncomingRecord();

  /// Receives one record without blocking; `packet` has the room of a longest packet. Any result but the
  /// first two means that the connection is of no more use.
  Result receiveFrom(int socket, std::span<std::uint8_t> packet);
  /// Valid as long as both this and the packet are.
  ByteView bytes() const { return bytes_; }

 private:
  Result map(const Descriptor& memory);

  ByteView bytes_;
  void* mapping_ = nullptr;
};

}  // namespace platform::native
