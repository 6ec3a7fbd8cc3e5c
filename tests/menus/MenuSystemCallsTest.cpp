// What a menu asks the system for while the host answers nothing: the properties of the targets, and nothing else. Over the real
// files, settings, ports and icons; the kernel ends the process that asks for anything more.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/DTTreeNode.h"
#include "core/DTDovetailSync.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/ports/MessagePorts.h"
#include "platform/linux/settings/SettingsWriter.h"
#include "platform/linux/settings/UserDefaults.h"
#include "tests/platform/PeerProcess.h"
#include "tests/platform/PrivateSession.h"

namespace {

using namespace platform;

tests::PrivateSession& session = tests::PrivateSession::begin();

// Questions about files by name, memory, and the end, at which sanitizers ask for the stack.
constexpr unsigned permittedCalls[] = {SYS_statx,  SYS_newfstatat, SYS_brk,        SYS_mmap,         SYS_munmap,
                                       SYS_mremap, SYS_madvise,    SYS_exit_group, SYS_rt_sigreturn, SYS_sigaltstack};

// The first call that was not permitted, in memory that the test shares with the process.
int* forbiddenCall = nullptr;

void noteForbiddenCall(int, siginfo_t* information, void*) {
  *forbiddenCall = information->si_syscall;
  ::_exit(1);
}

// From now on any call but those permitted ends this process, and is noted.
bool permitPropertiesOnly() {
  std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const unsigned number : permittedCalls) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  struct sigaction action = {};
  action.sa_sigaction = noteForbiddenCall;
  action.sa_flags = SA_SIGINFO;
  return ::sigaction(SIGSYS, &action, nullptr) == 0 && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

class MenuSystemCalls : public testing::Test {
 protected:
  // The icon theme is a setting of the desktop's, read over the process's shared connection, whose end would be this process's.
  static void SetUpTestSuite() {
    static const auto holdingTheConnection = native::SettingsWriter::forGroup("G");
    ASSERT_TRUE(holdingTheConnection);
  }

  void SetUp() override {
    forbiddenCall = static_cast<int*>(::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(forbiddenCall, MAP_FAILED);
    // A host that is there and reads nothing.
    ASSERT_NE(ports.createLocal("G.App", [](LocalMessagePort&, std::int32_t, ByteView) { return std::optional<Data>(); }, {}),
              nullptr);
    fakes.runningApplications.processes["host"] = {2};
    const Platform fake = fakes.references();
    extension = DTDovetailSync::init({fake.finderSyncController, ports, settings, fake.security, fake.distributedNotificationCenter,
                                      fake.runningApplications, fake.processSources, files, workspace, fake.mainBundle, fake.log},
                                     onceOnly);
    extension->setApplicationPid(2);
  }
  void TearDown() override { ::munmap(forbiddenCall, sizeof(int)); }

  URL makeFile(const std::string& name) {
    std::ofstream(session.path(name)) << "content";
    return URL::fileURLWithPath(session.path(name));
  }
  // As if the host had answered: a folder with a file in it.
  void giveTree(const URL& archive) {
    auto root = std::make_shared<DTTreeNode>(DTArchiveEntry("a.zip", true, 0, 0));
    root->appendChild(DTTreeNode(DTArchiveEntry("folder", true, 1, 0)))
        .appendChild(DTTreeNode(DTArchiveEntry("b.txt", false, 2, 5)));
    const auto identity = files.fileResourceIdentifier(archive);
    ASSERT_TRUE(identity);
    Dictionary answer;
    answer.add("1", std::shared_ptr<const Coding>(std::move(root)));
    answer.add("2", Data(identity->bytes().begin(), identity->bytes().end()));
    extension->setArchive(answer);
  }
  std::size_t itemCount(MenuKind kind) {
    const auto menu = extension->menuForMenuKind(kind);
    return menu ? menu->items.size() : 0;
  }
  static bool hasArchive(const Menu& menu) {
    return std::ranges::any_of(
        menu.items, [](const MenuItem& item) { return item.submenu && (item.title == "a.zip" || hasArchive(*item.submenu)); });
  }
  // The number of a call that the menu made and may not; 0 when there is none, -1 when the menu was empty.
  int forbiddenCallOf(MenuKind kind) {
    *forbiddenCall = 0;
    tests::PeerProcess asking([&](const tests::PeerProcess::Line&) {
      if (!permitPropertiesOnly()) ::_exit(2);
      ::_exit(itemCount(kind) > 0 ? 0 : 3);
      return 0;
    });
    const int status = asking.wait();
    return WIFEXITED(status) && WEXITSTATUS(status) < 2 ? *forbiddenCall : -1;
  }

  fake::FakePlatform fakes;
  native::SessionBus bus{fakes.log};
  native::LinuxUserDefaultsSuites settings{bus};
  native::LinuxMessagePorts ports{fakes.log, session.path("runtime/dovetail"), ::geteuid()};
  native::LinuxWorkspace workspace{fakes.log};
  native::LinuxFileManager files{workspace};
  OnceOnly onceOnly;
  std::shared_ptr<DTDovetailSync> extension;
};

TEST_F(MenuSystemCalls, aMenuAsksForThePropertiesOfItsTargetsAndForNothingElse) {
  const URL archive = makeFile("a.zip"), other = makeFile("b.txt");
  for (const std::vector<URL>& targets : {std::vector<URL>{archive}, std::vector<URL>{archive, other}}) {
    fakes.finderSyncController.selection = targets;
    giveTree(archive);
    for (const MenuKind kind : {MenuKind::contextualMenuForItems, MenuKind::toolbarItemMenu}) {
      // The first menu of a process reads the settings and draws the icons that all others share.
      ASSERT_GT(itemCount(kind), 0u);
      EXPECT_EQ(forbiddenCallOf(kind), 0) << targets.size() << " targets";
    }
  }
}

TEST_F(MenuSystemCalls, aTreeThatHasJustComeBecomesAMenuWithoutACallOfItsOwn) {
  const URL archive = makeFile("a.zip");
  fakes.finderSyncController.selection = {archive};
  giveTree(archive);
  const auto menu = extension->menuForMenuKind(MenuKind::contextualMenuForItems);
  ASSERT_TRUE(menu && hasArchive(*menu));
  giveTree(archive);
  EXPECT_EQ(forbiddenCallOf(MenuKind::contextualMenuForItems), 0);
}

TEST_F(MenuSystemCalls, aCallThatIsNotPermittedIsNoticed) {
  tests::PeerProcess asking([&](const tests::PeerProcess::Line&) {
    if (!permitPropertiesOnly()) ::_exit(2);
    ::getppid();
    return 0;
  });
  EXPECT_EQ(WEXITSTATUS(asking.wait()), 1);
  EXPECT_EQ(*forbiddenCall, SYS_getppid);
}

}  // namespace
