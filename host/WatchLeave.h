// The leave to watch this process for signals, which Yama asks for on many desktops (docs/host-protocol.md, "The host's end, and
// signals to it").
#pragma once

#include <sys/prctl.h>
#include <sys/types.h>

using Prctl = int(int option, ...);

/// Lets the process `browser` and those that it starts trace this one, in place of who was let before. Lets nobody when the watching
/// is switched off (platform/linux/processes/SignalWatchSwitch.h), or for a process that is none. A kernel without Yama asks for no
/// leave and refuses to hear of it, which harms nothing.
void giveLeaveToWatch(pid_t browser, Prctl* prctl = ::prctl);
