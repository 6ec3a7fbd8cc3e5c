#include "bench/ReceivingProcess.h"

#include <glib.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "bench/Ratios.h"
#include "platform/linux/Log.h"
#include "platform/linux/ports/MessagePorts.h"

using platform::ByteView;
using platform::native::Descriptor;

void check(bool holds, const char* file, int line) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: %m\n", file, line);
  std::abort();
}

std::array<Descriptor, 2> socketPair(int type) {
  int ends[2];
  check(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) == 0);
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

ReceivingProcess::ReceivingProcess(const Run& run) : ends_(socketPair(SOCK_SEQPACKET)) {
  void* shared = ::mmap(nullptr, sizeof *done_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  check(shared != MAP_FAILED);
  done_ = static_cast<std::int64_t*>(shared);
  process_ = ::fork();
  check(process_ >= 0);
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    run([this] {
      *done_ = now();
      check(::send(ends_[1].get(), "", 1, MSG_NOSIGNAL) == 1);
    });
    ::_exit(1);
  }
  otherProcesses.push_back(process_);
  waitUntilDone();
}

ReceivingProcess::~ReceivingProcess() {
  std::erase(otherProcesses, process_);
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::munmap(done_, sizeof *done_);
}

std::int64_t ReceivingProcess::waitUntilDone() {
  char byte;
  check(::recv(ends_[0].get(), &byte, 1, 0) == 1);
  return *done_;
}

void listenForEver(const std::string& folder, std::string_view name, const std::function<void()>& done,
                   const std::function<void(ByteView record)>& receive) {
  platform::native::LinuxLog log;
  platform::native::LinuxMessagePorts ports(log, folder, ::geteuid());
  const auto callBack = [&receive](platform::LocalMessagePort&, std::int32_t, ByteView record) {
    receive(record);
    return std::optional<platform::Data>();
  };
  const auto port = ports.createLocal(name, callBack, {});
  check(port != nullptr);
  ports.addSourceToCurrentRunLoop(*ports.createRunLoopSource(*port, 0), platform::RunLoopMode::common);
  done();
  for (;;) g_main_context_iteration(nullptr, TRUE);
}
