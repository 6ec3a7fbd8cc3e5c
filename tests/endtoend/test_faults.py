"""Faults that come and go: after each the browser lives, holds nothing more than before, and works again."""

import contextlib
import os
import shutil
import signal
import time
import unittest

from fixture import DEADLINE, EndToEndTest, path_of_url, titles
from dovetail_session import LineProcess
from process_facts import ALLOCATOR_FACTOR, ALLOWED_GROWTH, children, descriptors, private_memory

# By which a host talks to the bus, to its port and to its children, and makes what others see of it.
STEPS = ["accept4", "bind", "connect", "fcntl", "flock", "listen", "memfd_create", "mkdir", "pidfd_open", "poll", "recvfrom", "recvmsg",
         "sendmsg", "sendto", "socket", "socketpair", "unlinkat", "write"]


class Faults(EndToEndTest):
    def test_the_ports_come_back_after_the_runtime_folder_was_removed(self):
        path = self.make_archive()
        host, console = self.start_both()
        ports = self.port_path()
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

    def test_all_works_again_after_the_whole_runtime_folder_was_removed_and_the_bus_with_it(self):
        path = self.make_archive()
        host, console = self.start_both()
        runtime = self.session.environment["XDG_RUNTIME_DIR"]
        shutil.rmtree(runtime)
        console.menu_of(path)
        console.do("choose", titles=["Rename…"])
        host.message("rename:")  # over the connection that stands
        os.mkdir(runtime, 0o700)
        self.session.stop_bus()
        self.assertEqual(host.wait(), 1)
        console.wait_until("noHost")
        self.session.start_bus()
        self.session.start_host()
        console.wait_until("host")
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertIn("letters.zip", titles(console.menu_of(path)))

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

    def test_a_host_that_is_killed_at_any_system_call_harms_nothing(self):
        many = [("file %04d.txt" % number, b"") for number in range(600)]
        path = self.make_archive(entries=many)  # so many that their tree travels in a memory file
        console = self.session.start_console()
        self.assertFalse(self.is_killed_at("bind", 100, console))  # the first line of a log opens it for good
        console.wait_until("noHost")
        self.until(console, lambda: children(console.pid) == [])
        memory, files = private_memory(console.pid), descriptors(console.pid)
        deaths = 0
        for call in STEPS:
            number = 1
            while self.is_killed_at(call, number, console):
                console.wait_until("noHost")
                number += 1
            deaths += number - 1
        self.assertGreater(deaths, 80)
        self.until(console, lambda: descriptors(console.pid) <= files and children(console.pid) == [])
        self.assertLess(private_memory(console.pid) - memory, ALLOWED_GROWTH)
        console.do("open", folder=self.folder)
        host = self.session.start_host()
        console.wait_until("archive", file=path)
        self.assertIn("letters.zip", titles(console.menu_of(path)))
        console.do("choose", titles=["letters.zip", "file 0599.txt"])
        self.assertEqual(host.message("expand:")["entry"]["name"], "file 0599.txt")

    def is_killed_at(self, call, number, console):
        """Runs a host that is killed at its so many-th such call, or ends after it was found, has answered and was sent a command."""
        console.do("open", folder=self.folder)
        host = LineProcess(["strace", "-qq", "-o", os.devnull, "-e", "trace=" + call,
                            "-e", "inject=%s:signal=KILL:when=%d" % (call, number),
                            os.path.join(self.session.programs, "dovetail-host")], self.session.environment, self.session.errors)
        self.session.processes.append(host)
        deadline = time.monotonic() + DEADLINE
        pid = None
        while (line := host.next_line(deadline)) is not None:
            pid = line.get("pid", pid)
            if line["event"] == "answered":
                console.menu_of(os.path.join(self.folder, "letters.zip"))
                console.ask("choose", titles=["Rename…"])
            if line.get("selector") == "rename:":
                with contextlib.suppress(ProcessLookupError):  # this may have been the step
                    os.kill(pid, signal.SIGTERM)
        status = host.wait()
        host.close()
        self.session.processes.remove(host)
        self.assertIsNotNone(console.state())
        return status == -signal.SIGKILL

    def test_a_host_that_stands_still_while_thousands_of_files_are_shown_costs_no_more_than_their_records(self):
        folders = [self.session.make_folder("watched", "folder %d" % number) for number in range(10)]
        for folder in folders:
            for number in range(600):
                self.make_file("file %d" % number, b"", folder=folder)
        count = 600 * len(folders)
        host = self.session.start_host("--no-answer")
        console = self.session.start_console()
        console.wait_until("host")
        host.message("pingPortName:")
        self.assertIsNotNone(console.menu_of(os.path.join(folders[0], "file 0")))
        host.signal(signal.SIGSTOP)
        memory, files = private_memory(console.pid), descriptors(console.pid)
        for folder in folders:
            console.do("open", folder=folder)
        self.assertLess(private_memory(console.pid) - memory, ALLOWED_GROWTH + ALLOCATOR_FACTOR * 1024 * count)
        memory = private_memory(console.pid)
        for _ in range(5):
            for folder in folders:
                console.do("close", folder=folder)
                console.do("open", folder=folder)
            self.assertIn("Rename…", titles(console.menu_of(os.path.join(folders[0], "file 0"))))
        self.assertLess(private_memory(console.pid) - memory, ALLOWED_GROWTH)

        # Each file was asked about, once.
        host.signal(signal.SIGCONT)
        console.do("choose", titles=["Rename…"])
        asked = [path_of_url(message["argument"]) for message in host.messages_until("rename:")[:-1]]
        self.assertEqual(len(asked), count)
        self.assertEqual(len(set(asked)), count)
        archive = self.make_archive(folder=folders[0])
        console.do("badge", file=archive)
        self.assertEqual(path_of_url(host.message("openArchive:portName:")["argument"]), archive)
        self.assertEqual([line for line in host.seen if line["event"] == "notification"], [])
        # A folder is held as long as it is shown.
        for folder in folders:
            console.do("close", folder=folder)
        self.assertLessEqual(descriptors(console.pid), files)

    def test_a_settings_database_that_is_replaced_by_a_damaged_one_harms_nothing(self):
        path = self.make_archive()
        database = os.path.join(self.session.environment["XDG_CONFIG_HOME"], "dconf", "user")
        host, console = self.start_both()
        with open(database, "rb") as file:
            sound = file.read()
        flipped = bytes(byte ^ 0x41 if place % 7 == 0 else byte for place, byte in enumerate(sound))
        for damaged in (b"", b"GVariant", b"\xff" * 500, sound[:len(sound) // 2], flipped, sound[:8] + flipped[8:]):
            with open(database + ".new", "wb") as file:
                file.write(damaged)
            os.replace(database + ".new", database)
            self.assertIsNotNone(console.menu_of(path))
            self.assertIsNotNone(console.do("toolbar"))
            self.assertEqual(self.session.start_console().quit(), 0)
            host.process.terminate()
            host.wait()
            console.wait_until("noHost")
            # It writes its version, and with that the database anew.
            host = self.session.start_host()
            self.session.settings("folders", "clear")
            self.session.settings("folders", "add", self.folder)
            console.wait_until("host")
            console.wait_until("folders", count=1)
            console.do("open", folder=self.folder)
            console.wait_until("archive", file=path)
            self.assertIn("letters.zip", titles(console.menu_of(path)))


if __name__ == "__main__":
    unittest.main()
