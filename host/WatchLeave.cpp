#include "host/WatchLeave.h"

#include "platform/linux/processes/SignalWatchSwitch.h"

void giveLeaveToWatch(pid_t browser, Prctl* prctl) {
  // Of the numbers that are no process 0 would withdraw the leave of who has it, and -1 let everybody.
  if (browser <= 0 || platform::native::isSignalWatchOff()) return;
  prctl(PR_SET_PTRACER, static_cast<unsigned long>(browser), 0UL, 0UL, 0UL);
}
