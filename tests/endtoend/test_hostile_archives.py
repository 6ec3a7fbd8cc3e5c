"""Archives that somebody made to do harm, and ones far larger than any real one, sent to a browser by the port."""

import os
import subprocess
import unittest

from fixture import ROOT, EndToEndTest, identity_of, item
from process_facts import IS_SANITIZED, MEBIBYTE, peak_memory, reset_peak_memory, resident_memory

PROGRAM = os.environ.get("DOVETAIL_ODD_ARCHIVES") or os.path.join(ROOT, "build", "tests", "odd-archives")
CERTAINLY_REFUSED = [
    "archives inside archives 4097", "archives inside archives 50000", "arrays inside arrays 513", "arrays inside arrays 500000",
    "bases of bases", "doubled NSArray", "doubled NSSet", "a megabyte of data many times", "a megabyte of text many times"]


class HostileArchives(EndToEndTest):
    def records(self, *words):
        """The names of what the program writes."""
        self.records_folder = self.session.make_folder("records")
        subprocess.run([PROGRAM, *words, self.records_folder], check=True)
        return sorted(os.listdir(self.records_folder))

    def read(self, name):
        with open(os.path.join(self.records_folder, name), "rb") as file:
            return file.read()

    def test_a_hostile_archive_is_refused_with_one_error_or_ignored_and_takes_no_more_than_its_share(self):
        host, console = self.start_both()
        port = console.state()["portName"]
        names = self.records("hostile")
        self.assertLessEqual(set(CERTAINLY_REFUSED), set(names))
        for name in names:
            record = self.read(name)
            reset_peak_memory(console.pid)
            before = resident_memory(console.pid)
            self.send_record(port, record)
            self.send_record(port, b"no record")  # taken after the other
            errors = [message["argument"]["code"] for message in (host.message("showError:"), *self.sent(host, console))]
            self.assertIn(errors, [["2"], ["2", "2"]], name)
            if name in CERTAINLY_REFUSED:
                self.assertEqual(len(errors), 2, name)
            if not IS_SANITIZED:  # which takes several times the memory, and keeps what was given back
                # The record itself and the copy of it that is handed on are in it.
                self.assertLess(peak_memory(console.pid) - before, 64 * MEBIBYTE + 4 * len(record), name)

    def test_archives_far_larger_than_any_real_one_pass(self):
        path = self.make_file("large.zip")
        host, console = self.start_both()
        port = console.state()["portName"]
        for name in self.records("large", identity_of(path).hex()):
            record = self.read(name)
            self.send_record(port, record)
            self.assertEqual(self.sent(host, console), [], name)
            shown = console.menu_of(path)
            if name == "a hundred levels":
                self.assertIsNotNone(item(shown, *["folder"] * 100, "last.txt"))
            elif name == "sixty-four megabytes":
                self.assertGreater(len(record), 64 * MEBIBYTE)
                self.assertEqual([len(folder["items"]) for folder in item(shown, "large.zip")["items"]], [480] * 300)
            else:
                self.assertIsNotNone(item(shown, "large.zip"))
            self.assertEqual(console.state()["applicationPid"], host.pid)


if __name__ == "__main__":
    unittest.main()
