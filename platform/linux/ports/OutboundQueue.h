// Records that a port has accepted and the system has not: they wait here, in their order, until the peer reads.
#pragma once

#include <cstddef>
#include <deque>

#include "platform/Bytes.h"
#include "platform/linux/ports/Record.h"

namespace platform::native {

class OutboundQueue {
 public:
  /// What waits at most: each record takes its length and `besideEach`.
  static constexpr std::size_t room = 16 * 1024 * 1024;
  static constexpr std::size_t besideEach = 64;

  bool isEmpty() const { return waiting_.empty(); }
  std::size_t count() const { return waiting_.size(); }

  /// Takes a copy to the end of the queue. False when it has no room, or there is no memory: then nothing changes.
  bool add(ByteView record);
  OutgoingRecord& first() { return waiting_.front().record; }
  void removeFirst();
  void clear();

 private:
  // Neither is ever moved, as the record refers to the bytes.
  struct Waiting {
    explicit Waiting(ByteView record) : bytes(record.begin(), record.end()), record(bytes) {}
    Waiting(const Waiting&) = delete;

    const Data bytes;
    OutgoingRecord record;
  };

  std::deque<Waiting> waiting_;
  std::size_t taken_ = 0;
};

}  // namespace platform::native
