"""The demonstration itself: it passes, and fails when something is not as it says."""

import os
import subprocess
import sys
import tempfile
import unittest

from fixture import ROOT, Session


class Demonstration(unittest.TestCase):
    def run_with(self, programs, **environment):
        script = os.path.join(ROOT, "scripts", "demonstration.py")
        return subprocess.run([sys.executable, "-B", script], env=dict(os.environ, DOVETAIL_PROGRAMS=programs, **environment),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120)

    def test_it_shows_all_six_steps_and_ends_with_status_0(self):
        with Session() as session:
            programs = session.programs
        done = self.run_with(programs)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        output = done.stdout.decode()
        for number in range(1, 7):
            self.assertIn("\n%d. " % number, output)
        self.assertIn("tag 0x4000002", output)

    def test_it_fails_when_the_host_answers_nothing(self):
        with Session() as session, tempfile.TemporaryDirectory() as folder:
            for name in os.listdir(session.programs):
                os.symlink(os.path.join(session.programs, name), os.path.join(folder, name))
            host = os.path.join(folder, "dovetail-host")
            os.unlink(host)
            with open(host, "w") as file:
                file.write('#!/bin/sh\nexec "%s/dovetail-host" --bundle-version other "$@"\n' % session.programs)
            os.chmod(host, 0o755)
            done = self.run_with(folder, DOVETAIL_DEADLINE="2")
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"This is not as it should be.", done.stderr)


if __name__ == "__main__":
    unittest.main()
