"""The extension under valgrind's memcheck, from its start to its end: no wrong access, nothing undefined used, nothing lost."""

import os
import stat
import unittest

from fixture import EndToEndTest, data, dictionary, identity_of, item, node, titles

FOUND = 99  # memcheck's exit status when there is an error


class Memcheck(EndToEndTest):
    def setUp(self):
        super().setUp()
        real, programs = self.session.programs, self.session.make_folder("programs")
        for name in os.listdir(real):
            if name != "dovetail-console":
                os.symlink(os.path.join(real, name), os.path.join(programs, name))
        self.report = self.session.path("memcheck.txt")
        script = os.path.join(programs, "dovetail-console")
        with open(script, "w") as file:
            file.write('#!/bin/sh\nexec valgrind --log-file="%s" --error-exitcode=%d --leak-check=full --show-leak-kinds=definite '
                       '--errors-for-leak-kinds=definite --num-callers=30 "%s" "$@"\n'
                       % (self.report, FOUND, os.path.join(real, "dovetail-console")))
        os.chmod(script, stat.S_IRWXU)
        self.session.programs = programs

    def test_memcheck_finds_nothing_in_a_session_with_all_that_happens_in_one(self):
        path = self.make_archive()
        other = self.make_file("notes.txt")
        self.session.settings("icons", "contextual", "on")
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        items = console.menu_of(path)
        entry = next(each for each in item(items, "letters.zip")["items"] if "items" not in each)
        console.do("choose", titles=["letters.zip", entry["title"]])
        host.message("expand:")

        port = console.state()["portName"]
        tree = node("letters.zip", [node("file %d" % number, index=number) for number in range(1, 51)])
        self.send_message(port, "setArchive:", dictionary(_1=tree, _2=data(identity_of(path))))
        self.send_record(port, b"no record")
        host.message("showError:")
        self.assertEqual(len(item(console.menu_of(path), "letters.zip")["items"]), 50)

        self.session.settings("icons", "archive", "off")
        self.session.settings("folders", "add", self.session.make_folder("other"))
        self.assertIsNotNone(console.menu_of(path, other))
        # A second host makes none, as valgrind may know no process descriptors, by which the end of one is noticed.
        second = self.session.start_host()
        console.wait_until("noHost")
        self.assertEqual(titles(console.menu(3)), ["Dovetail is not running"])
        host.process.kill()
        host.wait()
        second.message("pingPortName:")
        console.do("close", folder=self.folder)
        status = console.quit()
        with open(self.report) as file:
            report = file.read()
        self.assertEqual(status, 0, report)
        self.assertIn("ERROR SUMMARY: 0 errors", report)


if __name__ == "__main__":
    unittest.main()
