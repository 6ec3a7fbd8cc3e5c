// Where ports stand, how their files are called, and who may use them.
#include <fcntl.h>
#include <sys/stat.h>

#include <set>

#include "tests/platform/ports/LinuxPortsFixture.h"

namespace {

using namespace tests;

class PortFolder : public LinuxPortsTest {
 protected:
  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(portFolder())) names.insert(entry.path().filename());
    return names;
  }
  bool isUsable() {
    const bool isLocalOpen = open("G.Local") != nullptr;
    const bool isRemoteOpen = ports->createRemote("G.Other") != nullptr;
    return isLocalOpen || isRemoteOpen;
  }
  const uid_t nobody = ::geteuid() == 65534 ? 65533 : 65534;
};

TEST_F(PortFolder, isMadeForTheUserAlone) {
  const mode_t old = ::umask(0);
  ASSERT_NE(open(), nullptr);
  ::umask(old);
  struct stat facts = {};
  ASSERT_EQ(::lstat(portFolder().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode, S_IFDIR | 0700u);
}

TEST_F(PortFolder, holdsASocketAndALockNamedByThePort) {
  ASSERT_NE(open("org.dovetail.group.Sync.4711"), nullptr);
  EXPECT_EQ(files(), (std::set<std::string>{"org.dovetail.group.Sync.4711", ".org.dovetail.group.Sync.4711.lock"}));
}

TEST_F(PortFolder, namesAPortByItsHashWhenItsNameIsTooLongForAnAddressOrNoPlainFileName) {
  const std::string longest(64, 'n');
  EXPECT_EQ(platform::native::PortFolder::fileForPort(longest), longest);
  // Each made by sha256sum.
  const std::vector<std::pair<std::string, std::string>> hashed = {
      {std::string(65, 'n'), "1e3fb6d54587d70a794c060a27868e0a59cd1dc3b55536a763695af86c41bf79"},
      {"a/b", "c14cddc033f64b9dea80ea675cf280a015e672516090a5626781153dc68fea11"},
      {"..", "5ec1f7e700f37c3d0b2981d04855fc34b94aaa15457b05ca571817442d228f81"},
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"G App", "1348e31038e427429160e23ebfd90f8539fd93ffa240049be06bb7f8f0ba6c6a"}};
  for (const auto& [name, file] : hashed) EXPECT_EQ(platform::native::PortFolder::fileForPort(name), file) << name;
}

TEST_F(PortFolder, aPortWithALongNameIsReached) {
  const std::string name(300, 'x');
  listen(name);
  EXPECT_EQ(ports->createRemote(std::string(299, 'x')), nullptr);
  EXPECT_EQ(send(*ports->createRemote(name), bytes("a")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilReceived(1));
}

TEST_F(PortFolder, aPathTooLongForASocketAddressDoes) {
  const std::string deep = folder.path() + "/" + std::string(150, 'd');
  platform::native::LinuxMessagePorts deepPorts(log, deep, ::geteuid());
  ASSERT_NE(deepPorts.createLocal("G.App", keep(), {}), nullptr);
  EXPECT_NE(deepPorts.createRemote("G.App"), nullptr);
}

TEST_F(PortFolder, isEmptyAgainAfterACleanEnd) {
  open("G.App");
  open("G.Sync.1");
  ports.reset();
  EXPECT_TRUE(files().empty());
}

TEST_F(PortFolder, isEmptyAgainAfterACleanEndThoughAPortIsStillHeld) {
  const auto held = open();
  ports.reset();
  EXPECT_TRUE(files().empty());
}

TEST_F(PortFolder, aClosedPortRemovesItsFilesEndsItsConnectionsAndLeavesNoDescriptorOpen) {
  listen("G.Other");
  pumpReady();
  const std::size_t before = openDescriptors();
  const auto local = open();
  read(local);
  const Descriptor accepted = rawConnect(socketPath());
  rawSend(accepted.get(), {'1', 'a'});
  ASSERT_TRUE(runUntilReceived(1));
  const Descriptor waiting = rawConnect(socketPath());
  local->invalidate();
  EXPECT_EQ(files(), (std::set<std::string>{"G.Other", ".G.Other.lock"}));
  EXPECT_TRUE(isCut(accepted.get()));
  EXPECT_TRUE(isCut(waiting.get()));
  EXPECT_EQ(openDescriptors(), before + 2) << "the test's own two ends";
}

TEST_F(PortFolder, aClosedPortIsNotPublishedAgain) {
  open()->invalidate();
  EXPECT_EQ(ports->createRemote("G.Other"), nullptr);
  EXPECT_TRUE(files().empty());
}

TEST_F(PortFolder, keepsTheFilesWhenAForkedChildEnds) {
  listen();
  PeerProcess child([this](const auto&) {
    ports.reset();
    return 0;
  });
  child.wait();
  EXPECT_EQ(files().size(), 2u);
  EXPECT_EQ(send(*ports->createRemote("G.App"), bytes("a")), MessagePortStatus::success);
}

TEST_F(PortFolder, keepsTheFilesOfAnotherThatTookTheNameAfterTheFolderWasEmptied) {
  open();
  std::filesystem::remove_all(portFolder());
  const auto others = makePorts();
  ASSERT_NE(others->createLocal("G.App", keep(), {}), nullptr);
  ports.reset();
  EXPECT_EQ(files().size(), 2u);
}

TEST_F(PortFolder, isRefusedWhenItIsASymbolicLink) {
  std::filesystem::create_directory(folder.path() + "/elsewhere");
  ::chmod((folder.path() + "/elsewhere").c_str(), 0700);
  std::filesystem::create_symlink(folder.path() + "/elsewhere", portFolder());
  EXPECT_FALSE(isUsable());
  EXPECT_TRUE(hasLogged("is not used"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() + "/elsewhere"));
}

TEST_F(PortFolder, isRefusedWhenItIsOpenToOthers) {
  for (const mode_t mode : {0701, 0710, 0720, 0704, 0777}) {
    std::filesystem::create_directory(portFolder());
    ::chmod(portFolder().c_str(), mode);
    EXPECT_FALSE(isUsable()) << std::oct << mode;
    EXPECT_TRUE(hasLogged("is open to other users"));
    std::filesystem::remove_all(portFolder());
  }
}

TEST_F(PortFolder, isRefusedWhenAnotherUserMadeItFirst) {
  std::filesystem::create_directory(portFolder());
  ::chmod(portFolder().c_str(), 0700);
  // Root can give it away; anybody else can at least serve another user than the one who made it.
  const bool isGivenAway = ::chown(portFolder().c_str(), nobody, nobody) == 0;
  ports = makePorts(isGivenAway ? ::geteuid() : ::geteuid() + 1);
  EXPECT_FALSE(isUsable());
  EXPECT_TRUE(hasLogged("belongs to another user"));
}

TEST_F(PortFolder, isRefusedWhenItIsNoFolder) {
  Descriptor(::open(portFolder().c_str(), O_CREAT | O_WRONLY, 0600));
  EXPECT_FALSE(isUsable());
}

TEST_F(PortFolder, aSymbolicLinkPlantedForTheSocketIsReplacedAndNotFollowed) {
  std::filesystem::create_directory(portFolder());
  ::chmod(portFolder().c_str(), 0700);
  std::filesystem::create_symlink(folder.path() + "/target", socketPath());
  ASSERT_NE(open(), nullptr);
  EXPECT_EQ(std::filesystem::symlink_status(socketPath()).type(), std::filesystem::file_type::socket);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/target"));
}

TEST_F(PortFolder, aSymbolicLinkPlantedForTheLockIsNotFollowed) {
  std::filesystem::create_directory(portFolder());
  ::chmod(portFolder().c_str(), 0700);
  std::filesystem::create_symlink(folder.path() + "/target", portFolder() + "/.G.App.lock");
  EXPECT_EQ(open(), nullptr);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/target"));
  EXPECT_TRUE(hasLogged("cannot be opened"));
}

TEST_F(PortFolder, aSocketFileLeftByADeadProcessIsReplaced) {
  PeerProcess dead([this](const auto& line) {
    line.tell(open() != nullptr ? 'o' : 'x');
    return line.hear();
  });
  ASSERT_EQ(dead.hear(), 'o');
  dead.kill();
  ASSERT_EQ(files().size(), 2u);
  EXPECT_EQ(ports->createRemote("G.App"), nullptr);
  listen();
  EXPECT_EQ(send(*ports->createRemote("G.App"), bytes("a")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilReceived(1));
}

TEST_F(PortFolder, aLivePortIsNotStolen) {
  PeerProcess alive([this](const auto& line) {
    listen();
    line.tell('o');
    line.tell(runUntilReceived(1) ? 'r' : 'x');
    return 0;
  });
  ASSERT_EQ(alive.hear(), 'o');
  EXPECT_EQ(open(), nullptr);
  EXPECT_TRUE(hasLogged("a live process has that name"));
  EXPECT_EQ(send(*ports->createRemote("G.App"), bytes("a")), MessagePortStatus::success);
  EXPECT_EQ(alive.hear(), 'r');
}

TEST_F(PortFolder, ofManyProcessesThatReplaceADeadPortAtOnceOneGetsIt) {
  for (int round = 0; round < 20; ++round) {
    PeerProcess dead([this](const auto&) { return open() == nullptr; });
    ASSERT_EQ(dead.wait(), 0);
    std::vector<std::unique_ptr<PeerProcess>> rivals;
    for (int i = 0; i < 6; ++i) {
      rivals.push_back(std::make_unique<PeerProcess>([this](const auto& line) {
        line.hear();
        line.tell(open() != nullptr ? 'o' : 'x');
        return line.hear();
      }));
    }
    for (const auto& rival : rivals) rival->tell('g');
    int winners = 0;
    for (const auto& rival : rivals) winners += rival->hear() == 'o';
    EXPECT_EQ(winners, 1);
  }
}

TEST_F(PortFolder, aPortWhoseFileWasRemovedIsThereAgainWhenARemotePortOpens) {
  listen();
  for (const std::string& victim : {portFolder(), socketPath()}) {
    std::filesystem::remove_all(victim);
    EXPECT_EQ(makePorts()->createRemote("G.App"), nullptr);
    EXPECT_EQ(ports->createRemote("G.Elsewhere"), nullptr);
    const auto remote = makePorts()->createRemote("G.App");
    ASSERT_NE(remote, nullptr) << victim;
    EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
    EXPECT_TRUE(runUntilReceived(1));
    received.clear();
  }
}

// Root can become another user. For anybody else the port serves another user, and the test is the stranger.
TEST_F(PortFolder, aProcessOfAnotherUserIsNotServed) {
  const bool isRoot = ::geteuid() == 0;
  const uid_t served = isRoot ? ::geteuid() : ::geteuid() + 1;
  auto opened = platform::native::PortFolder::open(portFolder(), ::geteuid(), platform::native::PortFolder::Missing::isMade);
  ASSERT_TRUE(opened) << opened.reason();
  auto socket = platform::native::ListeningSocket::open(*std::move(opened), "G.App");
  ASSERT_TRUE(socket) << socket.reason();
  const auto port = std::make_shared<platform::native::LocalPort>("G.App", *std::move(socket), served, keep(), log);
  port->startReading(0);

  // As if the folder had been opened to all after it was checked.
  for (const std::string& path : {folder.path(), portFolder(), socketPath()}) ::chmod(path.c_str(), 0777);
  PeerProcess stranger([&](const auto&) {
    if (isRoot && ::setresuid(nobody, nobody, nobody) != 0) return 1;
    const Descriptor own = rawConnect(socketPath());
    if (!own) return 2;
    ::send(own.get(), "a", 1, MSG_NOSIGNAL);
    char byte = 0;
    return ::recv(own.get(), &byte, 1, 0) <= 0 ? 0 : 3;
  });
  EXPECT_TRUE(pumpUntil([&] { return stateOf(stranger.process()) == 'Z'; }));
  EXPECT_EQ(stranger.wait(), 0);
  EXPECT_TRUE(received.empty());
  EXPECT_TRUE(hasLogged("refused a process of another user"));
}

// Here only the check of the listener's user can be made without root: its folder would be refused before.
TEST_F(PortFolder, aListenerOfAnotherUserIsNotSpokenTo) {
  const bool isRoot = ::geteuid() == 0;
  std::filesystem::create_directory(portFolder());
  for (const std::string& path : {folder.path(), portFolder()}) ::chmod(path.c_str(), 0777);
  PeerProcess impostor([&](const auto& line) {
    if (isRoot && ::setresuid(nobody, nobody, nobody) != 0) return 1;
    const Descriptor socket = rawListen(socketPath());
    line.tell(socket ? 'o' : 'x');
    return static_cast<int>(line.hear());
  });
  ASSERT_EQ(impostor.hear(), 'o');
  ::chmod(portFolder().c_str(), 0700);
  const Descriptor own = rawConnect(socketPath());
  EXPECT_TRUE(platform::native::isPeerOfUser(own.get(), isRoot ? nobody : ::geteuid()));
  EXPECT_FALSE(platform::native::isPeerOfUser(own.get(), isRoot ? ::geteuid() : nobody));
  EXPECT_EQ(ports->createRemote("G.App") == nullptr, isRoot);
  EXPECT_EQ(hasLogged("belongs to a process of another user"), isRoot);
}

}  // namespace
