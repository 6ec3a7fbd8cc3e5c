#include "platform/linux/bus/DistributedNotificationCenter.h"

#include <utility>

namespace platform::native {
namespace {

constexpr const char* objectPath = "/org/dovetail/DistributedNotificationCenter";
constexpr const char* interfaceName = "org.dovetail.DistributedNotificationCenter";

}  // namespace

struct LinuxDistributedNotificationCenter::Subscription {
  LinuxDistributedNotificationCenter& center;
  const void* observer;
  std::string name;
  std::function<void(const std::string& object)> handler;
  // Of the connection that stands; a signal on its way to the main loop is dropped once this is false.
  guint identifier = 0;
  bool isActive = true;

  void deliver(const std::string& object) {
    if (isActive && center.beforeDelivery_) center.beforeDelivery_();
    if (isActive) handler(object);
  }
  static void onSignal(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* body, gpointer data) {
    // The handler may end its own subscription.
    const auto subscription = *static_cast<std::shared_ptr<Subscription>*>(data);
    // The name is the news: a signal of another body, or of none, has no string to tell.
    const char* object = "";
    if (g_variant_is_of_type(body, G_VARIANT_TYPE("(s)"))) g_variant_get(body, "(&s)", &object);
    subscription->deliver(object);
  }
};

LinuxDistributedNotificationCenter::LinuxDistributedNotificationCenter(SessionBus& bus, Log& log) : bus_(bus), log_(log) {
  bus_.setOnConnect([this](GDBusConnection* connection) {
    for (const auto& subscription : subscriptions_) subscribe(subscription, connection);
    if (subscriptions_.empty()) return;
    afterReturn_ = MainLoopSource::soon([missed = subscriptions_] { tellOfReturn(missed); });
  });
}

LinuxDistributedNotificationCenter::~LinuxDistributedNotificationCenter() {
  bus_.setOnConnect(nullptr);
  while (!subscriptions_.empty()) removeObserver(subscriptions_.front()->observer);
}

void LinuxDistributedNotificationCenter::addObserver(const void* observer, std::string_view name,
                                                     std::function<void(const std::string& object)> handler) {
  std::string member(name);
  if (!isLegal(member)) return;
  // Before the list grows, as a connection made now would subscribe all of the list.
  GDBusConnection* connection = bus_.connection(SessionBus::deadline());
  subscriptions_.push_back(std::make_shared<Subscription>(Subscription{*this, observer, std::move(member), std::move(handler)}));
  if (connection != nullptr) subscribe(subscriptions_.back(), connection);
}

void LinuxDistributedNotificationCenter::removeObserver(const void* observer) {
  GDBusConnection* connection = bus_.openConnection();
  subscriptions_.remove_if([&](const std::shared_ptr<Subscription>& subscription) {
    if (subscription->observer != observer) return false;
    subscription->isActive = false;
    if (connection != nullptr) g_dbus_connection_signal_unsubscribe(connection, subscription->identifier);
    return true;
  });
}

// What was posted before the subscriptions stood went by unheard, as the start of a host on the new bus.
void LinuxDistributedNotificationCenter::tellOfReturn(const Subscriptions& subscriptions) {
  for (const auto& subscription : subscriptions) subscription->deliver("");
}

void LinuxDistributedNotificationCenter::postNotificationName(std::string_view name, std::string_view object, bool) {
  const std::string member(name);
  if (!isLegal(member)) return;
  GDBusConnection* connection = bus_.connection(SessionBus::deadline());
  if (connection == nullptr) return;
  const OwnedText text(g_utf8_make_valid(object.data(), static_cast<gssize>(object.size())));
  g_dbus_connection_emit_signal(connection, nullptr, objectPath, interfaceName, member.c_str(), g_variant_new("(s)", text.get()),
                                nullptr);
}

bool LinuxDistributedNotificationCenter::isLegal(const std::string& name) {
  const bool isLegal = name.find('\0') == std::string::npos && g_dbus_is_member_name(name.c_str()) && name.size() <= 255;
  if (!isLegal) log_.line("A notification's name is not one that the bus carries: " + name);
  return isLegal;
}

void LinuxDistributedNotificationCenter::subscribe(const std::shared_ptr<Subscription>& subscription, GDBusConnection* bus) {
  const auto release = [](gpointer data) { delete static_cast<std::shared_ptr<Subscription>*>(data); };
  subscription->identifier = g_dbus_connection_signal_subscribe(bus, nullptr, interfaceName, subscription->name.c_str(), objectPath,
                                                                nullptr, G_DBUS_SIGNAL_FLAGS_NONE, Subscription::onSignal,
                                                                new std::shared_ptr<Subscription>(subscription), release);
}

}  // namespace platform::native
