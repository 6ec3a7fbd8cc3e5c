"""What `dovetail-console conformance` says of a host: of the reference host, of one that does not answer, of none."""

import subprocess
import unittest

from fixture import DEADLINE, EndToEndTest


class Conformance(EndToEndTest):
    def examine(self):
        done = subprocess.run([self.session.programs + "/dovetail-console", "conformance"], env=self.session.environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=4 * DEADLINE)
        self.assertEqual(done.stderr, b"")
        return done.returncode, done.stdout.decode().splitlines()

    def test_the_reference_host_keeps_every_promise(self):
        self.session.start_host("--quiet")
        status, lines = self.examine()
        self.assertEqual([line for line in lines if not line.startswith("[kept] ")], [])
        self.assertGreater(len(lines), 25)
        self.assertEqual(status, 0)

    def test_it_leaves_the_host_and_its_folder_of_ports_as_they_were(self):
        host = self.session.start_host("--quiet")
        self.examine()
        self.examine()
        console = self.session.start_console()
        console.wait_until("host")
        self.assertEqual(console.state()["applicationPid"], host.pid)

    def test_a_host_that_does_not_answer_is_told_of_and_asked_nothing_more(self):
        self.session.start_host("--quiet", "--no-answer")
        status, lines = self.examine()
        self.assertEqual(status, 1)
        self.assertEqual([line for line in lines if line.startswith("[BROKEN] ")], lines[-1:])
        self.assertIn("no answer came", lines[-1])

    def test_without_a_host_there_is_one_line(self):
        status, lines = self.examine()
        self.assertEqual(status, 1)
        self.assertEqual(len(lines), 1)
        self.assertIn("0 processes own", lines[0])

    def test_two_hosts_are_told_of(self):
        self.session.start_host("--quiet")
        self.session.start_host("--quiet")
        status, lines = self.examine()
        self.assertEqual((status, len(lines)), (1, 1))
        self.assertIn("2 processes own", lines[0])


if __name__ == "__main__":
    unittest.main()
