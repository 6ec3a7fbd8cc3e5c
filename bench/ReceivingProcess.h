// The other process of a comparison that takes two: one that receives, and tells when it is done with a record.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/linux/Descriptor.h"

/// Ends the bench unless the condition holds, and names the line.
void check(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// Both ends of a connected pair of sockets of this type.
std::array<platform::native::Descriptor, 2> socketPair(int type);

class ReceivingProcess {
 public:
  using Run = std::function<void(const std::function<void()>& done)>;

  /// `run` receives until the process is killed, and calls `done` when it is ready and after each record.
  explicit ReceivingProcess(const Run& run);
  ~ReceivingProcess();
  ReceivingProcess(const ReceivingProcess&) = delete;
  ReceivingProcess& operator=(const ReceivingProcess&) = delete;

  /// When, on `now`'s clock, it was done with the next record.
  std::int64_t waitUntilDone();

 private:
  std::array<platform::native::Descriptor, 2> ends_;
  std::int64_t* done_ = nullptr;
  pid_t process_ = -1;
};

/// For a receiving process: reads the port of that name on GLib's main loop for ever. `done` is called once it listens.
void listenForEver(const std::string& folder, std::string_view name, const std::function<void()>& done,
                   const std::function<void(platform::ByteView record)>& receive);
