// What is said of the host: over a folder made like /proc, and over a real port.
#include "console/HostDiagnosis.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "platform/linux/ports/PortFolder.h"
#include "platform/linux/ports/SocketAddress.h"
#include "tests/TemporaryFolder.h"

using platform::native::Descriptor;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;
using Answer = PortFacts::Answer;

namespace {

class HostDiagnosis : public testing::Test {
 protected:
  HostDiagnosis() {
    host.identifier = "org.example.host";
    host.isBusAnswering = true;
    host.running = {900};
    host.port = {Answer::isRead, 900, {}};
    host.runtimeFolder = "/run/user/1000";
    host.processes = folder.path("proc");
    setState("S");
  }
  void setState(const std::string& state) { folder.file("proc/900/stat", "900 (a host) (b) " + state + " 1 900 900\n"); }
  std::string found() { return textOfFindings(findingsOfHost(host)); }

  tests::TemporaryFolder folder;
  HostFacts host;
};

TEST_F(HostDiagnosis, aHostThatReadsItsPortIsWell) {
  EXPECT_EQ(found(),
            "[ok]    host: org.example.host runs as process 900\n"
            "[ok]    host's port: process 900 listens and reads\n");
}

TEST_F(HostDiagnosis, aStoppedHostIsAFaultAndItsPortIsNotSpokenOf) {
  host.port.answer = Answer::isUnread;
  for (const char* state : {"T", "t"}) {
    setState(state);
    EXPECT_EQ(found(), "[FAULT] host: org.example.host, process 900, is stopped: let it go on (kill -CONT 900)\n");
  }
}

TEST_F(HostDiagnosis, aHostThatCannotBeLookedAtIsUnknown) {
  std::filesystem::remove_all(folder.path("proc"));
  EXPECT_THAT(found(), HasSubstr("[?]     host: "));
}

TEST_F(HostDiagnosis, aPortThatIsNotReadIsAnotherFaultThanOneWhereNobodyListens) {
  host.port = {Answer::isUnread, 900, {}};
  EXPECT_THAT(found(), HasSubstr("[FAULT] host's port: process 900 listens but does not read"));
  host.port = {};
  folder.file("proc/900/environ", std::string("HOME=/x\0XDG_RUNTIME_DIR=/run/user/1000\0", 39));
  EXPECT_THAT(found(), HasSubstr("[FAULT] host's port: process 900 does not listen"));
}

TEST_F(HostDiagnosis, aHostInAnotherRuntimeFolderIsAFaultThatNamesBoth) {
  host.port = {};
  folder.file("proc/900/environ", std::string("HOME=/x\0XDG_RUNTIME_DIR=/tmp/other\0", 35));
  EXPECT_THAT(found(), HasSubstr("[FAULT] host's port: process 900 has its ports in the runtime folder /tmp/other, this session in "
                                 "/run/user/1000: "));
}

TEST_F(HostDiagnosis, aHostWhoseRuntimeFolderCannotBeReadIsUnknown) {
  host.port = {};
  EXPECT_THAT(found(), HasSubstr("[?]     host's port: nobody listens in /run/user/1000"));
}

TEST_F(HostDiagnosis, aPortThatCannotBeSeenIsUnknown) {
  host.port = {Answer::cannotBeSeen, 0, "Permission denied"};
  EXPECT_THAT(found(), HasSubstr("[?]     host's port: it cannot be reached (Permission denied)"));
}

TEST_F(HostDiagnosis, aPortOfAnotherProcessThanTheHostIsAFault) {
  host.port.listener = 901;
  EXPECT_THAT(found(), HasSubstr("[FAULT] host's port: process 901 listens in the place of process 900"));
}

TEST_F(HostDiagnosis, aHostOnAnotherBusIsToldFromAnAbsentOne) {
  host.running.clear();
  EXPECT_THAT(found(), HasSubstr("[FAULT] host: process 900 listens on its port, but org.example.host is not on this session bus"));
  host.port = {};
  EXPECT_EQ(found(), "[FAULT] host: org.example.host is not running: start it\n");
}

TEST_F(HostDiagnosis, withoutAnAnswerOfTheBusTheHostIsUnknown) {
  host.running.clear();
  host.isBusAnswering = false;
  EXPECT_THAT(found(), HasSubstr("[?]     host: "));
}

class HostPort : public testing::Test {
 protected:
  /// A socket that listens in the port's place.
  Descriptor listening() {
    Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const platform::native::SocketAddress address(folder.path("G.App"));
    EXPECT_EQ(::bind(socket.get(), address.get(), address.length()), 0);
    EXPECT_EQ(::listen(socket.get(), 0), 0);
    return socket;
  }
  PortFacts facts(std::chrono::milliseconds longest) { return factsOfPort(folder.path(), "G.App", longest); }

  tests::TemporaryFolder folder;
};

TEST_F(HostPort, whereNobodyListensNobodyIsToldOf) {
  EXPECT_EQ(facts(10s).answer, Answer::nobodyListens);
  listening().reset();
  EXPECT_EQ(facts(10s).answer, Answer::nobodyListens) << "a file without its listener";
  EXPECT_EQ(factsOfPort(folder.path("none"), "G.App", 10s).answer, Answer::nobodyListens);
}

TEST_F(HostPort, aListenerThatReadsIsToldFromOneThatDoesNot) {
  const Descriptor listener = listening();
  const PortFacts unread = facts(1ms);
  EXPECT_EQ(unread.answer, Answer::isUnread);
  EXPECT_EQ(unread.listener, getpid());
  const Descriptor first(::accept(listener.get(), nullptr, nullptr));
  std::thread reader([&] {
    const Descriptor second(::accept(listener.get(), nullptr, nullptr));
    char byte = 0;
    EXPECT_EQ(::read(second.get(), &byte, 1), 0) << "no record is sent";
  });
  EXPECT_EQ(facts(10s).answer, Answer::isRead);
  reader.join();
}

TEST_F(HostPort, aListenerWhoseQueueIsFullDoesNotRead) {
  const Descriptor listener = listening();
  facts(1ms);
  EXPECT_EQ(facts(1ms).answer, Answer::isUnread);
  EXPECT_EQ(facts(1ms).listener, 0);
}

TEST_F(HostPort, aFolderThatIsNotTheUsersAloneCannotBeSeen) {
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  const PortFacts seen = facts(10s);
  EXPECT_EQ(seen.answer, Answer::cannotBeSeen);
  EXPECT_THAT(seen.reason, HasSubstr(folder.path()));
}

}  // namespace
