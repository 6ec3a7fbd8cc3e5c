"""The host comes, goes, stops, is signalled, is another build, is there twice; the bus goes away."""

import os
import signal
import subprocess
import time
import unittest

from fixture import EndToEndTest, item, path_of_url, titles

NOT_RUNNING = ["Dovetail is not running"]


class HostLife(EndToEndTest):
    def test_a_host_of_another_version_counts_as_not_running(self):
        host = self.session.start_host("--bundle-version", "1.0.0.1")
        console = self.session.start_console()
        self.assertEqual(console.state()["applicationPid"], -1)
        self.assertEqual(titles(console.menu(3)), NOT_RUNNING)
        self.announce()
        console.do("open", folder=self.folder)
        host.process.terminate()
        host.wait()
        self.assertEqual([line for line in host.seen if line["event"] == "message"], [])

    def test_an_extension_of_another_version_does_not_take_the_host(self):
        self.session.start_host()
        console = self.session.start_console("--bundle-version", "1.0.0 ")
        self.assertEqual(console.state()["applicationPid"], -1)

    def test_two_hosts_count_as_none_until_one_is_left(self):
        first, console = self.start_both()
        second = self.session.start_host()
        self.assertFalse(second.ready["isFirst"])
        console.wait_until("noHost")
        self.assertEqual(titles(console.menu(3)), NOT_RUNNING)
        first.process.terminate()
        first.wait()
        console.wait_until("host")
        self.assertEqual(console.state()["applicationPid"], second.pid)
        second.message("pingPortName:")

    def test_the_next_host_is_never_taken_for_the_one_that_ended(self):
        first, console = self.start_both()
        for number in range(400):
            second = self.session.start_host()
            console.wait_until("noHost")
            first.signal(signal.SIGKILL if number % 2 == 0 else signal.SIGTERM)
            first.wait()
            first.close()
            self.session.processes.remove(first)
            second.line(lambda line: line["event"] == "promoted")
            console.wait_until("host")
            # The first has ended for all who watch it, so whatever comes late of it has come by the second answer.
            console.state()
            self.assertEqual(console.state()["applicationPid"], second.pid, number)
            second.message("pingPortName:")
            first = second

    def test_an_announcement_counts_whatever_its_body_is(self):
        host, console = self.start_both()
        for body in ([], ["int32:7"], ["string:one", "string:two"]):
            subprocess.run(["dbus-send", "--session", "--type=signal", "/org/dovetail/DistributedNotificationCenter",
                            "org.dovetail.DistributedNotificationCenter.DTDovetailRunning", *body],
                           env=self.session.environment, check=True)
            host.message("pingPortName:")

    def test_a_host_whose_lines_nobody_reads_goes_on_and_says_what_it_left_out(self):
        folders = [self.session.make_folder("watched", "folder %d" % number) for number in range(2)]
        for folder in folders:
            for number in range(50):
                self.make_file("%s %04d" % (50 * "long", number), folder=folder)
        host, console = self.start_both()
        files = [os.path.join(folders[0], name) for name in os.listdir(folders[0])]
        items = console.menu_of(*files)
        self.assertIsNotNone(items)
        for _ in range(1500):  # some 16 KB a line
            started = time.monotonic()
            console.menu_of(*files)
            console.do("choose", titles=["Rename…"])
            self.assertLess(time.monotonic() - started, 0.9)
        left_out = host.line(lambda line: line["event"] == "leftOut")["lines"]
        console.menu_of(*files)
        console.do("choose", titles=["Access Control List…"])
        host.message("showAcl:")
        renames = sum(line.get("selector") == "rename:" for line in host.seen)
        self.assertEqual(renames + left_out, 1500)

    def test_a_host_whose_reader_has_gone_goes_on_and_says_so_once(self):
        host, console = self.start_both()
        host.process.stdout.close()
        path = self.make_archive()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        host.signal(signal.SIGTERM)
        self.assertEqual(host.process.wait(), 0)
        self.assertEqual(self.session.error_text().count("go nowhere"), 1)

    def test_a_host_that_was_signalled_but_lives_counts_as_gone_until_it_announces_itself(self):
        host, console = self.start_both()
        self.signal_until_noticed(host, console)
        self.assertIsNone(host.process.poll())
        self.announce()
        console.wait_until("host")
        self.assertEqual(console.state()["applicationPid"], host.pid)
        host.message("pingPortName:")

    def signal_until_noticed(self, host, console):
        """The extension's watch stands a moment after it has found the host, so the first signal may be too early for it."""
        for _ in range(100):
            host.signal(signal.SIGUSR1)
            host.line(lambda line: line["event"] == "signal")
            console.send_line(b'{"do":"wait","until":"noHost","seconds":0.3}')
            if "ok" in console.reply():
                return
        self.fail("no signal was noticed")

    def test_an_open_folder_is_asked_about_by_each_host_that_comes(self):
        path = self.make_archive()
        other = self.make_file("notes.txt")
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        for _ in range(4):
            console.wait_until("archive", file=path)
            self.assertIsNotNone(item(console.menu_of(path), "letters.zip"))
            self.assertEqual(self.asked(host, console), sorted([path, other]))
            host.process.kill()
            host.wait()
            console.wait_until("noHost")
            host = self.session.start_host()
            console.wait_until("host")

    def test_a_host_that_announces_itself_again_leaves_the_next_one_what_is_shown(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        host.line(lambda line: line["event"] == "answered")
        for _ in range(3):
            self.announce()
            host.line(lambda line: line["event"] == "answered" and line["file"] == path)
        host.process.kill()
        host.wait()
        console.wait_until("noHost")
        self.session.start_host()
        console.wait_until("archive", file=path)

    def test_the_end_of_the_console_leaves_the_host_unharmed(self):
        host, console = self.start_both()
        console.process.kill()
        console.wait()
        host.signal(signal.SIGUSR1)
        host.line(lambda line: line["event"] == "signal")

    def time_of_3000_files_and_a_click(self, folder):
        """Of a console that has just started: seconds to enter the folder and to choose a command for a file of it."""
        console = self.session.start_console()
        started = time.monotonic()
        console.do("open", folder=folder)
        taken = time.monotonic() - started
        items = console.menu_of(os.path.join(folder, "file 0000"))
        started = time.monotonic()
        if items is not None:
            console.do("choose", titles=["Rename…"])
        taken += time.monotonic() - started
        return console, taken

    def test_a_stopped_host_costs_a_browser_nothing_and_loses_nothing(self):
        files = [self.make_file("file %04d" % number) for number in range(3000)]
        host = self.session.start_host("--no-answer")
        running, reading = self.time_of_3000_files_and_a_click(self.folder)
        host.message("rename:")
        running.quit()
        host.signal(signal.SIGSTOP)
        console, standing = self.time_of_3000_files_and_a_click(self.folder)
        self.assertLess(standing, reading + 0.25)
        self.assertEqual(console.state()["archives"], 3000)
        host.signal(signal.SIGCONT)
        sent = host.messages_until("rename:")
        self.assertEqual([message["selector"] for message in sent],
                         ["pingPortName:"] + 3000 * ["openArchive:portName:"] + ["rename:"])
        self.assertEqual(sorted(path_of_url(message["argument"]) for message in sent[1:-1]), files)
        self.mark(console)
        self.assertEqual([message["selector"] for message in host.messages_until("showAcl:")], ["showAcl:"])
        self.assertEqual([line for line in host.seen if line["event"] == "notification"], [])

    def test_a_send_that_was_given_up_is_told_to_the_host_as_a_notification(self):
        files = [self.make_file("%s %04d" % (50 * "long", number)) for number in range(200)]
        host = self.session.start_host("--no-answer")
        console = self.session.start_console()
        console.wait_until("host")
        host.signal(signal.SIGSTOP)
        # Some fifty kilobytes each time, until no more are kept for the host.
        for _ in range(500):
            self.assertTrue(console.menu_of(*files))
            started = time.monotonic()
            is_given_up = "error" in console.ask("choose", titles=["Rename…"])
            self.assertLess(time.monotonic() - started, 3)
            if is_given_up:
                break
        host.signal(signal.SIGCONT)
        self.assertEqual(host.notification(), {
            "NSLocalizedDescription": "Finder extension failed to send message to application",
            "NSLocalizedRecoverySuggestion": "There was an error sending message to application, status -1."})

    def test_the_loss_of_the_bus_is_survived_and_a_host_on_the_new_one_is_found(self):
        host, console = self.start_both()
        self.session.stop_bus()
        self.assertEqual(host.wait(), 1)
        console.wait_until("noHost")
        self.assertEqual(titles(console.menu(3)), NOT_RUNNING)
        path = self.make_archive()
        console.do("open", folder=self.folder)
        self.session.start_bus()
        self.session.start_host()
        console.wait_until("archive", file=path)
        self.assertIsNotNone(console.menu_of(path))

    def test_the_loss_of_the_bus_ends_no_browser_whatever_it_has_shown(self):
        path = self.make_archive()
        self.session.settings("icons", "contextual", "on")
        console = self.session.start_console()
        for _ in range(3):
            console.do("open", folder=self.folder)
            host = self.session.start_host()
            console.wait_until("archive", file=path)
            self.assertIsNotNone(item(console.menu_of(path), "letters.zip", "guide")["image"])
            self.assertIsNotNone(console.do("toolbar"))
            self.session.stop_bus()
            self.assertEqual(host.wait(), 1)
            console.wait_until("noHost")
            self.assertEqual(titles(console.menu(3)), NOT_RUNNING)
            self.session.start_bus()

    def test_a_console_without_a_bus_starts_and_ends_all_the_same(self):
        self.session.stop_bus()
        console = self.session.start_console()
        self.assertEqual(console.state()["applicationPid"], -1)
        self.assertEqual(titles(console.menu(3)), NOT_RUNNING)
        self.assertEqual(console.quit(), 0)

    def test_two_browsers_each_have_a_port_and_the_host_answers_each(self):
        path = self.make_archive()
        _, first = self.start_both()
        second = self.session.start_console()
        second.wait_until("host")
        self.assertNotEqual(first.state()["portName"], second.state()["portName"])
        for console in (first, second):
            console.do("open", folder=self.folder)
            console.wait_until("archive", file=path)


if __name__ == "__main__":
    unittest.main()
