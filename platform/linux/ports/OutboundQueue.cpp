#include "platform/linux/ports/OutboundQueue.h"

#include <new>

namespace platform::native {

bool OutboundQueue::add(ByteView record) try {
  if (record.size() > room || taken_ + record.size() + besideEach > room) return false;
  waiting_.emplace_back(record);
  taken_ += record.size() + besideEach;
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

void OutboundQueue::removeFirst() {
  taken_ -= waiting_.front().bytes.size() + besideEach;
  waiting_.pop_front();
}

void OutboundQueue::clear() {
  waiting_.clear();
  taken_ = 0;
}

}  // namespace platform::native
