#include "platform/fake/FakeUserDefaults.h"

#include <algorithm>

namespace platform::fake {
namespace {

class FakeUserDefaults final : public UserDefaults {
 public:
  FakeUserDefaults(CallLog& log, std::shared_ptr<FakeSettings> settings) : log_(log), settings_(std::move(settings)) {}

  const Object& objectForKey(std::string_view key) const override {
    static const Object nil;
    if (const auto stored = settings_->values.find(key); stored != settings_->values.end()) return stored->second;
    const Object* registered = defaults_.objectForKey(key);
    return registered ? *registered : nil;
  }

  void registerDefaults(const Dictionary& defaults) override {
    std::string keys;
    for (const auto& [key, value] : defaults.entries) keys += " \"" + *key.get<std::string>() + "\"";
    log_.add("register defaults" + keys);
    defaults_ = defaults;
  }

  void addObserver(KeyValueObserver& observer, std::string_view key) override {
    log_.add("observe setting \"" + std::string(key) + "\"");
    settings_->observers.emplace_back(&observer, std::string(key));
  }

  void removeObserver(KeyValueObserver& observer, std::string_view key) override {
    log_.add("stop observing setting \"" + std::string(key) + "\"");
    auto& observers = settings_->observers;
    const auto found = std::ranges::find(observers, std::pair(&observer, std::string(key)));
    if (found != observers.end()) observers.erase(found);
  }

 private:
  CallLog& log_;
  std::shared_ptr<FakeSettings> settings_;
  Dictionary defaults_;
};

}  // namespace

std::unique_ptr<UserDefaults> FakeUserDefaultsSuites::initWithSuiteName(std::string_view suiteName) {
  log_.add("open settings of " + std::string(suiteName));
  if (refusesSuites) return nullptr;
  auto& settings = suites_[std::string(suiteName)];
  if (!settings) settings = std::make_shared<FakeSettings>();
  return std::make_unique<FakeUserDefaults>(log_, settings);
}

void FakeUserDefaultsSuites::set(const std::string& suiteName, const std::string& key, Object value) {
  auto& settings = suites_[suiteName];
  if (!settings) settings = std::make_shared<FakeSettings>();
  if (value.isNil()) {
    settings->values.erase(key);
  } else {
    settings->values.insert_or_assign(key, std::move(value));
  }
  loop_.post([settings, key] {
    for (const auto& [observer, observedKey] : std::vector(settings->observers)) {
      if (observedKey != key) continue;
      const auto stored = settings->values.find(key);
      observer->observeValueForKeyPath(key, stored == settings->values.end() ? Object() : stored->second);
    }
  });
}

}  // namespace platform::fake
