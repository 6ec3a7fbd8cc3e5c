"""The command lines of the programs: one way to read them, one wording, one set of exit statuses."""

import json
import os
import subprocess
import unittest

from fixture import DEADLINE, EndToEndTest

PROGRAMS = ("dovetail-archive", "dovetail-console", "dovetail-host")


class Programs(EndToEndTest):
    def run_into(self, path, name, *arguments, data=b""):
        """Runs a program whose standard output is the file at the path."""
        with open(path, "wb") as output:
            return subprocess.run([os.path.join(self.session.programs, name), *arguments], env=self.session.environment,
                                  input=data, stdout=output, stderr=subprocess.PIPE, timeout=DEADLINE)

    def assert_complaint(self, done, name, status):
        lines = done.stderr.decode().splitlines()
        self.assertEqual((done.returncode, len(lines)), (status, 1), done)
        self.assertTrue(lines[0].startswith(name + ": ") and lines[0].endswith("."), lines)
        self.assertEqual(lines[0].endswith(" See %s --help." % name), status == 2, lines)

    def test_help_and_version_are_given_on_standard_output(self):
        for name in PROGRAMS:
            help_text = self.session.run(name, "--help")
            self.assertEqual((help_text.returncode, help_text.stderr), (0, b""), name)
            self.assertIn(b"Exit status: 0 when done, 1 ", help_text.stdout)
            self.assertEqual(self.session.run(name, "-h").stdout, help_text.stdout)
            version = self.session.run(name, "--version")
            self.assertEqual((version.returncode, version.stderr), (0, b""), name)
            self.assertRegex(version.stdout.decode(), r"\A%s \d+(\.\d+)*\n\Z" % name)

    def test_what_is_not_understood_is_refused_with_status_2_and_one_sentence(self):
        for name, *arguments in (("dovetail-archive",), ("dovetail-archive", "dump"), ("dovetail-archive", "dump", "a", "b"),
                                 ("dovetail-archive", "fly", "a"), ("dovetail-archive", "--fly"), ("dovetail-console", "fly"),
                                 ("dovetail-console", "images"), ("dovetail-console", "diagnose", "x"),
                                 ("dovetail-console", "--entitlements"), ("dovetail-console", "--fly"), ("dovetail-host", "fly"),
                                 ("dovetail-host", "--fly"), ("dovetail-host", "--group"), ("dovetail-host", "run", "x")):
            done = self.session.run(name, *arguments)
            self.assert_complaint(done, name, 2)
            self.assertEqual(done.stdout, b"")

    def test_an_option_takes_its_value_with_or_without_a_sign(self):
        self.session.settings("--group=org.example.other", "icons", "archive", "off")
        for options in (("--group", "org.example.other"), ("--group=org.example.other",)):
            self.assertFalse(json.loads(self.session.settings(*options, "settings"))["DTArchiveIconsShown "])

    def test_what_cannot_be_written_fails(self):
        for name, *arguments in (("dovetail-archive", "--help"), ("dovetail-archive", "make", "-"), ("dovetail-archive", "dump", "-"),
                                 ("dovetail-console", "--help"), ("dovetail-console", "diagnose"), ("dovetail-host", "--version"),
                                 ("dovetail-host", "folders", "list"), ("dovetail-host", "settings")):
            data = b"null" if "make" in arguments else self.archive_of(None) if "dump" in arguments else b""
            done = self.run_into("/dev/full", name, *arguments, data=data)
            self.assert_complaint(done, name, 1)
            self.assertIn(b"Standard output cannot be written", done.stderr)

    def test_a_console_that_cannot_write_says_so(self):
        for arguments in ((), ("--json",)):
            done = self.run_into("/dev/full", "dovetail-console", *arguments, data=b'state\n')
            self.assert_complaint(done, "dovetail-console", 1)

    def test_entitlements_that_cannot_be_read_end_the_console_with_a_sentence(self):
        for path in (self.folder, os.path.join(self.folder, "missing")):
            self.assert_complaint(self.session.run("dovetail-console", "--entitlements", path), "dovetail-console", 1)
        path = self.make_file("entitlements", b"no property list")
        self.assertEqual(self.session.run("dovetail-console", "--entitlements", path).returncode, 0)

    def test_a_file_that_cannot_be_read_is_named(self):
        done = self.session.run("dovetail-archive", "dump", self.folder)
        self.assert_complaint(done, "dovetail-archive", 1)
        self.assertIn(self.folder.encode(), done.stderr)

    def test_without_a_session_bus_the_console_says_so(self):
        self.session.stop_bus()
        done = self.session.run("dovetail-console", data=b"quit\n")
        self.assertEqual(done.stdout.decode().splitlines()[0],
                         "* no session bus can be reached: no host is seen, and no change of the settings")
        done = self.session.run("dovetail-console", "--json", data=b"")
        self.assertEqual([json.loads(line)["event"] for line in done.stdout.splitlines()], ["noSessionBus", "directoryURLs"])

    def test_a_choice_after_the_host_has_gone_is_no_success(self):
        path = self.make_file("notes.txt")
        host, console = self.start_both()
        console.menu_of(path)
        host.process.terminate()
        host.wait()
        console.wait_until("noHost")
        self.assertIn("nothing was sent", console.ask("choose", titles=["Rename…"])["error"])


if __name__ == "__main__":
    unittest.main()
