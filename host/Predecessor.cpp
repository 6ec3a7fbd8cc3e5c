#include "host/Predecessor.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string_view>
#include <utility>

using namespace platform::native;

Predecessor::Predecessor(GDBusConnection* bus, const std::string& name)
    : asking_(g_cancellable_new()),
      watch_(g_bus_watch_name_on_connection(bus, name.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE, onOwner, nullptr, this, nullptr)) {}

Predecessor::~Predecessor() {
  g_bus_unwatch_name(watch_);
  g_cancellable_cancel(asking_.get());
}

void Predecessor::whenEnded(std::function<void()> then) {
  then_ = std::move(then);
  if (!isAsking_) goOn();
}

void Predecessor::onOwner(GDBusConnection* bus, const char*, const char* owner, gpointer self) {
  if (std::string_view(owner) == g_dbus_connection_get_unique_name(bus)) return;
  auto* predecessor = static_cast<Predecessor*>(self);
  predecessor->isAsking_ = true;
  g_dbus_connection_call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                         g_variant_new("(s)", owner), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, predecessor->asking_.get(),
                         onProcess, self);
}

void Predecessor::onProcess(GObject* bus, GAsyncResult* result, gpointer self) {
  GError* error = nullptr;
  const OwnedVariant answer(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
  const OwnedError fault(error);
  // This object is gone.
  if (fault && g_error_matches(fault.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  auto* predecessor = static_cast<Predecessor*>(self);
  predecessor->isAsking_ = false;
  guint32 process = 0;
  if (answer) g_variant_get(answer.get(), "(u)", &process);
  predecessor->process_.reset(process > 0 ? static_cast<int>(::syscall(SYS_pidfd_open, process, 0)) : -1);
  if (predecessor->then_) predecessor->goOn();
}

void Predecessor::goOn() {
  pollfd watched{process_.get(), POLLIN, 0};
  const bool lives = process_ && ::poll(&watched, 1, 0) == 0;
  if (lives) {
    ended_ = MainLoopSource::whenReadable(process_.get(), [this] { goOn(); });
    return;
  }
  ended_.reset();
  process_.reset();
  const auto then = std::exchange(then_, nullptr);
  if (then) then();
}
