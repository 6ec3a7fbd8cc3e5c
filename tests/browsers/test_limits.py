"""Large archives, a host that stands still, and what is left of a browser that has quit."""

import os
import signal
import time

import dovetail_archives
from browser_fixture import BROWSER, BrowserTest

ENTRIES = 100_000
BUDGET = 200
DEPTH, LEVELS = 256, 16


class LargeArchiveTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.large = os.path.join(cls.watched, "large.zip")
        dovetail_archives.make_large_zip(cls.large, ENTRIES)

    def test_a_large_archive_is_shown_in_part_and_reached_as_a_whole(self):
        menu = self.open_menu_with("large.zip", "large.zip")
        self.assertEqual(self.browser.labels(self.browser.item(menu, "large.zip")), ["many", "last.txt"])
        many = self.browser.labels(self.browser.item(menu, "large.zip", "many"))
        self.assertLessEqual(len(many), BUDGET)
        self.assertEqual(many[0], "000000.txt")
        self.assertEqual(many[-1], "%d more…" % (ENTRIES - 2 - (len(many) - 1)))
        self.browser.open_submenus(menu, "large.zip")
        self.session.picture("large-archive")
        self.browser.choose(menu, "large.zip", "many", many[-1])
        self.assert_sent("expand:", [self.large], [0])
        self.browser.choose(self.browser.open_menu_of(self.window, "large.zip"), "large.zip", "many", many[3])
        self.assert_sent("expand:", [self.large], [0, 3])


class DeepArchiveTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.deep = cls.make_archive("deep.tar.gz", [("/".join("f" * level), None) for level in range(1, DEPTH + 1)])

    def test_a_folder_in_the_deepest_level_shown_is_reached_as_a_whole(self):
        menu = self.open_menu_with("deep.tar.gz", "deep.tar.gz")
        self.browser.choose(menu, "deep.tar.gz", *["f"] * LEVELS)
        self.assert_sent("expand:", [self.deep], [0] * LEVELS)


class StoppedHostTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.crowd = cls.session.make_folder("home", "crowd")
        for number in range(3000):
            cls.make_file("%04d.txt" % number, folder=cls.crowd)
        cls.session.settings("folders", "add", cls.crowd)

    def setUp(self):
        super().setUp()
        self.host.signal(signal.SIGSTOP)
        self.addCleanup(self.host.signal, signal.SIGCONT)

    def test_a_choice_for_a_host_that_stands_still_arrives_when_it_goes_on(self):
        began = time.monotonic()
        self.choose("notes.txt", "Access Control List…")
        self.browser.open_menu_of(self.window, "notes.txt")
        self.assertLess(time.monotonic() - began, 10)
        self.host.signal(signal.SIGCONT)
        self.assert_sent("showAcl:", [self.notes])

    def test_a_folder_of_3000_files_opens_while_the_host_stands_still(self):
        began = time.monotonic()
        window = self.browser.open_window(self.crowd, "crowd")
        self.browser.open_menu_at(self.browser.middle_of(window))
        self.assertLess(time.monotonic() - began, 10)
        self.browser.close_menu()
        self.browser.close_window(window)


class QuitTest(BrowserTest):
    """A browser of its own for each test."""

    def setUp(self):
        if self.browser.process.poll() is not None:
            self.start_browser()

    def processes(self):
        """The programs of the session that still run, by name."""
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open("/proc/%s/stat" % pid) as file:
                    name, rest = file.read().split("(", 1)[1].rsplit(")", 1)
            except OSError:
                continue
            if rest.split()[0] != "Z":
                found.append(name)
        return found

    def ports(self):
        return os.listdir(os.path.join(self.session.environment["XDG_RUNTIME_DIR"], "dovetail"))

    def sync_ports(self):
        return [name for name in self.ports() if ".Sync." in name]

    def test_a_browser_that_quits_leaves_nothing_behind(self):
        self.choose("notes.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.notes])
        self.assertTrue(self.sync_ports())
        self.assertIn("dovetail-proces", self.processes())
        self.assertEqual(self.browser.quit(), 0)
        self.wait_for("no port", lambda: not self.sync_ports())
        self.wait_for("no watcher", lambda: "dovetail-proces" not in self.processes())
        self.assertIsNone(self.host.process.poll())

    def test_browsers_that_come_and_go_do_not_add_up_in_the_host(self):
        def descriptors():
            return len(os.listdir("/proc/%d/fd" % self.host.pid))
        self.browser.quit()
        self.wait_for("no port", lambda: not self.sync_ports())
        before = descriptors()
        self.start_browser()
        self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.close_menu()
        self.browser.quit()
        self.wait_for("no more descriptors than before", lambda: descriptors() <= before)


class TwoBrowsersTest(BrowserTest):

    def test_two_browsers_have_a_port_each_and_the_host_answers_both(self):
        from file_browser import BROWSERS
        other = "thunar" if BROWSER != "thunar" else "caja"
        self.session.offer(other)
        second = BROWSERS[other](self.session, self.watched)
        frame = second.window("papers")
        second.activate(frame)
        ports = set()
        menu = second.open_menu_of(frame, "notes.txt")
        second.choose(menu, "Access Control List…")
        ports.add(self.message_port("showAcl:"))
        second.close_window(frame)
        self.choose("notes.txt", "Access Control List…")
        ports.add(self.message_port("showAcl:"))
        self.assertEqual(len(ports), 2)

    def message_port(self, selector):
        return self.host.message(selector)["portName"]
