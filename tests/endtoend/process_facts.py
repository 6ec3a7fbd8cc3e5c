"""What the system says of a process (proc(5))."""

import collections
import os

MEBIBYTE = 1 << 20
IS_SANITIZED = os.environ.get("DOVETAIL_IS_SANITIZED") == "1"
# A sanitizer's allocator takes memory of its own, and comes to rest late; leaks it tells of itself.
ALLOCATOR_FACTOR = 4 if IS_SANITIZED else 1
# What nothing but the allocator's own ways may take over a long run.
ALLOWED_GROWTH = ALLOCATOR_FACTOR * MEBIBYTE


def memory_of(pid, line_begins):
    """Bytes."""
    with open("/proc/%d/status" % pid) as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith(line_begins))


def private_memory(pid):
    """The bytes of a process that no file stands for."""
    return memory_of(pid, "RssAnon:")


def descriptors(pid):
    """How many files of each kind a process has open. It may come to hold fewer: a worker of GLib's ends when it was idle for a while."""
    folder, kinds = "/proc/%d/fd" % pid, collections.Counter()
    for number in os.listdir(folder):
        try:
            kinds[os.readlink(os.path.join(folder, number)).split(":")[0]] += 1
        except FileNotFoundError:  # closed since it was listed
            pass
    return kinds


def children(pid):
    with open("/proc/%d/task/%d/children" % (pid, pid)) as file:
        return file.read().split()


def wake_ups(pid):
    """How often each thread of a process has been given the processor."""
    counts = {}
    for thread in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/status" % (pid, thread)) as file:
            counts[thread] = [line for line in file if "ctxt_switches" in line]
    return counts


def resident_memory(pid):
    return memory_of(pid, "VmRSS:")


def peak_memory(pid):
    """The most that was resident since the peak was reset."""
    return memory_of(pid, "VmHWM:")


def reset_peak_memory(pid):
    with open("/proc/%d/clear_refs" % pid, "w") as file:
        file.write("5")
