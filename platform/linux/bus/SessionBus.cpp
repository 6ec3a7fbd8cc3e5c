#include "platform/linux/bus/SessionBus.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

namespace platform::native {
namespace {

constexpr unsigned firstDelay = 50;
constexpr unsigned lastDelay = 3200;

// GLib's own look-up would go on to start a bus over the X display.
std::string usualAddress() {
  const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address != nullptr && *address != '\0') return address;
  return "unix:path=" + std::string(g_get_user_runtime_dir()) + "/bus";
}

// Empty for a bus whose address is no file.
std::string socketFileOf(const std::string& address) {
  constexpr std::string_view prefix = "unix:path=";
  if (address.compare(0, prefix.size(), prefix) != 0) return {};
  const std::string escaped = address.substr(prefix.size(), address.find_first_of(",;") - prefix.size());
  const OwnedText path(g_uri_unescape_string(escaped.c_str(), nullptr));
  return path ? path.get() : "";
}

}  // namespace

struct SessionBus::Attempt {
  OwnedObject<GDBusConnection> connection;
  bool isOver = false;
  OwnedError error;

  static void onOver(GObject* connection, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<std::shared_ptr<Attempt>> attempt(static_cast<std::shared_ptr<Attempt>*>(data));
    GError* error = nullptr;
    g_async_initable_init_finish(G_ASYNC_INITABLE(connection), result, &error);
    (*attempt)->error.reset(error);
    (*attempt)->isOver = true;
  }
};

SessionBus::SessionBus(Log& log) : SessionBus(log, usualAddress()) {}

SessionBus::SessionBus(Log& log, std::string address) : log_(log), address_(std::move(address)), waiting_(g_main_context_new()) {}

SessionBus::~SessionBus() {
  if (!connection_) return;
  g_signal_handler_disconnect(connection_.get(), closedHandler_);
  auto isFlushed = std::make_shared<bool>(false);
  const auto onFlushed = [](GObject*, GAsyncResult*, gpointer data) {
    const std::unique_ptr<std::shared_ptr<bool>> flag(static_cast<std::shared_ptr<bool>*>(data));
    **flag = true;
  };
  g_main_context_push_thread_default(waiting_.get());
  g_dbus_connection_flush(connection_.get(), nullptr, onFlushed, new std::shared_ptr<bool>(isFlushed));
  g_main_context_pop_thread_default(waiting_.get());
  wait(*isFlushed, deadline());
}

SessionBus::Moment SessionBus::deadline() { return g_get_monotonic_time() + longestWait; }

GDBusConnection* SessionBus::connection(Moment deadline) {
  // The news of its end may still be waiting in the main loop.
  if (connection_ && g_dbus_connection_is_closed(connection_.get())) lose("closed");
  if (connection_) return connection_.get();
  const bool isFirstUse = attempt_ == nullptr;
  if (isFirstUse) begin();
  wait(attempt_->isOver, isFirstUse ? deadline : 0);
  if (!attempt_->isOver) return nullptr;
  const auto attempt = std::exchange(attempt_, nullptr);
  adopt(*attempt);
  return connection_.get();
}

OwnedVariant SessionBus::call(const char* method, GVariant* arguments, const char* reply, Moment deadline) {
  const OwnedVariant owned(arguments ? g_variant_ref_sink(arguments) : nullptr);
  GDBusConnection* bus = connection(deadline);
  const Moment left = (deadline - g_get_monotonic_time()) / 1000;
  if (bus == nullptr || left <= 0) return nullptr;
  return OwnedVariant(g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                                  method, owned.get(), G_VARIANT_TYPE(reply), G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                                  static_cast<int>(left), nullptr, nullptr));
}

void SessionBus::begin() {
  constexpr int flags = G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
  attempt_ = std::make_shared<Attempt>();
  attempt_->connection.reset(
      G_DBUS_CONNECTION(g_object_new(G_TYPE_DBUS_CONNECTION, "address", address_.c_str(), "flags", flags, nullptr)));
  g_main_context_push_thread_default(waiting_.get());
  g_async_initable_init_async(G_ASYNC_INITABLE(attempt_->connection.get()), G_PRIORITY_DEFAULT, nullptr, Attempt::onOver,
                              new std::shared_ptr<Attempt>(attempt_));
  g_main_context_pop_thread_default(waiting_.get());
}

void SessionBus::wait(const bool& isOver, Moment deadline) {
  const Moment left = deadline - g_get_monotonic_time();
  GSource* alarm = g_timeout_source_new(left > 0 ? static_cast<guint>(left / 1000 + 1) : 0);
  g_source_set_callback(
      alarm, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
  g_source_attach(alarm, waiting_.get());
  while (!isOver && !g_source_is_destroyed(alarm)) g_main_context_iteration(waiting_.get(), TRUE);
  g_source_destroy(alarm);
  g_source_unref(alarm);
}

void SessionBus::adopt(Attempt& attempt) {
  if (attempt.error) return watchForReturn();
  connection_ = std::move(attempt.connection);
  returning_.reset();
  nextTry_.reset();
  g_dbus_connection_set_exit_on_close(connection_.get(), FALSE);
  closedHandler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(onClosed), this);
  if (onConnect_) onConnect_(connection_.get());
}

void SessionBus::lose(const char* reason) {
  log_.line(std::string("The session bus went away: ") + reason);
  g_signal_handler_disconnect(connection_.get(), closedHandler_);
  connection_.reset();
  watchForReturn();
  // It may have come back before its loss was noticed.
  tryAgain(firstDelay);
}

void SessionBus::watchForReturn() {
  const std::string path = socketFileOf(address_);
  std::error_code error;
  // For a file whose folder is missing GLib would wake up now and then to look for it.
  if (returning_ || path.empty() || !std::filesystem::exists(std::filesystem::path(path).parent_path(), error)) return;
  // The usual way may load a module that uses the process's shared connection, whose loss would end the process.
  const OwnedObject<GFile> file(g_vfs_get_file_for_path(g_vfs_get_local(), path.c_str()));
  returning_.reset(g_file_monitor_file(file.get(), G_FILE_MONITOR_NONE, nullptr, nullptr));
  if (returning_) g_signal_connect(returning_.get(), "changed", G_CALLBACK(onReturn), this);
}

// The file is there a moment before the bus listens, hence the few tries.
void SessionBus::tryAgain(unsigned delay) {
  nextTry_ = MainLoopSource::after(delay, [this, delay] {
    if (connection(deadline()) == nullptr && delay < lastDelay) tryAgain(2 * delay);
  });
}

void SessionBus::onClosed(GDBusConnection*, gboolean, GError* error, gpointer self) {
  static_cast<SessionBus*>(self)->lose(error != nullptr ? error->message : "closed");
}

void SessionBus::onReturn(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, gpointer self) {
  if (event == G_FILE_MONITOR_EVENT_CREATED) static_cast<SessionBus*>(self)->tryAgain(firstDelay);
}

}  // namespace platform::native
