// What every backend's shared settings keep to, over settings in memory and over a real dconf service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/settings/SettingsWriter.h"
#include "platform/linux/settings/UserDefaults.h"
#include "tests/MainLoopPump.h"
#include "tests/platform/PrivateSession.h"

namespace {

using namespace platform;
using testing::ElementsAre;

[[maybe_unused]] tests::PrivateSession& session = tests::PrivateSession::begin();

class SettingsInMemory {
 public:
  UserDefaultsSuites& suites() { return suites_; }
  void set(const std::string& group, const std::string& key, const Object& value) { suites_.set(group, key, value); }
  bool runUntil(const std::function<bool()>& holds) {
    loop_.run();
    return holds();
  }

 private:
  fake::CallLog log_;
  fake::FakeMainLoop loop_;
  fake::FakeUserDefaultsSuites suites_{log_, loop_};
};

class SettingsInDConf {
 public:
  UserDefaultsSuites& suites() { return suites_; }
  void set(const std::string& group, const std::string& key, const Object& value) {
    EXPECT_TRUE(native::SettingsWriter::forGroup(group)->setObject(value, key));
  }
  bool runUntil(const std::function<bool()>& holds) { return tests::pumpUntil(holds); }

 private:
  fake::FakeLog log_;
  native::SessionBus bus_{log_};
  native::LinuxUserDefaultsSuites suites_{bus_};
};

class Observer final : public KeyValueObserver {
 public:
  void observeValueForKeyPath(std::string_view keyPath, const Object& newValue) override {
    const auto* text = newValue.get<std::string>();
    told.push_back(std::string(keyPath) + "=" + (text ? *text : "nil"));
  }
  std::vector<std::string> told;
};

template <typename Backend>
class UserDefaultsContract : public testing::Test {
 protected:
  void set(const std::string& key, const Object& value) {
    backend.set(group, key, value);
    settle();
  }
  // What is told comes in order: once the last change is here, all before it are.
  void settle() {
    Observer last;
    store->addObserver(last, "last");
    const std::string text = std::to_string(++count);
    backend.set(group, "last", text);
    EXPECT_TRUE(backend.runUntil([&] { return !last.told.empty() && last.told.back() == "last=" + text; }));
    store->removeObserver(last, "last");
  }
  std::string text(const std::string& key) { return store->stringForKey(key).value_or("no text"); }

  Backend backend;
  std::string group = std::string("org.dovetail.contract.") + testing::UnitTest::GetInstance()->current_test_info()->name();
  std::unique_ptr<UserDefaults> store = backend.suites().initWithSuiteName(group);
  int count = 0;
};

using Backends = testing::Types<SettingsInMemory, SettingsInDConf>;
TYPED_TEST_SUITE(UserDefaultsContract, Backends);

TYPED_TEST(UserDefaultsContract, aStoredValueGoesBeforeTheRegisteredOneAndThatBeforeNil) {
  EXPECT_TRUE(this->store->objectForKey("key").isNil());
  Dictionary defaults;
  defaults.add("key", "registered");
  this->store->registerDefaults(defaults);
  EXPECT_EQ(this->text("key"), "registered");
  this->set("key", "stored");
  EXPECT_EQ(this->text("key"), "stored");
  this->set("key", Object());
  EXPECT_EQ(this->text("key"), "registered");
}

TYPED_TEST(UserDefaultsContract, registeredValuesAreReplacedAsAWhole) {
  Dictionary first, second;
  first.add("a", "1");
  second.add("b", "2");
  this->store->registerDefaults(first);
  EXPECT_EQ(this->text("a"), "1");
  this->store->registerDefaults(second);
  EXPECT_EQ(this->text("a"), "no text");
  EXPECT_EQ(this->text("b"), "2");
}

TYPED_TEST(UserDefaultsContract, aKeyIsItsExactText) {
  this->set("DTArchiveIconsShown ", true);
  EXPECT_TRUE(this->store->boolForKey("DTArchiveIconsShown "));
  EXPECT_FALSE(this->store->boolForKey("DTArchiveIconsShown"));
}

TYPED_TEST(UserDefaultsContract, keysThatAreReadInTurnKeepTheirOwnValues) {
  this->set("one", "1");
  this->set("two", "2");
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(this->text("one"), "1");
    EXPECT_EQ(this->text("one "), "no text");
    EXPECT_EQ(this->text("two"), "2");
  }
  this->set("two", "3");
  EXPECT_EQ(this->text("two"), "3");
  EXPECT_EQ(this->text("one"), "1");
}

TYPED_TEST(UserDefaultsContract, anObserverIsToldOfEachChangeAndOfTheRemoval) {
  Observer observer;
  this->store->addObserver(observer, "key");
  this->set("key", "1");
  this->set("other", "1");
  this->set("key", "2");
  this->set("key", Object());
  EXPECT_THAT(observer.told, ElementsAre("key=1", "key=2", "key=nil"));
  this->store->removeObserver(observer, "key");
}

TYPED_TEST(UserDefaultsContract, aRemovedObserverIsToldNoMore) {
  Observer observer;
  this->store->addObserver(observer, "key");
  this->store->removeObserver(observer, "key");
  this->store->removeObserver(observer, "key");
  this->set("key", "1");
  EXPECT_THAT(observer.told, ElementsAre());
}

TYPED_TEST(UserDefaultsContract, addedTwiceToldTwiceAndRemovedOneByOne) {
  Observer observer;
  this->store->addObserver(observer, "key");
  this->store->addObserver(observer, "key");
  this->set("key", "1");
  EXPECT_THAT(observer.told, ElementsAre("key=1", "key=1"));
  this->store->removeObserver(observer, "key");
  this->set("key", "2");
  EXPECT_THAT(observer.told, ElementsAre("key=1", "key=1", "key=2"));
  this->store->removeObserver(observer, "key");
}

TYPED_TEST(UserDefaultsContract, valuesOfEveryKindComeThrough) {
  Dictionary items;
  items.add("DTRootMenuItems", Array{Integer::ofSigned(7), Integer::ofSigned(8)});
  this->set("items", items);
  this->set("folders", Array{Data{1, 0, 255}});
  const Dictionary* read = this->store->dictionaryForKey("items");
  ASSERT_TRUE(read && read->objectForKey("DTRootMenuItems") && read->objectForKey("DTRootMenuItems")->template get<Array>());
  const Array& tags = *read->objectForKey("DTRootMenuItems")->template get<Array>();
  ASSERT_EQ(tags.size(), 2u);
  EXPECT_EQ(tags[1].template get<Integer>()->signedValue(), 8);
  const Array* folders = this->store->arrayForKey("folders");
  ASSERT_TRUE(folders && folders->size() == 1);
  EXPECT_EQ(*folders->front().template get<Data>(), (Data{1, 0, 255}));
}

TYPED_TEST(UserDefaultsContract, aValueOfAnotherKindReadsAsAbsent) {
  for (const char* text : {"YES", "true", "1"}) {
    this->set("text", text);
    EXPECT_FALSE(this->store->boolForKey("text")) << text;
  }
  this->set("number", Integer::ofSigned(1));
  EXPECT_FALSE(this->store->stringForKey("number"));
  EXPECT_EQ(this->store->arrayForKey("number"), nullptr);
  EXPECT_EQ(this->store->dictionaryForKey("number"), nullptr);
}

TYPED_TEST(UserDefaultsContract, groupsAreApart) {
  const auto other = this->backend.suites().initWithSuiteName(this->group + "2");
  this->set("key", "1");
  EXPECT_TRUE(other->objectForKey("key").isNil());
}

}  // namespace
