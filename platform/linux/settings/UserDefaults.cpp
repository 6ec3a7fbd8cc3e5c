#include "platform/linux/settings/UserDefaults.h"

#include <dconf.h>

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/TextHash.h"
#include "platform/linux/settings/SettingsPath.h"
#include "platform/linux/settings/SettingsValue.h"

namespace platform::native {
namespace {

// Paths that changed together: each is the prefix followed by one of the names; one that ends in a slash is
// all below it.
struct Change {
  std::string prefix;
  std::vector<std::string> names;

  explicit Change(GVariant* notice) {
    const char* text = nullptr;
    char** list = nullptr;
    g_variant_get(notice, "(&s^ass)", &text, &list, nullptr);
    const OwnedTexts owned(list);
    prefix = text;
    for (char** name = list; *name; ++name) names.emplace_back(*name);
  }

  bool concerns(const std::string& path) const {
    return std::ranges::any_of(names, [&](const std::string& name) {
      const std::string changed = prefix + name;
      return path == changed || (changed.ends_with('/') && path.starts_with(changed));
    });
  }
};

}  // namespace

class DConfStore final : public UserDefaults {
 public:
  using OpenStores = std::vector<DConfStore*>;

  DConfStore(std::string path, std::shared_ptr<OpenStores> open)
      : path_(std::move(path)), open_(std::move(open)), client_(dconf_client_new()) {
    open_->push_back(this);
  }
  ~DConfStore() override {
    std::erase(*open_, this);
    stopListening();
  }
  DConfStore(const DConfStore&) = delete;
  DConfStore& operator=(const DConfStore&) = delete;

  const Object& objectForKey(std::string_view key) const override;
  void registerDefaults(const Dictionary& defaults) override;
  void addObserver(KeyValueObserver& observer, std::string_view key) override;
  void removeObserver(KeyValueObserver& observer, std::string_view key) override;

  void synchronize() {
    readAgain([](const std::string&) { return true; });
  }
  void listen(GDBusConnection* bus);
  void stopListening();

 private:
  struct Entry {
    OwnedVariant stored;
    Object value;  // of what is stored, else the registered one
  };
  struct Observation {
    std::uint64_t number;
    KeyValueObserver* observer;
    std::string key;
  };

  using Entries = std::unordered_map<std::string, Entry, TextHash, std::equal_to<>>;

  Entries::value_type& entryForKey(std::string_view key) const;
  OwnedVariant read(const std::string& key) const;
  Object registered(std::string_view key) const;
  void setStored(const std::string& key, Entry& entry, OwnedVariant stored) const;
  void readAgain(const std::function<bool(const std::string& path)>& isConcerned);
  void tell(const std::string& key);
  static void onNotify(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* notice, gpointer self);
  static void onListening(GObject* bus, GAsyncResult* result, gpointer self);

  std::string path_;
  std::shared_ptr<OpenStores> open_;
  OwnedObject<DConfClient> client_;
  mutable Entries entries_;  // of each key that was ever read
  // Of the key that was read last: a menu reads one setting for each of its items.
  mutable Entries::value_type* latest_ = nullptr;
  Dictionary defaults_;
  std::vector<Observation> observations_;
  std::uint64_t nextNumber_ = 0;
  OwnedObject<GDBusConnection> bus_;
  guint subscription_ = 0;
  std::shared_ptr<DConfStore*> self_ = std::make_shared<DConfStore*>(this);
};

const Object& DConfStore::objectForKey(std::string_view key) const {
  if (!latest_ || latest_->first != key) latest_ = &entryForKey(key);
  return latest_->second.value;
}

DConfStore::Entries::value_type& DConfStore::entryForKey(std::string_view key) const {
  if (const auto known = entries_.find(key); known != entries_.end()) return *known;
  const auto entry = entries_.try_emplace(std::string(key)).first;
  setStored(entry->first, entry->second, read(entry->first));
  return *entry;
}

OwnedVariant DConfStore::read(const std::string& key) const {
  const auto path = settingsPathOfKey(path_, key);
  return OwnedVariant(path ? dconf_client_read(client_.get(), path->c_str()) : nullptr);
}

Object DConfStore::registered(std::string_view key) const {
  const Object* value = defaults_.objectForKey(key);
  return value ? *value : Object();
}

void DConfStore::setStored(const std::string& key, Entry& entry, OwnedVariant stored) const {
  entry.stored = std::move(stored);
  entry.value = entry.stored ? objectOfVariant(entry.stored.get()) : registered(key);
}

void DConfStore::registerDefaults(const Dictionary& defaults) {
  defaults_ = defaults;
  for (auto& [key, entry] : entries_) {
    if (!entry.stored) entry.value = registered(key);
  }
}

void DConfStore::addObserver(KeyValueObserver& observer, std::string_view key) {
  objectForKey(key);  // What a change is measured against.
  observations_.push_back({nextNumber_++, &observer, std::string(key)});
}

void DConfStore::removeObserver(KeyValueObserver& observer, std::string_view key) {
  const auto found = std::ranges::find_if(
      observations_, [&](const Observation& observation) { return observation.observer == &observer && observation.key == key; });
  if (found != observations_.end()) observations_.erase(found);
}

void DConfStore::listen(GDBusConnection* bus) {
  stopListening();
  bus_.reset(G_DBUS_CONNECTION(g_object_ref(bus)));
  subscription_ = g_dbus_connection_signal_subscribe(bus, nullptr, "ca.desrt.dconf.Writer", "Notify", nullptr, path_.c_str(),
                                                     G_DBUS_SIGNAL_FLAGS_MATCH_ARG0_PATH, onNotify, this, nullptr);
  // The bus works in order: once it answers this call, no later change can be missed.
  g_dbus_connection_call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId", nullptr,
                         G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, onListening,
                         new std::weak_ptr<DConfStore*>(self_));
}

void DConfStore::stopListening() {
  if (bus_) g_dbus_connection_signal_unsubscribe(bus_.get(), subscription_);
  bus_.reset();
}

void DConfStore::onListening(GObject* bus, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<std::weak_ptr<DConfStore*>> self(static_cast<std::weak_ptr<DConfStore*>*>(data));
  const OwnedVariant reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
  const auto store = self->lock();
  if (store) (*store)->synchronize();
}

void DConfStore::onNotify(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* notice, gpointer self) {
  if (!g_variant_is_of_type(notice, G_VARIANT_TYPE("(sass)"))) return;
  const Change change(notice);
  static_cast<DConfStore*>(self)->readAgain([&](const std::string& path) { return change.concerns(path); });
}

void DConfStore::readAgain(const std::function<bool(const std::string& path)>& isConcerned) {
  std::vector<std::string> changed;
  for (auto& [key, entry] : entries_) {
    if (!isConcerned(path_ + key)) continue;
    OwnedVariant stored = read(key);
    const bool isSame = stored && entry.stored ? g_variant_equal(stored.get(), entry.stored.get()) : stored == entry.stored;
    if (isSame) continue;
    setStored(key, entry, std::move(stored));
    changed.push_back(key);
  }
  const std::weak_ptr<DConfStore*> alive = self_;
  for (const std::string& key : changed) {
    if (!alive.expired()) tell(key);
  }
}

void DConfStore::tell(const std::string& key) {
  const Entry& entry = entries_.find(key)->second;
  const Object value = entry.stored ? entry.value : Object();
  std::vector<std::uint64_t> numbers;
  for (const Observation& observation : observations_) {
    if (observation.key == key) numbers.push_back(observation.number);
  }
  const std::weak_ptr<DConfStore*> alive = self_;
  for (const std::uint64_t number : numbers) {
    if (alive.expired()) return;
    const auto found = std::ranges::find(observations_, number, &Observation::number);
    if (found != observations_.end()) found->observer->observeValueForKeyPath(key, value);
  }
}

LinuxUserDefaultsSuites::LinuxUserDefaultsSuites(SessionBus& bus) : bus_(bus), stores_(std::make_shared<DConfStore::OpenStores>()) {
  bus_.setOnConnect([stores = stores_](GDBusConnection* connection) {
    for (DConfStore* store : *stores) store->listen(connection);
  });
}

LinuxUserDefaultsSuites::~LinuxUserDefaultsSuites() {
  bus_.setOnConnect(nullptr);
  for (DConfStore* store : *stores_) store->stopListening();
}

std::unique_ptr<UserDefaults> LinuxUserDefaultsSuites::initWithSuiteName(std::string_view suiteName) {
  auto path = settingsPathOfGroup(suiteName);
  if (!path) return nullptr;
  // A store that makes the connection is not yet among those that it is announced to.
  GDBusConnection* const connection = bus_.connection(SessionBus::deadline());
  auto store = std::make_unique<DConfStore>(*std::move(path), stores_);
  if (connection) store->listen(connection);
  return store;
}

void LinuxUserDefaultsSuites::synchronize() {
  const std::shared_ptr<DConfStore::OpenStores> open = stores_;
  for (DConfStore* store : DConfStore::OpenStores(*open)) {
    if (std::ranges::find(*open, store) != open->end()) store->synchronize();  // those told may close stores
  }
}

}  // namespace platform::native
