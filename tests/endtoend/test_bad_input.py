"""What nobody vouches for: records, arguments, names, and files that vanish."""

import os
import struct
import unittest

from fixture import (DEADLINE, EndToEndTest, data, dictionary, dovetail_archives, identity_of, item, node, option,
                     path_of_url, text, titles)


class BadInput(EndToEndTest):
    def test_bytes_that_are_no_record_are_reported_to_the_host_once_each(self):
        host, console = self.start_both()
        port = console.state()["portName"]
        whole = self.archive_of({"t": "msg", "selector": text("setArchive:"), "argument": None, "portName": None})
        rubbish = [b"x", b"bplist00", b"\xff" * 60000, whole[:-1], whole[:40], whole.replace(b"DTMessage", b"NSProcess"),
                   whole[:-32] + struct.pack(">6xBBQQQ", 1, 1, 2**40, 2**40, 2**60)]
        for record in rubbish:
            self.send_record(port, record)
            argument = host.message("showError:")["argument"]
            self.assertEqual((argument["domain"], argument["code"]), ("DTMessageErrorDomain", "2"))
            info = {key["v"]: value["v"] for key, value in argument["info"]["v"]}
            self.assertEqual(info, {
                "NSLocalizedDescription": "Finder extension failed to receive message from application",
                "NSLocalizedRecoverySuggestion": "There was an error unarchiving received message."})
        self.assertEqual(self.sent(host, console), [])

    def test_records_without_a_selector_or_with_an_unknown_one_are_ignored(self):
        host, console = self.start_both()
        port = console.state()["portName"]
        self.send_message(port, None, text("argument"))
        for selector in ("noSuchMethod:", "dealloc", "setApplicationPid:", "setPort:", "", "set\u0000Archive:"):
            self.send_message(port, selector, {"t": "int", "v": "1"})
        for selector in ("showError:", "pingPortName:", "openArchive:portName:"):
            self.send_message(port, selector, text("argument"))
        self.send_record(port, self.archive_of(text("no record at all")))
        self.assertEqual(self.sent(host, console), [])
        self.assertEqual(console.state()["applicationPid"], host.pid)

    def test_a_table_of_contents_of_a_wrong_kind_is_ignored(self):
        path = self.make_file("notes.txt")
        host, console = self.start_both()
        port = console.state()["portName"]
        tree, identity = node("notes.txt", []), data(identity_of(path))
        for argument in (None, text("text"), tree, dictionary(), dictionary(_1=tree), dictionary(_2=identity),
                         dictionary(_1=text("tree"), _2=identity), dictionary(_1=tree, _2=text("identity")),
                         dictionary(_1=tree, _2=data(b"")), dictionary(_1=tree, _2=data(b"x" * 4096)),
                         dictionary(_1={"t": "null"}, _2=identity)):
            self.send_message(port, "setArchive:", argument)
        self.assertEqual(self.sent(host, console), [])
        self.assertIsNone(item(console.menu_of(path), "notes.txt"))

    def test_a_new_table_of_contents_takes_the_place_of_the_old(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertEqual(titles(item(console.menu_of(path), "letters.zip")["items"]), ["guide", "read me.txt"])
        tree = node("new name.zip", [node("first", index=1), node("second", index=2)])
        self.send_message(console.state()["portName"], "setArchive:", dictionary(_1=tree, _2=data(identity_of(path))))
        console.wait_until("archiveMenus", count=0)
        self.assertEqual(titles(item(console.menu_of(path), "new name.zip")["items"]), ["first", "second"])
        console.do("choose", titles=["new name.zip", "second"])
        self.assertEqual(option(host.message("expand:"), "2"), {"t": "ipath", "v": ["1"]})

    def test_a_table_of_contents_with_strange_names_is_shown_and_chosen_like_any_other(self):
        path = self.make_archive()
        host, console = self.start_both()
        names = ["", "a\nb", "\u202egpj.exe", "x" * 300, "_under_score", "/", "…"]
        tree = node("letters.zip", [node(name, index=number + 1) for number, name in enumerate(names)])
        self.send_message(console.state()["portName"], "setArchive:", dictionary(_1=tree, _2=data(identity_of(path))))
        console.wait_until("archive", file=path)
        items = console.menu_of(path)
        self.assertEqual(titles(item(items, "letters.zip")["items"]), names)
        place = titles(items).index("letters.zip")
        for position in range(len(names)):
            console.do("choose", at=[place, position])
            self.assertEqual(option(host.message("expand:"), "2"), {"t": "ipath", "v": [str(position)]})

    def test_names_that_are_not_utf8_reach_the_host_as_their_bytes(self):
        name = dovetail_archives.NOT_UTF8.decode("utf-8", "surrogateescape")
        path = self.make_file(name)
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        self.assertEqual(self.asked(host, console), [path])
        console.menu_of(path)
        console.do("choose", titles=["Rename…"])
        message = host.message("rename:")
        self.assertEqual([path_of_url(url) for url in message["argument"]["v"]], [path])
        self.assertIn("caf%E9.txt", message["argument"]["v"][0]["rel"])
        self.assertEqual(console.state()["observedFiles"], {self.folder: [path]})

    def test_a_file_that_has_vanished_is_neither_asked_about_nor_given_a_menu(self):
        path = self.make_archive()
        host, console = self.start_both()
        os.unlink(path)
        console.do("badge", file=path)
        console.do("begin", folder=os.path.join(self.folder, "gone"))
        console.do("end", folder=os.path.join(self.folder, "gone"))
        self.assertEqual(self.asked(host, console), [])
        self.assertIsNone(console.menu_of(path))
        self.assertIn("error", console.ask("open", folder=os.path.join(self.folder, "gone")))

    def test_an_archive_that_vanishes_after_its_menu_was_shown_sends_nothing_and_harms_nothing(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        console.menu_of(path)
        os.unlink(path)
        self.assertIn("nothing was sent", console.ask("choose", titles=["letters.zip", "read me.txt"])["error"])
        self.assertEqual([message["selector"] for message in self.sent(host, console)
                          if message["selector"] == "expand:"], [])

    def test_a_folder_that_cannot_be_listed_is_entered_with_no_files(self):
        closed = os.path.join(self.folder, "closed")
        os.mkdir(closed)
        self.make_archive(folder=closed)
        os.chmod(closed, 0)
        host, console = self.start_both()
        console.do("open", folder=closed)
        if os.geteuid() == 0:  # whom nothing is closed to
            self.assertEqual(console.state()["observedFiles"], {closed: [os.path.join(closed, "letters.zip")]})
        else:
            self.assertEqual(console.state()["observedFiles"], {closed: []})
        self.assertEqual(console.do("close", folder=closed), {"ok": True})

    def test_an_archive_put_in_the_place_of_another_is_a_new_file(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.make_archive("new.zip", [("other.txt", b"")], folder=self.session.folder)
        os.replace(self.session.path("new.zip"), path)
        self.assertIsNone(item(console.menu_of(path), "letters.zip"))
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertEqual(titles(item(console.menu_of(path), "letters.zip")["items"]), ["other.txt"])

    def test_a_file_that_is_no_archive_whatever_its_name_gets_no_item(self):
        path = self.make_file("letters.zip", os.urandom(5000))
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        host.line(lambda line: line["event"] == "unanswered", DEADLINE)
        self.assertIsNone(item(console.menu_of(path), "letters.zip"))


if __name__ == "__main__":
    unittest.main()
