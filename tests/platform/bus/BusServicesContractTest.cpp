// The rules of distributed notifications and of running applications that the fakes and the Linux backend
// keep alike.
#include <gtest/gtest.h>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/processes/RunningApplications.h"
#include "tests/platform/PrivateBus.h"

namespace {

using namespace platform;

struct FakeBackend {
  fake::CallLog calls;
  fake::FakeMainLoop loop;
  fake::FakeDistributedNotificationCenter center{calls, loop};
  fake::FakeRunningApplications applications{calls};

  template <typename Condition>
  bool runUntil(Condition holds) {
    loop.run();
    return holds();
  }
  std::int32_t launch(const std::string& identifier) {
    static std::int32_t next = 100;
    applications.processes[identifier].push_back(++next);
    return next;
  }
  void quit(const std::string& identifier, std::int32_t process) { std::erase(applications.processes[identifier], process); }
};

struct LinuxBackend {
  tests::PrivateBus daemon;
  fake::FakeLog log;
  native::SessionBus bus{log, daemon.address()};
  native::LinuxDistributedNotificationCenter center{bus, log};
  native::LinuxRunningApplications applications{bus};
  std::vector<std::unique_ptr<tests::PeerProcess>> owners;

  template <typename Condition>
  bool runUntil(Condition holds) {
    return tests::pumpUntil(holds);
  }
  std::int32_t launch(const std::string& identifier) {
    owners.push_back(daemon.startOwner(identifier));
    return owners.back()->process();
  }
  void quit(const std::string&, std::int32_t process) {
    std::erase_if(owners, [&](const auto& owner) { return owner->process() == process; });
  }
};

template <typename Backend>
class BusServicesContract : public testing::Test {
 protected:
  void observe(const void* observer, const std::string& name) {
    backend.center.addObserver(observer, name, [this, name](const std::string& text) { heard.push_back(name + ":" + text); });
  }
  void post(const std::string& name, const std::string& text = "") { backend.center.postNotificationName(name, text, true); }
  // All that was posted before has been delivered once this notification is.
  void settle() {
    int marker = 0;
    bool isOver = false;
    backend.center.addObserver(&marker, "Settled", [&](const std::string&) { isOver = true; });
    post("Settled");
    EXPECT_TRUE(backend.runUntil([&] { return isOver; }));
    backend.center.removeObserver(&marker);
  }
  std::vector<std::int32_t> running(const std::string& identifier) {
    std::vector<std::int32_t> processes;
    for (const auto& found : backend.applications.runningApplicationsWithBundleIdentifier(identifier))
      processes.push_back(found.processIdentifier);
    return processes;
  }

  int first = 0;
  int second = 0;
  std::vector<std::string> heard;
  Backend backend;
};

using Backends = testing::Types<FakeBackend, LinuxBackend>;
TYPED_TEST_SUITE(BusServicesContract, Backends);

TYPED_TEST(BusServicesContract, aNotificationReachesEachObserverOfItsNameWithItsString) {
  this->observe(&this->first, "DTDovetailRunning");
  this->observe(&this->second, "DTDovetailRunning");
  this->observe(&this->first, "DTOther");
  this->post("DTDovetailRunning", "text");
  this->post("DTUnheard", "text");
  this->settle();
  EXPECT_EQ(this->heard, (std::vector<std::string>{"DTDovetailRunning:text", "DTDovetailRunning:text"}));
}

TYPED_TEST(BusServicesContract, stringsArriveAsTheyWereInTheOrderTheyWerePosted) {
  this->observe(&this->first, "N");
  const std::string large(1'000'000, 'x');
  const std::vector<std::string> texts = {"", "{\"a\":\"\\n\"}", "\n \t", "…ä€𝄞", large};
  std::vector<std::string> expected;
  for (const std::string& text : texts) {
    this->post("N", text);
    expected.push_back("N:" + text);
  }
  this->settle();
  EXPECT_EQ(this->heard, expected);
}

TYPED_TEST(BusServicesContract, nothingIsDeliveredBeforeControlReturnsToTheMainLoop) {
  this->observe(&this->first, "N");
  this->post("N");
  EXPECT_TRUE(this->heard.empty());
  this->settle();
  EXPECT_EQ(this->heard.size(), 1u);
}

TYPED_TEST(BusServicesContract, removingAnObserverEndsAllItsSubscriptionsAndNoOthers) {
  this->observe(&this->first, "A");
  this->observe(&this->first, "B");
  this->observe(&this->second, "A");
  this->backend.center.removeObserver(&this->first);
  this->backend.center.removeObserver(this);
  this->post("A");
  this->post("B");
  this->settle();
  EXPECT_EQ(this->heard, std::vector<std::string>{"A:"});
}

TYPED_TEST(BusServicesContract, anObserverRemovedBeforeTheMainLoopRunsHearsNothing) {
  this->observe(&this->first, "A");
  this->post("A");
  this->backend.center.removeObserver(&this->first);
  this->settle();
  EXPECT_TRUE(this->heard.empty());
}

TYPED_TEST(BusServicesContract, anObserverMayEndItsSubscriptionWhileItIsTold) {
  const auto held = std::make_shared<int>(7);
  this->backend.center.addObserver(&this->first, "A", [this, held](const std::string&) {
    this->backend.center.removeObserver(&this->first);
    this->heard.push_back("told " + std::to_string(*held));
  });
  this->post("A");
  this->post("A");
  this->settle();
  EXPECT_EQ(this->heard, std::vector<std::string>{"told 7"});
}

TYPED_TEST(BusServicesContract, anIdentifierThatNobodyBearsHasNoInstances) {
  EXPECT_EQ(this->running("org.example.Host"), std::vector<std::int32_t>{});
}

TYPED_TEST(BusServicesContract, runningInstancesAreListedInTheOrderOfTheirStart) {
  const auto one = this->backend.launch("org.example.Host");
  EXPECT_EQ(this->running("org.example.Host"), std::vector<std::int32_t>{one});
  const auto two = this->backend.launch("org.example.Host");
  const auto three = this->backend.launch("org.example.Host");
  this->backend.launch("org.example.Other");
  EXPECT_EQ(this->running("org.example.Host"), (std::vector<std::int32_t>{one, two, three}));
  this->backend.quit("org.example.Host", one);
  EXPECT_TRUE(this->backend.runUntil([&] { return this->running("org.example.Host") == std::vector<std::int32_t>{two, three}; }));
}

}  // namespace
