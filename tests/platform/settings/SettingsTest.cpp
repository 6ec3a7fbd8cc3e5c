// The shared settings over a real dconf service on a private session bus; other programs' changes come from
// the dconf command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <filesystem>
#include <fstream>

#include "platform/linux/settings/SettingsWriter.h"
#include "platform/linux/settings/UserDefaults.h"
#include "tests/MainLoopPump.h"
#include "tests/platform/PeerProcess.h"
#include "tests/platform/PrivateSession.h"

namespace {

using namespace platform;
using namespace platform::native;
using testing::ElementsAre;
using tests::PrivateSession;
using tests::pumpUntil;

PrivateSession& session = PrivateSession::begin();

class SilentLog final : public Log {
 public:
  void line(std::string_view) override {}
};

class Observer final : public KeyValueObserver {
 public:
  void observeValueForKeyPath(std::string_view keyPath, const Object& newValue) override {
    const auto* text = newValue.get<std::string>();
    told.push_back(std::string(keyPath) + "=" + (text ? *text : newValue.isNil() ? "nil" : "?"));
    if (whenTold) whenTold();
  }
  std::vector<std::string> told;
  std::function<void()> whenTold;
};

class Settings : public testing::Test {
 protected:
  // Each test has a group of its own, so none sees another's values.
  Settings() { open(); }

  void open() {
    store = suites->initWithSuiteName(group);
    ASSERT_TRUE(store);
    waitUntilTold();
  }
  std::string path(const std::string& key) const {
    std::string path = "/" + group + "/";
    std::ranges::replace(path, '.', '/');
    return path + key;
  }
  void write(const std::string& key, const std::string& text) const {
    ASSERT_EQ(PrivateSession::run({"dconf", "write", path(key), text}), 0);
  }
  void reset(const std::string& key) const { ASSERT_EQ(PrivateSession::run({"dconf", "reset", "-f", path(key)}), 0); }
  // Notices come in order, so once this last one is here all before it are.
  void waitUntilTold() {
    Observer last;
    store->addObserver(last, "last");
    const std::string text = std::to_string(++count);
    write("last", "'" + text + "'");
    EXPECT_TRUE(pumpUntil([&] { return !last.told.empty() && last.told.back() == "last=" + text; }));
    store->removeObserver(last, "last");
  }
  const Object& value(const std::string& key) const { return store->objectForKey(key); }
  std::string text(const std::string& key) const { return store->stringForKey(key).value_or("no text"); }

  SilentLog log;
  SessionBus bus{log};
  std::unique_ptr<LinuxUserDefaultsSuites> suites = std::make_unique<LinuxUserDefaultsSuites>(bus);
  std::string group = std::string("org.dovetail.test.") + testing::UnitTest::GetInstance()->current_test_info()->name();
  std::unique_ptr<UserDefaults> store;
  int count = 0;
};

TEST_F(Settings, aStoredValueGoesBeforeTheRegisteredOneAndThatBeforeNil) {
  write("stored", "'written'");
  EXPECT_TRUE(value("neither").isNil());
  Dictionary defaults;
  defaults.add("stored", "registered");
  defaults.add("registered", "registered");
  EXPECT_TRUE(value("registered").isNil());
  store->registerDefaults(defaults);
  EXPECT_EQ(text("stored"), "written");
  EXPECT_EQ(text("registered"), "registered");
  store->registerDefaults({});
  EXPECT_TRUE(value("registered").isNil());
}

TEST_F(Settings, theSpaceAtTheEndOfAKeyIsPartOfIt) {
  write("DTArchiveIconsShown ", "false");
  waitUntilTold();
  ASSERT_TRUE(value("DTArchiveIconsShown ").get<bool>());
  EXPECT_FALSE(store->boolForKey("DTArchiveIconsShown "));
  EXPECT_TRUE(value("DTArchiveIconsShown").isNil());
}

TEST_F(Settings, aGroupThatMakesNoPathHasNoStore) {
  for (const char* odd : {"", ".", "a..b", ".a", "a.", "a\xFF", "a/.b"}) {
    EXPECT_FALSE(suites->initWithSuiteName(odd)) << odd;
    EXPECT_FALSE(SettingsWriter::forGroup(odd)) << odd;
  }
  EXPECT_FALSE(suites->initWithSuiteName(std::string_view("a\0b", 3)));
}

TEST_F(Settings, aKeyThatMakesNoPathReadsAsNilAndCannotBeWritten) {
  const auto writer = SettingsWriter::forGroup(group);
  for (const char* odd : {"", "a/", "/a", "a\xFF"}) {
    EXPECT_TRUE(value(odd).isNil()) << odd;
    EXPECT_FALSE(writer->setObject("x", odd)) << odd;
  }
}

TEST_F(Settings, anotherProgramsChangeReplacesWhatWasReadAndIsTold) {
  Observer observer;
  store->addObserver(observer, "key");
  EXPECT_TRUE(value("key").isNil());
  write("key", "'one'");
  EXPECT_TRUE(pumpUntil([&] { return !observer.told.empty(); }));
  EXPECT_EQ(text("key"), "one");
  write("key", "'two'");
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre("key=one", "key=two"));
  store->removeObserver(observer, "key");
}

TEST_F(Settings, whatIsStoredAlreadyCanBeHadAheadOfItsNoticeAndIsToldOnce) {
  Observer observer;
  store->addObserver(observer, "key");
  write("key", "'new'");
  EXPECT_EQ(text("key"), "no text");
  suites->synchronize();
  EXPECT_EQ(text("key"), "new");
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre("key=new"));
}

TEST_F(Settings, anObserverMayCloseTheStoreWhileAllIsSynchronized) {
  Observer observer;
  auto other = suites->initWithSuiteName(group);
  other->addObserver(observer, "key");
  observer.whenTold = [&] { store.reset(); };
  write("key", "'new'");
  suites->synchronize();
  EXPECT_FALSE(store);
  EXPECT_THAT(observer.told, ElementsAre("key=new"));
}

TEST_F(Settings, aRemovedKeyIsToldAndReadsAsRegisteredAgain) {
  Dictionary defaults;
  defaults.add("key", "registered");
  store->registerDefaults(defaults);
  write("key", "'stored'");
  waitUntilTold();
  Observer observer;
  store->addObserver(observer, "key");
  EXPECT_EQ(text("key"), "stored");
  reset("key");
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre("key=nil"));
  EXPECT_EQ(text("key"), "registered");
  store->removeObserver(observer, "key");
}

TEST_F(Settings, removingTheWholeFolderTellsOfEachKeyThatHadAValue) {
  write("a", "'1'");
  write("b", "'2'");
  waitUntilTold();
  Observer observer;
  for (const char* key : {"a", "b", "never"}) store->addObserver(observer, key);
  reset("");
  waitUntilTold();
  EXPECT_THAT(observer.told, testing::UnorderedElementsAre("a=nil", "b=nil"));
  for (const char* key : {"a", "b", "never"}) store->removeObserver(observer, key);
}

TEST_F(Settings, changesOfOtherKeysAndGroupsAreNotTold) {
  Observer observer;
  store->addObserver(observer, "key");
  write("key ", "'1'");
  write("key2", "'1'");
  write("key/inner", "'1'");
  ASSERT_EQ(PrivateSession::run({"dconf", "write", "/org/dovetail/test/key", "'1'"}), 0);
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre());
  store->removeObserver(observer, "key");
}

TEST_F(Settings, writingTheSameValueAgainIsNoChange) {
  write("key", "'1'");
  waitUntilTold();
  Observer observer;
  store->addObserver(observer, "key");
  write("key", "'1'");
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre());
  store->removeObserver(observer, "key");
}

TEST_F(Settings, anObserverIsToldOnceForEachTimeThatItWasAdded) {
  Observer twice, once;
  store->addObserver(twice, "key");
  store->addObserver(twice, "key");
  store->addObserver(once, "key");
  write("key", "'1'");
  waitUntilTold();
  EXPECT_THAT(twice.told, ElementsAre("key=1", "key=1"));
  EXPECT_THAT(once.told, ElementsAre("key=1"));
  store->removeObserver(twice, "key");
  store->removeObserver(once, "key");
  write("key", "'2'");
  waitUntilTold();
  EXPECT_THAT(twice.told, ElementsAre("key=1", "key=1", "key=2"));
  EXPECT_THAT(once.told, ElementsAre("key=1"));
  store->removeObserver(twice, "key");
}

TEST_F(Settings, observersMayRemoveThemselvesAndOthersWhileTold) {
  Observer first, second, third;
  for (Observer* observer : {&first, &second, &third}) store->addObserver(*observer, "key");
  first.whenTold = [&] {
    store->removeObserver(first, "key");
    store->removeObserver(second, "key");
  };
  write("key", "'1'");
  waitUntilTold();
  EXPECT_THAT(first.told, ElementsAre("key=1"));
  EXPECT_THAT(second.told, ElementsAre());
  EXPECT_THAT(third.told, ElementsAre("key=1"));
  store->removeObserver(third, "key");
}

TEST_F(Settings, theStoreMayBeClosedWhileItTells) {
  Observer first, second;
  store->addObserver(first, "key");
  store->addObserver(second, "key");
  first.whenTold = [&] { store.reset(); };
  write("key", "'1'");
  EXPECT_TRUE(pumpUntil([&] { return !first.told.empty(); }));
  EXPECT_THAT(second.told, ElementsAre());
}

TEST_F(Settings, aReadOfAKnownKeyMakesNoSystemCall) {
  write("key", "'text'");
  waitUntilTold();
  EXPECT_EQ(text("key"), "text");
  EXPECT_TRUE(value("absent").isNil());
  tests::PeerProcess reader([&](const tests::PeerProcess::Line&) {
    // From here on any system call but reading, writing and exit ends the process by a signal.
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
    std::size_t right = 0;
    for (int i = 0; i < 1000; ++i) right += value("key").get<std::string>() && value("absent").isNil();
    syscall(SYS_exit, right == 1000 ? 0 : 1);
    return 2;
  });
  EXPECT_EQ(reader.wait(), 0);
}

TEST_F(Settings, storesOfOneGroupInOneProcessAreAllTold) {
  const auto other = suites->initWithSuiteName(group);
  Observer observer, otherObserver;
  store->addObserver(observer, "key");
  other->addObserver(otherObserver, "key");
  write("key", "'1'");
  EXPECT_TRUE(pumpUntil([&] { return !observer.told.empty() && !otherObserver.told.empty(); }));
  store->removeObserver(observer, "key");
  other->removeObserver(otherObserver, "key");
}

TEST_F(Settings, aStoreThatOutlivesItsSuitesStillReads) {
  write("key", "'1'");
  waitUntilTold();
  EXPECT_EQ(text("key"), "1");
  suites.reset();
  EXPECT_EQ(text("key"), "1");
  store.reset();
}

TEST_F(Settings, whatTheHostWritesHasTheDocumentedForms) {
  const auto writer = SettingsWriter::forGroup(group);
  ASSERT_TRUE(writer);
  const auto numbers = [](std::initializer_list<int> list) {
    Array array;
    for (const int number : list) array.push_back(Integer::ofSigned(number));
    return array;
  };
  Dictionary items;
  items.add("DTRootMenuItems", numbers({7, 8}));
  items.add("DTMoreMenuItems", numbers({2}));
  items.add("DTOtherMenuItems", Array());
  const auto written = [&](const Object& object) {
    const auto stored = writer->setObject(object, "key");
    EXPECT_TRUE(stored) << *stored.reason().textForKey(LocalizedDescriptionKey);
    return PrivateSession::outputOf("dconf read '" + path("key") + "'");
  };
  EXPECT_EQ(written(items), "{'DTRootMenuItems': <[7, 8]>, 'DTMoreMenuItems': <[2]>, 'DTOtherMenuItems': <@av []>}");
  EXPECT_EQ(written(true), "true");
  EXPECT_EQ(written("1.0"), "'1.0'");
  EXPECT_EQ(written(Array{Data{1, 2}, Data{3}}), "[[byte 0x01, 0x02], [0x03]]");
  EXPECT_EQ(written(Array()), "@av []");
  EXPECT_EQ(written(Object()), "");
  EXPECT_FALSE(writer->setObject(Date{1}, "key"));
  EXPECT_FALSE(writer->setObject("\xFF", "key"));
}

TEST_F(Settings, whatTheHostWritesReadsAsTheSameValues) {
  const auto writer = SettingsWriter::forGroup(group);
  Observer observer;
  store->addObserver(observer, "DTFoldersPaths");
  ASSERT_TRUE(writer->setObject(Array{Data{1, 0, 255}, Data()}, "DTFoldersPaths"));
  EXPECT_TRUE(pumpUntil([&] { return !observer.told.empty(); }));
  const Array* folders = store->arrayForKey("DTFoldersPaths");
  ASSERT_TRUE(folders);
  ASSERT_EQ(folders->size(), 2u);
  ASSERT_TRUE((*folders)[0].get<Data>() && (*folders)[1].get<Data>());
  EXPECT_EQ(*(*folders)[0].get<Data>(), (Data{1, 0, 255}));
  EXPECT_EQ(*(*folders)[1].get<Data>(), Data());
  store->removeObserver(observer, "DTFoldersPaths");
}

TEST_F(Settings, theBusMayGoAwayAndComeBack) {
  Observer observer;
  store->addObserver(observer, "key");
  write("key", "'before'");
  EXPECT_TRUE(pumpUntil([&] { return observer.told.size() == 1; }));
  session.stopBus();
  EXPECT_TRUE(pumpUntil([&] { return bus.openConnection() == nullptr; }));
  EXPECT_EQ(text("key"), "before");
  session.startBus();
  write("key", "'while away'");
  EXPECT_TRUE(pumpUntil([&] { return observer.told.size() == 2; }));
  waitUntilTold();
  write("key", "'after'");
  EXPECT_TRUE(pumpUntil([&] { return observer.told.size() == 3; }));
  EXPECT_THAT(observer.told, ElementsAre("key=before", "key=while away", "key=after"));
  store->removeObserver(observer, "key");
}

TEST_F(Settings, withoutABusTheStoreOpensAndReadsWhatIsStored) {
  write("key", "'stored'");
  SessionBus none(log, "unix:path=" + session.path("no-such-socket"));
  LinuxUserDefaultsSuites lonely(none);
  const auto alone = lonely.initWithSuiteName(group);
  ASSERT_TRUE(alone);
  EXPECT_EQ(alone->stringForKey("key"), "stored");
}

TEST_F(Settings, aDamagedDatabaseReadsAsEmptyAndHeals) {
  write("key", "'stored'");
  waitUntilTold();
  const std::string database = session.path("config/dconf/user");
  const std::string aside = database + ".aside";
  std::filesystem::copy_file(database, aside);
  for (const std::string& bytes : {std::string(), std::string("GVariant"), std::string(500, '\xFF')}) {
    std::filesystem::remove(database);
    std::ofstream(database) << bytes;
    SessionBus none(log, "unix:path=" + session.path("no-such-socket"));
    LinuxUserDefaultsSuites lonely(none);
    EXPECT_TRUE(lonely.initWithSuiteName(group)->objectForKey("key").isNil());
  }
  std::filesystem::rename(aside, database);
  Observer observer;
  store->addObserver(observer, "key");
  write("key", "'healed'");
  EXPECT_TRUE(pumpUntil([&] { return !observer.told.empty(); }));
  EXPECT_EQ(text("key"), "healed");
  store->removeObserver(observer, "key");
}

TEST_F(Settings, noticesThatAreNoneAreIgnored) {
  Observer observer;
  store->addObserver(observer, "key");
  for (const char* body : {"('/',)", "('/', 'x', 'y')", "('/', @as [], '')", "('', [''], '')"}) {
    GError* error = nullptr;
    const OwnedVariant parameters(g_variant_ref_sink(g_variant_parse(nullptr, body, nullptr, nullptr, nullptr)));
    g_dbus_connection_emit_signal(bus.connection(SessionBus::deadline()), nullptr, "/ca/desrt/dconf/Writer/user",
                                  "ca.desrt.dconf.Writer", "Notify", parameters.get(), &error);
    EXPECT_FALSE(error);
  }
  waitUntilTold();
  EXPECT_THAT(observer.told, ElementsAre());
  store->removeObserver(observer, "key");
}

}  // namespace
