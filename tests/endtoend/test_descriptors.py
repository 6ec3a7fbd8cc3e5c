"""A file browser that has no descriptor left."""

import os
import resource
import unittest

from fixture import EndToEndTest, titles


class Descriptors(EndToEndTest):
    def test_a_browser_without_descriptors_lives_and_works_again_when_it_has_some(self):
        path = self.make_archive()
        host, console = self.start_both()
        # Below the number of what is open poll(2) fails too.
        _, hard = resource.prlimit(console.pid, resource.RLIMIT_NOFILE)
        resource.prlimit(console.pid, resource.RLIMIT_NOFILE, (len(os.listdir("/proc/%d/fd" % console.pid)), hard))
        console.ask("open", folder=self.folder)
        self.assertIn("Rename…", titles(console.menu_of(path, kind=3)))
        console.do("choose", titles=["Rename…"])
        host.message("rename:")
        host.process.kill()
        host.wait()
        console.wait_until("noHost")
        second = self.session.start_host()
        self.assertIsNotNone(console.state())
        second.process.kill()
        second.wait()
        console.menu_of(path)
        resource.prlimit(console.pid, resource.RLIMIT_NOFILE, (1024, hard))
        console.do("open", folder=self.folder)
        third = self.session.start_host()
        console.wait_until("archive", file=path)
        self.assertEqual(console.state()["applicationPid"], third.pid)
        third.process.kill()
        third.wait()
        console.wait_until("noHost")


if __name__ == "__main__":
    unittest.main()
