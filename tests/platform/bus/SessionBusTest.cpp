// The session bus of the Linux backend: its form on the bus, and a bus that is not there, stops, or comes back.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/processes/RunningApplications.h"
#include "tests/platform/PrivateBus.h"

namespace {

using namespace platform;
using Clock = std::chrono::steady_clock;
using tests::pumpUntil;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

class SessionBus : public testing::Test {
 protected:
  void observe(const std::string& name) {
    center.addObserver(this, name, [this](const std::string& text) { heard.push_back(text); });
    // The bus has seen the subscription once it has answered a later call.
    applications.runningApplicationsWithBundleIdentifier("org.example.None");
  }
  bool runUntilHeard(std::size_t count) {
    return pumpUntil([&] { return heard.size() >= count; });
  }
  long logged(std::string_view words) const {
    return std::count_if(log.lines.begin(), log.lines.end(),
                         [&](const std::string& line) { return line.find(words) != std::string::npos; });
  }

  tests::PrivateBus daemon;
  fake::FakeLog log;
  native::SessionBus bus{log, daemon.address()};
  native::LinuxDistributedNotificationCenter center{bus, log};
  native::LinuxRunningApplications applications{bus};
  std::vector<std::string> heard;
};

TEST_F(SessionBus, anotherProgramsNotificationIsHeard) {
  observe("DTDovetailRunning");
  daemon.post("DTDovetailRunning", "text");
  ASSERT_TRUE(runUntilHeard(1));
  EXPECT_EQ(heard, std::vector<std::string>{"text"});
}

TEST_F(SessionBus, aNotificationIsASignalWithOneString) {
  GDBusConnection* connection = bus.connection(native::SessionBus::deadline());
  ASSERT_NE(connection, nullptr);
  std::string seen;
  g_dbus_connection_signal_subscribe(
      connection, nullptr, nullptr, "DTDovetailAppMessage", nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char* path, const char* interface, const char* member, GVariant* body,
         gpointer data) {
        const native::OwnedText text(g_variant_print(body, TRUE));
        *static_cast<std::string*>(data) = std::string(path) + " " + interface + " " + member + " " + text.get();
      },
      &seen, nullptr);
  center.postNotificationName("DTDovetailAppMessage", "{}", true);
  ASSERT_TRUE(pumpUntil([&] { return !seen.empty(); }));
  EXPECT_EQ(seen,
            "/org/dovetail/DistributedNotificationCenter org.dovetail.DistributedNotificationCenter "
            "DTDovetailAppMessage ('{}',)");
}

TEST_F(SessionBus, aSignalOfAnotherPlaceIsNotHeardAndOneOfAnotherBodyIsOneOfNoString) {
  observe("N");
  GDBusConnection* connection = bus.connection(native::SessionBus::deadline());
  const char* path = "/org/dovetail/DistributedNotificationCenter";
  const char* interface = "org.dovetail.DistributedNotificationCenter";
  g_dbus_connection_emit_signal(connection, nullptr, path, interface, "N", nullptr, nullptr);
  g_dbus_connection_emit_signal(connection, nullptr, path, interface, "N", g_variant_new("(u)", 7), nullptr);
  g_dbus_connection_emit_signal(connection, nullptr, path, interface, "N", g_variant_new("(ss)", "a", "b"), nullptr);
  g_dbus_connection_emit_signal(connection, nullptr, "/elsewhere", interface, "N", g_variant_new("(s)", "a"), nullptr);
  g_dbus_connection_emit_signal(connection, nullptr, path, "org.example.Other", "N", g_variant_new("(s)", "a"), nullptr);
  center.postNotificationName("N", "last", true);
  ASSERT_TRUE(runUntilHeard(4));
  EXPECT_EQ(heard, (std::vector<std::string>{"", "", "", "last"}));
}

TEST_F(SessionBus, whatIsToRunBeforeADeliveryRunsBeforeEachAndMayEndTheObservation) {
  observe("N");
  center.setBeforeDelivery([this] { heard.emplace_back("before"); });
  center.postNotificationName("N", "text", true);
  ASSERT_TRUE(runUntilHeard(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"before", "text"}));
  center.setBeforeDelivery([this] {
    heard.emplace_back("end");
    center.removeObserver(this);
  });
  center.postNotificationName("N", "unheard", true);
  ASSERT_TRUE(runUntilHeard(3));
  EXPECT_EQ(heard.back(), "end");
}

TEST_F(SessionBus, aNameThatIsNoLegalMemberIsDroppedWithOneLineInTheLog) {
  const std::vector<std::string> names = {"", "a.b", "a b", "1a", "ä", std::string(256, 'n'), std::string("a\0b", 3)};
  for (const std::string& name : names) center.postNotificationName(name, "text", true);
  EXPECT_EQ(logged("not one that the bus carries"), static_cast<long>(names.size()));
  for (const std::string& name : names) center.addObserver(this, name, [](const std::string&) {});
  center.removeObserver(this);
  EXPECT_EQ(log.lines.size(), 2 * names.size());
}

TEST_F(SessionBus, bytesThatAreNoUTF8ArriveAsReplacementCharacters) {
  observe("N");
  center.postNotificationName("N",
                              std::string_view("a\xFF\xFE"
                                               "b\0c\xC3",
                                               7),
                              true);
  center.postNotificationName("N", "\xED\xA0\x80", true);
  ASSERT_TRUE(runUntilHeard(2));
  EXPECT_EQ(heard[0], "a\uFFFD\uFFFDb\uFFFDc\uFFFD");
  EXPECT_EQ(heard[1], "\uFFFD\uFFFD\uFFFD");
}

TEST_F(SessionBus, aProcessThatIsInTheQueueTwiceIsOneInstance) {
  const auto other = daemon.startOwner("org.example.Host");
  native::SessionBus second{log, daemon.address()};
  for (native::SessionBus* connection : {&bus, &second}) {
    EXPECT_NE(connection->call("RequestName", g_variant_new("(su)", "org.example.Host", 0), "(u)", native::SessionBus::deadline()),
              nullptr);
  }
  const auto found = applications.runningApplicationsWithBundleIdentifier("org.example.Host");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].processIdentifier, other->process());
  EXPECT_EQ(found[1].processIdentifier, ::getpid());
}

TEST_F(SessionBus, aMalformedIdentifierHasNoInstances) {
  for (const char* name : {"", "host", ".a.b", "a..b", "org.1a", ":1.1", "org.example.\xFF", "a b.c"}) {
    EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier(name).empty()) << name;
  }
  EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier(std::string("org.example\0.Host", 17)).empty());
  EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier("org." + std::string(300, 'x')).empty());
}

TEST_F(SessionBus, whereThereIsNoBusNothingIsHeardAndNothingFails) {
  for (const std::string address : {"unix:path=/nonexistent/bus", "nonsense", "", "unix:path=", "tcp:host=127.0.0.1,port=1"}) {
    native::SessionBus none{log, address};
    native::LinuxDistributedNotificationCenter quiet{none, log};
    const auto start = Clock::now();
    quiet.addObserver(this, "N", [](const std::string&) { FAIL(); });
    quiet.postNotificationName("N", "text", true);
    EXPECT_TRUE(native::LinuxRunningApplications(none).runningApplicationsWithBundleIdentifier("org.example.Host").empty());
    quiet.removeObserver(this);
    tests::pumpReady();
    EXPECT_LT(secondsSince(start), 1.0) << address;
  }
}

TEST_F(SessionBus, aThousandPostsWithoutABusTakeNoTime) {
  native::SessionBus none{log, "unix:path=/nonexistent/bus"};
  native::LinuxDistributedNotificationCenter quiet{none, log};
  const auto start = Clock::now();
  for (int i = 0; i < 1000; ++i) quiet.postNotificationName("N", "text", true);
  EXPECT_LT(secondsSince(start), 10.0);
}

TEST_F(SessionBus, aBusThatDoesNotAnswerIsWaitedForOneSecondOnce) {
  daemon.stop();
  auto start = Clock::now();
  EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier("org.example.Host").empty());
  EXPECT_GE(secondsSince(start), 0.95);
  EXPECT_LT(secondsSince(start), 2.0);
  start = Clock::now();
  for (int i = 0; i < 1000; ++i) center.postNotificationName("N", "lost", true);
  EXPECT_LT(secondsSince(start), 5.0);
  daemon.resume();
  const auto owner = daemon.startOwner("org.example.Host");
  EXPECT_TRUE(pumpUntil([&] { return applications.runningApplicationsWithBundleIdentifier("org.example.Host").size() == 1; }));
}

TEST_F(SessionBus, aBusThatStopsLaterIsWaitedForOneSecondInAll) {
  const auto owner = daemon.startOwner("org.example.Host");
  ASSERT_EQ(applications.runningApplicationsWithBundleIdentifier("org.example.Host").size(), 1u);
  daemon.stop();
  const auto start = Clock::now();
  EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier("org.example.Host").empty());
  EXPECT_LT(secondsSince(start), 2.0);
  center.postNotificationName("N", "text", true);
  EXPECT_LT(secondsSince(start), 2.0);
  daemon.resume();
  EXPECT_EQ(applications.runningApplicationsWithBundleIdentifier("org.example.Host").size(), 1u);
}

TEST_F(SessionBus, aBusThatWentAwayIsLoggedOnceAndItsReturnRenewsTheSubscriptions) {
  observe("N");
  for (long round = 1; round <= 3; ++round) {
    daemon.end();
    EXPECT_TRUE(pumpUntil([&] { return logged("session bus went away") == round; }));
    center.postNotificationName("N", "lost", true);
    EXPECT_TRUE(applications.runningApplicationsWithBundleIdentifier("org.example.Host").empty());
    EXPECT_EQ(log.lines.size(), static_cast<std::size_t>(round));
    daemon.start();
    const auto owner = daemon.startOwner("org.example.Host");
    EXPECT_EQ(applications.runningApplicationsWithBundleIdentifier("org.example.Host").size(), 1u);
    daemon.post("N", "again");
    EXPECT_TRUE(runUntilHeard(2 * static_cast<std::size_t>(round)));
  }
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "again"), 3);
  EXPECT_EQ(std::count(heard.begin(), heard.end(), ""), 3);
}

TEST_F(SessionBus, aBusThatComesBackIsHeardWithoutAnyUse) {
  observe("N");
  daemon.end();
  EXPECT_TRUE(pumpUntil([&] { return logged("session bus went away") == 1; }));
  daemon.start();
  EXPECT_TRUE(pumpUntil([&] { return bus.openConnection() != nullptr; }));
  applications.runningApplicationsWithBundleIdentifier("org.example.None");
  daemon.post("N", "again");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "again"), 1);
}

TEST_F(SessionBus, aBusThatCameBackBeforeItsLossWasNoticedIsHeardWithoutAnyUse) {
  observe("N");
  daemon.end();
  daemon.start();
  EXPECT_TRUE(pumpUntil([&] { return logged("session bus went away") == 1; }));
  EXPECT_TRUE(pumpUntil([&] { return bus.openConnection() != nullptr; }));
}

TEST_F(SessionBus, aUseRightAfterTheBusEndedDoesNotUseTheDeadConnection) {
  observe("N");
  daemon.end();
  daemon.start();
  const auto owner = daemon.startOwner("org.example.Host");
  EXPECT_TRUE(pumpUntil([&] { return applications.runningApplicationsWithBundleIdentifier("org.example.Host").size() == 1; }));
  daemon.post("N", "again");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "again"), 1);
}

TEST_F(SessionBus, anObserverAddedWithoutABusIsToldOnceThereIsOne) {
  daemon.end();
  observe("N");
  daemon.start();
  EXPECT_TRUE(pumpUntil([&] { return bus.openConnection() != nullptr; }));
  applications.runningApplicationsWithBundleIdentifier("org.example.None");
  daemon.post("N", "text");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "text"), 1);
}

TEST_F(SessionBus, anObserverThatMayHaveMissedSomethingIsToldOnce) {
  observe("N");
  daemon.end();
  EXPECT_TRUE(pumpUntil([&] { return logged("session bus went away") == 1; }));
  daemon.start();
  daemon.post("N", "too early");
  EXPECT_TRUE(runUntilHeard(1));
  EXPECT_EQ(heard.front(), "");
  daemon.post("N", "in time");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(std::count(heard.begin(), heard.end(), ""), 1);
}

TEST_F(SessionBus, whatWasPostedRightBeforeTheEndArrives) {
  observe("N");
  native::SessionBus other{log, daemon.address()};
  native::LinuxDistributedNotificationCenter(other, log).postNotificationName("N", "last words", true);
  EXPECT_TRUE(runUntilHeard(1));
}

TEST_F(SessionBus, theEndDoesNotWaitLongForAStoppedBus) {
  auto other = std::make_unique<native::SessionBus>(log, daemon.address());
  native::LinuxDistributedNotificationCenter(*other, log).postNotificationName("N", std::string(1'000'000, 'x'), true);
  daemon.stop();
  const auto start = Clock::now();
  other.reset();
  EXPECT_LT(secondsSince(start), 2.0);
  daemon.resume();
}

}  // namespace
