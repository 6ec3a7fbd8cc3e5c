// The rules of process sources that the fake and the Linux backend keep alike.
#include <gtest/gtest.h>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/processes/ProcessSource.h"
#include "tests/MainLoopPump.h"
#include "tests/platform/processes/TracedProcess.h"

namespace {

using namespace platform;

struct FakeBackend {
  fake::CallLog calls;
  fake::FakeMainLoop loop;
  fake::FakeProcessSources sources{calls, loop};

  std::int32_t process() const { return 4711; }
  void signal() { sources.fire(process(), ProcessSignal); }
  void end() {
    sources.gone.insert(process());
    sources.fire(process(), ProcessExit);
  }
  template <typename Condition>
  bool runUntil(Condition holds) {
    loop.run();
    return holds();
  }
  void settle() { loop.run(); }
};

struct LinuxBackend {
  fake::FakeLog log;
  native::LinuxProcessSources sources{log, DOVETAIL_WATCHER};
  tests::SignalCounter host;

  std::int32_t process() const { return host.process(); }
  void signal() {
    EXPECT_TRUE(tests::pumpUntil([&] { return tests::tracerOf(process()) != 0; }));
    EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  }
  void end() { ::kill(process(), SIGKILL); }
  template <typename Condition>
  bool runUntil(Condition holds) {
    return tests::pumpUntil(holds);
  }
  void settle() { tests::pumpReady(); }
};

template <typename Backend>
class ProcessSourceContract : public testing::Test {
 protected:
  std::shared_ptr<ProcessSource> source(std::uint32_t mask = ProcessExit | ProcessSignal) {
    auto made = backend.sources.createProcessSource(backend.process(), mask);
    made->setEventHandler([this] { ++events; });
    made->setCancelHandler([this] { ++cancels; });
    return made;
  }
  bool runUntilEvents(int count) {
    return backend.runUntil([&] { return events >= count; });
  }

  int events = 0;
  int cancels = 0;
  Backend backend;
};

using Backends = testing::Types<FakeBackend, LinuxBackend>;
TYPED_TEST_SUITE(ProcessSourceContract, Backends);

TYPED_TEST(ProcessSourceContract, theHandlerRunsWhenTheProcessEnds) {
  const auto source = this->source();
  source->resume();
  this->backend.settle();
  EXPECT_EQ(this->events, 0);
  this->backend.end();
  EXPECT_TRUE(this->runUntilEvents(1));
}

TYPED_TEST(ProcessSourceContract, theHandlerRunsWhenASignalIsDelivered) {
  const auto source = this->source();
  source->resume();
  this->backend.signal();
  EXPECT_TRUE(this->runUntilEvents(1));
}

TYPED_TEST(ProcessSourceContract, theHandlerRunsForEventsOfTheMaskAlone) {
  const auto exit = this->source(ProcessExit);
  int signals = 0;
  const auto signal = this->backend.sources.createProcessSource(this->backend.process(), ProcessSignal);
  signal->setEventHandler([&] { ++signals; });
  exit->resume();
  signal->resume();
  this->backend.signal();
  ASSERT_TRUE(this->backend.runUntil([&] { return signals == 1; }));
  EXPECT_EQ(this->events, 0);
  this->backend.end();
  ASSERT_TRUE(this->runUntilEvents(1));
  EXPECT_EQ(signals, 1);
  signal->cancel();
  this->backend.settle();
}

TYPED_TEST(ProcessSourceContract, nothingRunsBeforeTheSourceIsResumed) {
  const auto source = this->source();
  this->backend.end();
  this->backend.settle();
  EXPECT_EQ(this->events, 0);
}

TYPED_TEST(ProcessSourceContract, theExitOfAProcessThatIsAlreadyGoneIsToldOnceFromTheMainLoop) {
  this->backend.end();
  this->backend.settle();
  const auto source = this->source();
  source->resume();
  EXPECT_EQ(this->events, 0);
  ASSERT_TRUE(this->runUntilEvents(1));
  this->backend.settle();
  EXPECT_EQ(this->events, 1);
}

TYPED_TEST(ProcessSourceContract, ofAProcessThatIsAlreadyGoneASourceForSignalsHearsNothing) {
  this->backend.end();
  this->backend.settle();
  const auto first = this->source(ProcessExit);
  first->resume();
  ASSERT_TRUE(this->runUntilEvents(1));
  const auto signals = this->source(ProcessSignal);
  const auto exit = this->source(ProcessExit);
  signals->resume();
  exit->resume();
  ASSERT_TRUE(this->runUntilEvents(2));
  this->backend.settle();
  EXPECT_EQ(this->events, 2);
  signals->cancel();
  ASSERT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
}

TYPED_TEST(ProcessSourceContract, aSourceOnAProcessThatIsAlreadyGoneMayBeCancelledBeforeItIsTold) {
  this->backend.end();
  this->backend.settle();
  const auto source = this->source();
  source->resume();
  source->cancel();
  ASSERT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
  this->backend.settle();
  EXPECT_EQ(this->events, 0);
}

TYPED_TEST(ProcessSourceContract, allSourcesOnAProcessHearOfIt) {
  const auto first = this->source();
  const auto second = this->source();
  first->resume();
  second->resume();
  this->backend.signal();
  EXPECT_TRUE(this->runUntilEvents(2));
}

TYPED_TEST(ProcessSourceContract, aCancelledSourceIsSilentAndItsCancelHandlerRunsOnceOnTheMainLoop) {
  const auto source = this->source();
  source->resume();
  source->cancel();
  source->cancel();
  EXPECT_EQ(this->cancels, 0);
  this->backend.end();
  EXPECT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
  source->cancel();
  this->backend.settle();
  EXPECT_EQ(this->cancels, 1);
  EXPECT_EQ(this->events, 0);
}

TYPED_TEST(ProcessSourceContract, aHandlerMayCancelItsOwnSource) {
  const auto source = this->source();
  source->setEventHandler([&] {
    ++this->events;
    source->cancel();
  });
  source->resume();
  this->backend.end();
  EXPECT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
  EXPECT_EQ(this->events, 1);
}

TYPED_TEST(ProcessSourceContract, aHandlerThatCancelsAnotherSourceSilencesIt) {
  const auto first = this->source();
  const auto second = this->source();
  const auto cancelBoth = [&] {
    ++this->events;
    first->cancel();
    second->cancel();
  };
  first->setEventHandler(cancelBoth);
  second->setEventHandler(cancelBoth);
  first->resume();
  second->resume();
  this->backend.signal();
  EXPECT_TRUE(this->backend.runUntil([&] { return this->cancels == 2; }));
  EXPECT_EQ(this->events, 1);
}

TYPED_TEST(ProcessSourceContract, aForgottenSourceStaysArmedUntilItIsCancelled) {
  std::weak_ptr<ProcessSource> forgotten;
  {
    const auto source = this->source();
    source->resume();
    forgotten = source;
  }
  this->backend.end();
  EXPECT_TRUE(this->runUntilEvents(1));
  ASSERT_FALSE(forgotten.expired());
  forgotten.lock()->cancel();
  EXPECT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
  this->backend.settle();
  EXPECT_TRUE(forgotten.expired());
}

TYPED_TEST(ProcessSourceContract, bothHandlersAreReleasedAfterTheCancelHandlerRan) {
  const auto source = this->source();
  const auto held = std::make_shared<int>();
  source->setEventHandler([held] {});
  source->setCancelHandler([this, held] { this->cancels += held.use_count() > 1; });
  source->resume();
  source->cancel();
  EXPECT_TRUE(this->backend.runUntil([&] { return this->cancels == 1; }));
  this->backend.settle();
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
