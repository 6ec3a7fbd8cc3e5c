"""What must not add up over the life of a file browser, and faults of the system that come and go."""

import os
import shutil
import time
import unittest

from fixture import EndToEndTest, titles
from dovetail_session import DEADLINE, Late

MEBIBYTE = 1 << 20
SECONDS_OF_IDLENESS = 5


def private_memory(pid):
    """The bytes of a process that no file stands for (RssAnon of proc(5))."""
    with open("/proc/%d/status" % pid) as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith("RssAnon:"))


def descriptors(pid):
    """What kinds of files a process has open."""
    return sorted(os.readlink("/proc/%d/fd/%s" % (pid, number)).split(":")[0] for number in os.listdir("/proc/%d/fd" % pid))


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


class Endurance(EndToEndTest):
    def restart(self, console):
        host = self.session.start_host()
        console.wait_until("host")
        host.process.kill()
        host.wait()
        host.close()
        self.session.processes.remove(host)
        console.wait_until("noHost")

    def until(self, console, holds):
        """The watcher of a host ends a few turns of the browser's loop after the host."""
        deadline = time.monotonic() + DEADLINE
        while not holds():
            self.assertLess(time.monotonic(), deadline, "%s %s" % (descriptors(console.pid), children(console.pid)))
            console.state()

    def test_a_thousand_restarts_of_the_host_leave_nothing_behind(self):
        self.make_archive()
        console = self.session.start_console()
        console.do("open", folder=self.folder)
        for _ in range(100):
            self.restart(console)
        self.until(console, lambda: children(console.pid) == [])
        memory, files = private_memory(console.pid), descriptors(console.pid)
        for _ in range(900):
            self.restart(console)
        self.until(console, lambda: descriptors(console.pid) == files and children(console.pid) == [])
        self.assertLess(private_memory(console.pid) - memory, MEBIBYTE)

    def menus(self, console, count):
        """Asks for menus without reading what is in them."""
        line = b'{"do":"menu","kind":0}\n'
        for _ in range(count // 100):
            console.process.stdin.write(line * 100)
            console.process.stdin.flush()
            left = 100
            while left:
                piece = os.read(console.process.stdout.fileno(), 1 << 20)
                self.assertTrue(piece)
                left -= piece.count(b"\n")

    def test_a_hundred_thousand_menus_take_no_memory(self):
        path = self.make_archive()
        self.session.settings("icons", "contextual", "on")
        _, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertIn("letters.zip", titles(console.menu_of(path)))
        self.menus(console, 5000)
        memory = private_memory(console.pid)
        self.menus(console, 100000)
        self.assertLess(private_memory(console.pid) - memory, MEBIBYTE)
        self.assertIn("letters.zip", titles(console.menu()))

    def test_an_idle_browser_is_not_woken_up(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        console.menu_of(path)
        with self.assertRaises(Late):  # what its start began ends
            console.next_line(time.monotonic() + 1)
        watchers = children(console.pid)
        before = [wake_ups(int(pid)) for pid in [console.pid, *watchers]]
        with self.assertRaises(Late):
            console.next_line(time.monotonic() + SECONDS_OF_IDLENESS)
        self.assertEqual([wake_ups(int(pid)) for pid in [console.pid, *watchers]], before)
        self.assertIsNone(host.process.poll())


class Faults(EndToEndTest):
    def test_the_ports_come_back_after_the_runtime_folder_was_removed(self):
        path = self.make_archive()
        host, console = self.start_both()
        ports = os.path.join(self.session.environment["XDG_RUNTIME_DIR"], "dovetail")
        shutil.rmtree(ports)
        console.menu_of(path)
        console.do("choose", titles=["Rename…"])
        host.message("rename:")  # over the connection that stands
        host.process.kill()
        host.wait()
        console.wait_until("noHost")
        second = self.session.start_host()
        console.wait_until("host")
        second.message("pingPortName:")
        self.assertEqual(len([name for name in os.listdir(ports) if not name.startswith(".")]), 2)
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)

    def test_a_host_that_is_killed_after_any_record_harms_nothing(self):
        for number in range(6):
            self.make_archive("letters %d.zip" % number)
        console = self.session.start_console()
        for records in range(1, 8):
            host = self.session.start_host("--no-answer")
            console.wait_until("host")
            console.send_line(b'{"do":"open","folder":"%s"}' % self.folder.encode())
            for _ in range(records):
                host.line(lambda line: line["event"] == "message")
            host.process.kill()
            host.wait()
            self.assertIn("ok", console.reply())
            console.wait_until("noHost")
            self.assertEqual(titles(console.menu(3)), ["Dovetail is not running"])
        self.session.start_host()
        console.wait_until("host")
        console.do("open", folder=self.folder)
        for number in range(6):
            console.wait_until("archive", file=os.path.join(self.folder, "letters %d.zip" % number))


if __name__ == "__main__":
    unittest.main()
