#include "host/Host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "archive/DTTreeNode.h"
#include "host/ArchiveAnswers.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/processes/RunningApplications.h"
#include "tests/MainLoopPump.h"
#include "tests/host/ArchiveFile.h"
#include "tests/host/FakeExtension.h"
#include "tests/host/HostSession.h"
#include "tests/platform/PeerProcess.h"

namespace {

using platform::Data;
using platform::Dictionary;
using platform::JSON;
using platform::Object;
using testing::HasSubstr;
using tests::pumpUntil;

class SilentLog final : public platform::Log {
 public:
  void line(std::string_view) override {}
};

std::string textOf(const JSON& json, std::string_view member) {
  const std::string* text = json.stringMember(member);
  return text ? *text : "(none)";
}

std::int64_t numberOf(const JSON& json, std::string_view member) {
  const JSON* value = json.member(member);
  return value && value->get<std::int64_t>() ? *value->get<std::int64_t>() : -1;
}

class RunningHost : public testing::Test {
 protected:
  RunningHost() : bus(log, session.busAddress()), notifications(bus, log), workspace(log), files(workspace) {}

  /// A host that says that it is ready.
  std::unique_ptr<RunningProgram> readyHost(std::vector<std::string> arguments = {}) {
    auto host = session.host(std::move(arguments));
    EXPECT_EQ(textOf(host->nextEvent("ready"), "event"), "ready") << host->errors();
    return host;
  }
  std::vector<platform::RunningApplication> instances() {
    return platform::native::LinuxRunningApplications(bus).runningApplicationsWithBundleIdentifier("org.dovetail.Dovetail");
  }
  std::string archive(const std::string& name, const std::vector<WrittenEntry>& entries) {
    ArchiveFile::write(session.folder().path(name), {}, entries);
    return session.folder().path(name);
  }
  Dictionary expandArgument(const std::string& path, std::vector<std::uint64_t> position) {
    Dictionary argument;
    argument.add("1", Object(platform::URL::fileURLWithPath(path)));
    argument.add("2", Object(platform::IndexPath{std::move(position)}));
    return argument;
  }

  SilentLog log;
  HostSession session;
  platform::native::SessionBus bus;
  platform::native::LinuxDistributedNotificationCenter notifications;
  platform::native::LinuxWorkspace workspace;
  platform::native::LinuxFileManager files;
  FakeExtension extension{session.portFolder(), "org.dovetail.group.Sync.1", log};
};

const std::vector<WrittenEntry> nestedEntries{{"docs/a b/deep.txt", "12345"}, {"docs/"}, {"last"}};

TEST_F(RunningHost, whoHearsThatItRunsFindsItsPortItsNameAndItsVersion) {
  std::vector<std::string> found;
  notifications.addObserver(this, "DTDovetailRunning", [&](const std::string&) {
    found.push_back("port " + std::to_string(extension.canReachHost()));
    found.push_back("instances " + std::to_string(instances().size()));
    found.push_back("version " + session.run({"dconf", "read", "/org/dovetail/group/DTApplicationVersion"})->output());
  });
  ASSERT_TRUE(bus.openConnection());
  const auto host = readyHost({"--bundle-version", "7.5 beta"});
  ASSERT_TRUE(pumpUntil([&] { return found.size() == 3; }));
  EXPECT_THAT(found, testing::ElementsAre("port 1", "instances 1", "version '7.5 beta'\n"));
  ASSERT_EQ(instances().size(), 1u);
  EXPECT_EQ(instances()[0].processIdentifier, host->process());
}

TEST_F(RunningHost, itsReadyLineTellsWhoItIs) {
  auto host = session.host({"--bundle-version", "2.0"});
  const JSON ready = host->nextEvent("ready");
  EXPECT_EQ(textOf(ready, "portName"), "org.dovetail.group.App");
  EXPECT_EQ(textOf(ready, "identifier"), "org.dovetail.Dovetail");
  EXPECT_EQ(textOf(ready, "group"), "org.dovetail.group");
  EXPECT_EQ(textOf(ready, "version"), "2.0");
  EXPECT_EQ(numberOf(ready, "pid"), host->process());
  EXPECT_TRUE(*ready.member("isFirst")->get<bool>());
}

TEST_F(RunningHost, aPingIsPrintedInFull) {
  const auto host = readyHost();
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object(extension.name()))));
  ASSERT_FALSE(host->nextEvent("message").isNull());
  EXPECT_EQ(host->lines().back(),
            R"({"event":"message","selector":"pingPortName:","argument":{"t":"str","v":"org.dovetail.group.Sync.1"},)"
            R"("portName":"org.dovetail.group.Sync.1"})");
}

TEST_F(RunningHost, whoGreetsIsKnownFromTheKernelWhateverThePortIsCalled) {
  // Forked before this process has threads of the bus.
  tests::PeerProcess other([this](const auto& line) {
    line.hear();
    FakeExtension fake(session.portFolder(), "org.dovetail.group.Sync.2", log);
    line.tell(fake.send(DTMessage("pingPortName:", Object(fake.name()))) ? 'o' : 'x');
    return static_cast<int>(line.hear());
  });
  std::vector<pid_t> greeters;
  platform::native::LinuxMessagePorts ports(log, session.portFolder(), getuid());
  ArchiveLister lister({.childProgram = DOVETAIL_HOST, .limits = {}}, log);
  EventLines lines(-1, log, true);
  Host host({"org.dovetail.group", "org.dovetail.Dovetail", "1.0"},
            {ports, notifications, files, lister, *bus.connection(g_get_monotonic_time() + 5'000'000), log,
             [&](pid_t browser) { greeters.push_back(browser); }},
            lines, [](const std::string&) {});
  host.start();
  ASSERT_TRUE(extension.send(DTMessage("showSizeBrowser:", Object())));
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object(extension.name()))));
  EXPECT_TRUE(pumpUntil([&] { return greeters.size() == 1; }));
  other.tell('g');
  ASSERT_EQ(other.hear(), 'o');
  EXPECT_TRUE(pumpUntil([&] { return greeters.size() == 2; }));
  EXPECT_THAT(greeters, testing::ElementsAre(getpid(), other.process()));
}

TEST_F(RunningHost, aMessageOfNothingIsPrintedAsNothing) {
  const auto host = readyHost();
  ASSERT_TRUE(extension.sendAsItIs(DTMessage()));
  ASSERT_FALSE(host->nextEvent("message").isNull());
  EXPECT_EQ(host->lines().back(), R"({"event":"message","selector":null,"argument":null,"portName":null})");
}

TEST_F(RunningHost, anArchiveIsAnsweredWithItsTreeAndItsIdentity) {
  const std::string path = archive("my archive.tar", nestedEntries);
  const auto host = readyHost();
  ASSERT_TRUE(extension.askFor(path));
  ASSERT_TRUE(pumpUntil([&] { return !extension.received().empty(); }));
  const auto answer = extension.received()[0];
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->selector(), "setArchive:");
  EXPECT_EQ(answer->portName(), "org.dovetail.group.App");
  const auto* argument = answer->argument().get<Dictionary>();
  ASSERT_TRUE(argument);
  EXPECT_EQ(argument->entries.size(), 2u);
  const auto identity = files.fileResourceIdentifier(platform::URL::fileURLWithPath(path));
  EXPECT_EQ(*argument->objectForKey("2")->get<Data>(), Data(identity.value().bytes().begin(), identity.value().bytes().end()));
  const auto tree = argument->objectForKey("1")->instance<DTTreeNode>();
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->representedObject()->name(), "my archive.tar");
  ASSERT_EQ(tree->childNodes().size(), 2u);
  const DTTreeNode& deep = tree->childNodes()[0].childNodes()[0].childNodes()[0];
  EXPECT_EQ(deep.representedObject()->name(), "deep.txt");
  EXPECT_EQ(deep.representedObject()->index(), 3u);
  EXPECT_EQ(deep.representedObject()->size(), 5u);
  EXPECT_EQ(tree->childNodes()[1].representedObject()->index(), 4u);
  const JSON answered = host->nextEvent("answered");
  EXPECT_EQ(textOf(answered, "file"), path);
  EXPECT_EQ(numberOf(answered, "entries"), 4);
  EXPECT_EQ(numberOf(answered, "status"), 0);
}

TEST_F(RunningHost, anArchiveWhoseNameIsNotUTF8IsAnsweredAllTheSame) {
  const std::string path = archive("caf\xE9.tar", {{"x"}});
  const auto host = readyHost();
  ASSERT_TRUE(extension.askFor(path));
  ASSERT_TRUE(pumpUntil([&] { return !extension.received().empty(); }));
  const auto tree = extension.received()[0]->argument().get<Dictionary>()->objectForKey("1")->instance<DTTreeNode>();
  EXPECT_EQ(tree->representedObject()->name(), "café.tar");
}

TEST_F(RunningHost, aFileThatIsNoArchiveIsNotAnswered) {
  const auto host = readyHost();
  const std::string text = session.folder().file("text.zip", "words");
  ASSERT_TRUE(extension.askFor(text));
  const JSON plain = host->nextEvent("unanswered");
  EXPECT_EQ(textOf(plain, "file"), text);
  EXPECT_EQ(textOf(plain, "reason"), "it is no archive");
  ASSERT_TRUE(extension.askFor(session.folder().path("nowhere")));
  EXPECT_EQ(textOf(host->nextEvent("unanswered"), "reason"), "the file is gone");
  // The answer to a later archive is the first that arrives.
  ASSERT_TRUE(extension.askFor(archive("a.tar", {})));
  ASSERT_TRUE(pumpUntil([&] { return !extension.received().empty(); }));
  EXPECT_EQ(extension.received().size(), 1u);
}

TEST_F(RunningHost, aRequestThatNamesNoFileOrNoPortIsNotAnswered) {
  const auto host = readyHost();
  ASSERT_TRUE(extension.send(DTMessage("openArchive:portName:", Object("no URL"))));
  EXPECT_FALSE(host->nextEvent("unanswered").isNull());
  ASSERT_TRUE(
      extension.send(DTMessage("openArchive:portName:", Object(platform::URL::URLWithString("https://example.org/a.zip")))));
  EXPECT_FALSE(host->nextEvent("unanswered").isNull());
  ASSERT_TRUE(
      extension.sendAsItIs(DTMessage("openArchive:portName:", Object(platform::URL::fileURLWithPath(archive("a.tar", {}))))));
  EXPECT_FALSE(host->nextEvent("unanswered").isNull());
}

TEST_F(RunningHost, anEntryThatTheUserChoseIsFoundByItsPosition) {
  const std::string path = archive("a.tar", nestedEntries);
  const auto host = readyHost();
  ASSERT_TRUE(extension.askFor(path));
  ASSERT_FALSE(host->nextEvent("answered").isNull());
  ASSERT_TRUE(extension.send(DTMessage("expand:", Object(expandArgument(path, {0, 0, 0})))));
  const JSON chosen = host->nextEvent("message");
  ASSERT_TRUE(chosen.member("entry"));
  EXPECT_EQ(textOf(*chosen.member("entry"), "name"), "deep.txt");
  EXPECT_EQ(textOf(*chosen.member("entry"), "path"), "docs/a b/deep.txt");
  ASSERT_TRUE(extension.send(DTMessage("expand:", Object(expandArgument(path, {})))));
  EXPECT_EQ(textOf(*host->nextEvent("message").member("entry"), "name"), "a.tar");
}

TEST_F(RunningHost, aPositionThatLeadsNowhereHasNoEntry) {
  const std::string path = archive("a.tar", nestedEntries);
  const std::string unasked = archive("b.tar", nestedEntries);
  const auto host = readyHost();
  ASSERT_TRUE(extension.askFor(path));
  ASSERT_FALSE(host->nextEvent("answered").isNull());
  for (const Object& argument :
       {Object(expandArgument(path, {9})), Object(expandArgument(unasked, {0})), Object("text"), Object()}) {
    ASSERT_TRUE(extension.send(DTMessage("expand:", argument)));
    const JSON chosen = host->nextEvent("message");
    ASSERT_TRUE(chosen.member("entry"));
    EXPECT_TRUE(chosen.member("entry")->isNull());
  }
}

TEST_F(RunningHost, bytesThatAreNoMessageCostOneLineAndNothingElse) {
  const auto host = readyHost();
  const Data tree = *platform::KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<const DTTreeNode>()));
  for (const Data& bytes : {Data{'g', 'a', 'r', 'b', 'a', 'g', 'e'}, Data(100'000, 0xFF), tree}) {
    ASSERT_TRUE(extension.sendBytes(bytes));
    EXPECT_EQ(numberOf(host->nextEvent("badMessage"), "bytes"), static_cast<std::int64_t>(bytes.size()));
  }
  ASSERT_TRUE(extension.send(DTMessage("noSuchMethod:", Object())));
  EXPECT_EQ(textOf(host->nextEvent("message"), "selector"), "noSuchMethod:");
}

TEST_F(RunningHost, aNoticeOfAFailedSendIsPrinted) {
  const auto host = readyHost();
  notifications.postNotificationName("DTDovetailAppMessage", R"({"NSLocalizedDescription":"é"})", true);
  const JSON notice = host->nextEvent("notification");
  EXPECT_EQ(textOf(notice, "name"), "DTDovetailAppMessage");
  EXPECT_EQ(textOf(notice, "object"), R"({"NSLocalizedDescription":"é"})");
}

TEST_F(RunningHost, oneThatIsNotToAnswerOnlyPrints) {
  const auto host = readyHost({"--no-answer"});
  ASSERT_TRUE(extension.askFor(archive("a.tar", nestedEntries)));
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object(extension.name()))));
  EXPECT_EQ(textOf(host->nextEvent("message"), "selector"), "openArchive:portName:");
  EXPECT_EQ(textOf(host->nextEvent("message"), "selector"), "pingPortName:");
  host->signal(SIGTERM);
  EXPECT_EQ(host->exitStatus(), 0);
  EXPECT_EQ(host->lines().size(), 4u) << host->output();
  EXPECT_TRUE(extension.received().empty());
}

TEST_F(RunningHost, aQuietOneAnswersWithoutALine) {
  const auto host = readyHost({"--quiet"});
  ASSERT_TRUE(extension.askFor(archive("a.tar", nestedEntries)));
  ASSERT_TRUE(pumpUntil([&] { return !extension.received().empty(); }));
  host->signal(SIGTERM);
  EXPECT_EQ(host->exitStatus(), 0);
  EXPECT_EQ(host->lines().size(), 2u) << host->output();
}

TEST_F(RunningHost, oneThatIsToldToEndLeavesNothingBehind) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const auto host = readyHost();
    ASSERT_TRUE(std::filesystem::exists(session.portFolder() + "/org.dovetail.group.App"));
    host->signal(signal);
    EXPECT_EQ(host->exitStatus(), 0) << host->errors();
    EXPECT_EQ(host->lines().back(), R"({"event":"quit"})");
    EXPECT_TRUE(instances().empty());
    EXPECT_FALSE(std::filesystem::exists(session.portFolder() + "/org.dovetail.group.App"));
  }
}

TEST_F(RunningHost, aSecondInstanceIsCountedAndTakesOverWhenTheFirstEnds) {
  const auto first = readyHost();
  int announcements = 0;
  notifications.addObserver(this, "DTDovetailRunning", [&](const std::string&) { ++announcements; });
  ASSERT_EQ(instances().size(), 1u);  // the bus knows of the subscription by now
  auto second = session.host();
  const JSON ready = second->nextEvent("ready");
  EXPECT_FALSE(*ready.member("isFirst")->get<bool>());
  EXPECT_TRUE(ready.member("portName")->isNull());
  EXPECT_EQ(instances().size(), 2u);
  EXPECT_TRUE(pumpUntil([&] { return announcements == 1; }));
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object("1"))));
  EXPECT_FALSE(first->nextEvent("message").isNull());
  first->signal(SIGTERM);
  EXPECT_EQ(textOf(second->nextEvent("promoted"), "portName"), "org.dovetail.group.App");
  EXPECT_TRUE(pumpUntil([&] { return announcements == 2; }));
  EXPECT_EQ(instances().size(), 1u);
  extension.dropHost();
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object("2"))));
  EXPECT_FALSE(second->nextEvent("message").isNull());
}

TEST_F(RunningHost, aSecondInstanceTakesOverFromOneThatWasKilled) {
  const auto first = readyHost();
  auto second = session.host();
  ASSERT_FALSE(second->nextEvent("ready").isNull());
  first->signal(SIGKILL);
  EXPECT_EQ(textOf(second->nextEvent("promoted"), "portName"), "org.dovetail.group.App") << second->errors();
  ASSERT_TRUE(extension.send(DTMessage("pingPortName:", Object("2"))));
  EXPECT_FALSE(second->nextEvent("message").isNull());
}

TEST_F(RunningHost, anExtensionThatHasGoneCostsAStatusAndItsSuccessorIsAnswered) {
  const std::string path = archive("a.tar", nestedEntries);
  const auto host = readyHost();
  for (int life = 0; life < 2; ++life) {
    FakeExtension mortal(session.portFolder(), "org.dovetail.group.Sync.2", log);
    ASSERT_TRUE(mortal.askFor(path));
    ASSERT_TRUE(pumpUntil([&] { return !mortal.received().empty(); }));
    EXPECT_EQ(numberOf(host->nextEvent("answered"), "status"), 0);
  }
  DTMessage posthumous("openArchive:portName:", Object(platform::URL::fileURLWithPath(path)));
  posthumous.setPortName("org.dovetail.group.Sync.2");
  ASSERT_TRUE(extension.sendAsItIs(std::move(posthumous)));
  EXPECT_LT(numberOf(host->nextEvent("answered"), "status"), 0);
}

TEST_F(RunningHost, manyRequestsAtOnceAreAllAnswered) {
  const auto host = readyHost();
  for (int i = 0; i < 200; ++i)
    ASSERT_TRUE(extension.askFor(archive("a" + std::to_string(i), {{"entry of " + std::to_string(i)}})));
  EXPECT_TRUE(pumpUntil([&] { return extension.received().size() == 200; }));
}

TEST_F(RunningHost, aSessionWithoutABusIsRefused) {
  session.endBus();
  const auto host = session.host();
  EXPECT_EQ(host->exitStatus(), 1);
  EXPECT_EQ(host->output(), "");
  EXPECT_THAT(host->errors(), HasSubstr("No session bus can be reached."));
}

TEST_F(RunningHost, oneWhoseBusGoesAwayEnds) {
  const auto host = readyHost();
  session.endBus();
  EXPECT_EQ(host->exitStatus(), 1);
  EXPECT_THAT(host->errors(), HasSubstr("The session bus went away."));
  EXPECT_EQ(host->lines().back(), R"({"event":"quit"})");
  EXPECT_FALSE(std::filesystem::exists(session.portFolder() + "/org.dovetail.group.App"));
}

TEST_F(RunningHost, aTreeIsNeverSentUnderAnotherFilesIdentity) {
  const std::string path = archive("a.tar", nestedEntries);
  ArchiveLister lister({.childProgram = DOVETAIL_HOST, .limits = {}}, log);
  SentTrees trees;
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  EventLines lines(pipe[1], log);
  platform::native::LinuxMessagePorts ports(log, session.portFolder(), getuid());
  ArchiveAnswers answers(ports, files, lister, trees, lines, "host");
  answers.answer(platform::URL::fileURLWithPath(path), extension.name());
  std::filesystem::rename(archive("b.tar", {{"other"}}), path);
  ASSERT_TRUE(pumpUntil([&] { return lister.waitingFiles() == 0 && lister.liveChildren() == 0; }));
  char text[4096];
  const ssize_t length = read(pipe[0], text, sizeof text);
  EXPECT_THAT(std::string(text, static_cast<std::size_t>(length)), HasSubstr("the file was replaced"));
  EXPECT_EQ(trees.count(), 0u);
  EXPECT_TRUE(extension.received().empty());
  close(pipe[0]);
  close(pipe[1]);
}

}  // namespace
