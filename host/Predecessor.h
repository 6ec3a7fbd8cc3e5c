// The instance that owns the host's name on the bus while this one waits for it. A process loses its connections before it has ended,
// so its name goes to the next one while whoever watches the process does not know of its end yet. Main thread only.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/OwnedGLib.h"

class Predecessor {
 public:
  Predecessor(GDBusConnection* bus, const std::string& name);
  Predecessor(const Predecessor&) = delete;
  Predecessor& operator=(const Predecessor&) = delete;
  ~Predecessor();

  /// Runs `then` once the process that owned the name last has ended: now, when it has, or when there was none.
  void whenEnded(std::function<void()> then);

 private:
  static void onOwner(GDBusConnection* bus, const char* name, const char* owner, gpointer self);
  static void onProcess(GObject* bus, GAsyncResult* result, gpointer self);
  void goOn();

  platform::native::OwnedObject<GCancellable> asking_;
  bool isAsking_ = false;
  platform::native::Descriptor process_;
  platform::native::MainLoopSource ended_;
  std::function<void()> then_;
  guint watch_;
};
