"""What must not add up over the life of a file browser."""

import os
import time
import unittest

from fixture import EndToEndTest, titles
from dovetail_session import Late
from process_facts import ALLOWED_GROWTH, children, descriptors, private_memory, wake_ups

SECONDS_OF_IDLENESS = float(os.environ.get("DOVETAIL_IDLE_SECONDS", 5))


class Endurance(EndToEndTest):
    def restart(self, console):
        host = self.session.start_host()
        console.wait_until("host")
        host.process.kill()
        host.wait()
        host.close()
        self.session.processes.remove(host)
        console.wait_until("noHost")

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
        # How far the last host came decides on one or two; what a restart leaves behind would be there 900 times.
        self.until(console, lambda: sum(descriptors(console.pid).values()) <= sum(files.values()) + 2 and children(console.pid) == [])
        self.assertLess(private_memory(console.pid) - memory, ALLOWED_GROWTH)

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
        self.assertLess(private_memory(console.pid) - memory, ALLOWED_GROWTH)
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
        after = [wake_ups(int(pid)) for pid in [console.pid, *watchers]]
        # GLib ends a worker of its pool, which the start used, when that was idle for a quarter of a minute.
        still_there = [{thread: each[thread] for thread in each if thread in later} for each, later in zip(before, after)]
        self.assertEqual(after, still_there)
        self.assertTrue(all(str(pid) in each for pid, each in zip([console.pid, *watchers], after)))
        self.assertIsNone(host.process.poll())


if __name__ == "__main__":
    unittest.main()
