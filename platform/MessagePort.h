// Named local message ports: one-way records between processes of one user (Cocoa's CFMessagePort).
// Main thread only. An open local port is held by the backend, whoever else holds it; a remote port is owned by who opened it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace platform {

/// The platform's status numbers of a send.
enum class MessagePortStatus : std::int32_t {
  success = 0,
  sendTimeout = -1,
  receiveTimeout = -2,
  isInvalid = -3,
  transportError = -4,
  becameInvalid = -5,
};

/// What a record holds at most, in bytes: far more than any table of contents, and little enough to be mapped without a thought.
inline constexpr std::size_t longestRecord = 256 * 1024 * 1024;

class LocalMessagePort {
 public:
  virtual ~LocalMessagePort() = default;
  virtual std::string_view name() const = 0;
  /// Closes the port: nobody reaches it any more, its connections end, what was sent and not yet read is lost, its callback is
  /// not called again, and its name is free. May be called from the callback. A closed port stays closed.
  virtual void invalidate() = 0;
};

/// Called on the main loop for each record. `data` is valid during the call only. The result is the reply, which a one-way
/// send never sees. The port owns the callback: one that refers to an object which may end before the port is closed holds it
/// weakly.
using MessagePortCallBack = std::function<std::optional<Data>(LocalMessagePort& port, std::int32_t messageId, ByteView data)>;

/// What else a local port is opened with. What a callback works on is in its captures.
struct MessagePortContext {
  int version = 0;
};

class RunLoopSource {
 public:
  virtual ~RunLoopSource() = default;
};

enum class RunLoopMode { common };

/// The way to a listener, which is a process: a connection that the listener drops is made again without a word, and the port is
/// invalid only while it does not listen.
class RemoteMessagePort {
 public:
  /// Releases the handle; does not invalidate it for the peer. What it still has to deliver may be lost.
  virtual ~RemoteMessagePort() = default;

  /// Sends one record, which may be empty. `success` means that it is accepted: records are delivered in the order of their sends,
  /// each once, as the listener reads, at once or later from the main loop; they are lost with the port, with the listener's end, and
  /// with a connection that the listener closes before it has read them. When the listener does not read, a bounded number of bytes
  /// is accepted; beyond it a send waits `sendTimeout` seconds at most for room, and a port that has not drained since its last
  /// time-out may answer `sendTimeout` at once. No reply is awaited without a reply mode, which this interface does not have, so
  /// `receiveTimeout` plays no part. `becameInvalid` when the listener is found gone, from then on `isInvalid` until it listens
  /// again. `transportError` for a record of more than `longestRecord` bytes and for one that the system has no memory left for; the
  /// port stays usable. On failure nothing of the record arrives.
  [[nodiscard]] virtual MessagePortStatus sendRequest(std::int32_t messageId, ByteView data, double sendTimeout,
                                                      double receiveTimeout) = 0;
  /// Whether the peer still listens, as far as the system knows by now. Never waits.
  virtual bool isValid() = 0;
  /// Cuts the connection and drops what waits. Any later send answers `isInvalid`.
  virtual void invalidate() = 0;
};

class MessagePorts {
 public:
  virtual ~MessagePorts() = default;

  /// Opens a port of that name, or null when the name is taken by a live process or cannot be opened. The port is open, unread
  /// until its source is added, until it is invalidated or the process (its backend) ends, also when nobody else holds it.
  [[nodiscard]] virtual std::shared_ptr<LocalMessagePort> createLocal(std::string_view name, MessagePortCallBack callBack,
                                                                      const MessagePortContext& context) = 0;
  /// The source that reads the port; `order` 0 is the usual priority.
  [[nodiscard]] virtual std::unique_ptr<RunLoopSource> createRunLoopSource(LocalMessagePort& port, int order) = 0;
  /// From now on the port's records arrive on the main loop, also while a menu is up. Whoever made the source may drop it then.
  virtual void addSourceToCurrentRunLoop(RunLoopSource& source, RunLoopMode mode) = 0;

  /// Connects to the port of that name, or null when nobody listens, when the listener is another user's, or after 1.0 s of a
  /// listener that does not accept.
  [[nodiscard]] virtual std::unique_ptr<RemoteMessagePort> createRemote(std::string_view name) = 0;
};

}  // namespace platform
