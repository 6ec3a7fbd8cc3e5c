"""The console's own manners: lines, replies, prompts, ends."""

import json
import os
import signal
import unittest

from fixture import EndToEndTest, item, titles


class ConsoleLines(EndToEndTest):
    def test_a_bad_line_gets_an_error_and_changes_nothing(self):
        path = self.make_file("notes.txt")
        _, console = self.start_both()
        console.do("select", files=[path])
        menu, before = console.menu(0), console.state()
        for line in (b"", b"no json", b"[]", b"1", b"{", b"{}", b'{"do":null}', b'{"do":"fly"}', b"\xff\xfe", b'{"do":"select"}',
                     b'{"do":"open","folder":5}', b'{"do":"menu","kind":"0"}', b'{"do":"choose","at":[77]}',
                     b'{"do":"choose","titles":["Compress"]}', b'{"do":"select","files":[null]}', b"[" * 100000):
            console.send_line(line)
            self.assertEqual(list(console.reply()), ["error"], line[:40])
        self.assertEqual(console.state(), before)
        self.assertEqual(console.menu(0), menu)

    def test_replies_come_in_the_order_of_the_lines(self):
        console = self.session.start_console()
        console.process.stdin.write(b'{"do":"state"}\n{"do":"fly"}\n{"do":"toolbar"}\n{"do":"menu","kind":3}\n')
        console.process.stdin.flush()
        self.assertEqual([sorted(console.reply())[0] for _ in range(4)], ["applicationPid", "error", "image", "menu"])

    def test_messages_are_taken_between_two_lines(self):
        path = self.make_archive()
        _, console = self.start_both()
        lines = [{"do": "open", "folder": self.folder}, {"do": "wait", "until": "archive", "file": path},
                 {"do": "select", "files": [path]}, {"do": "menu", "kind": 0}]
        console.process.stdin.write(b"".join(json.dumps(line).encode() + b"\n" for line in lines))
        console.process.stdin.flush()
        replies = [console.reply() for _ in lines]
        self.assertIsNotNone(item(replies[3]["menu"]["items"], "letters.zip"))

    def test_waiting_for_what_does_not_happen_ends_with_an_error(self):
        console = self.session.start_console()
        console.send_line(b'{"do":"wait","until":"host","seconds":0.05}')
        self.assertEqual(list(console.reply()), ["error"])

    def test_the_end_of_the_input_ends_it_with_status_0(self):
        console = self.session.start_console()
        console.process.stdin.close()
        self.assertEqual(console.wait(), 0)

    def test_quit_and_the_signals_of_an_end_leave_no_socket_behind(self):
        for end in (lambda console: console.quit(),
                    lambda console: console.signal(signal.SIGTERM),
                    lambda console: console.signal(signal.SIGINT)):
            console = self.session.start_console()
            ports = os.path.join(self.session.environment["XDG_RUNTIME_DIR"], "dovetail")
            self.assertIn(console.state()["portName"], os.listdir(ports))
            end(console)
            self.assertEqual(console.wait(), 0)
            self.assertEqual([name for name in os.listdir(ports) if ".Sync." in name], [])

    def test_plain_commands_are_answered_for_people(self):
        path = self.make_file("two words.txt")
        self.session.start_host()
        lines = ["help", "select '%s'" % path, "menu", "choose 3.5.2", "choose Compress", "menu toolbar", "toolbar", "fly", "quit"]
        done = self.session.run("dovetail-console", data="\n".join(lines).encode())
        self.assertEqual(done.returncode, 0)
        output = done.stdout.decode()
        for expected in ("* watching file://", "open FOLDER", "    1  Delete…\n", "            3.5.2  GZIP\n",
                         "error: the item opens a submenu: Compress\n", "  name: Dovetail\n", "error: no such request: fly\n"):
            self.assertIn(expected, output)

    def test_an_unknown_option_is_refused_and_help_is_given(self):
        done = self.session.run("dovetail-console", "--fly")
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        done = self.session.run("dovetail-console", "--help")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        for option in (b"--json", b"--entitlements", b"--bundle-version"):
            self.assertIn(option, done.stdout)

    def test_all_images_are_drawn_into_a_folder_without_a_session(self):
        folder = self.session.path("images")
        done = self.session.run("dovetail-console", "images", folder)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
        self.assertIn("sheet.png", os.listdir(folder))
        done = self.session.run("dovetail-console", "images", "/dev/null/images")
        self.assertEqual((done.returncode, done.stderr.count(b"\n")), (1, 1))

    def test_the_toolbar_button_has_its_name_no_tool_tip_and_an_image(self):
        console = self.session.start_console()
        toolbar = console.do("toolbar")
        self.assertEqual((toolbar["name"], toolbar["toolTip"]), ("Dovetail", ""))
        self.assertTrue(toolbar["image"]["source"])

    def test_the_sidebar_has_no_menu_and_leaves_the_targets_alone(self):
        path = self.make_file("notes.txt")
        _, console = self.start_both()
        console.menu_of(path)
        console.do("select", files=[self.folder])
        self.assertIsNone(console.menu(2))
        self.assertEqual(console.state()["targetUrls"], ["file://" + path])

    def test_windows_are_counted_and_unwatched_folders_are_let_be(self):
        other = self.session.make_folder("other")
        console = self.session.start_console()
        for folder in (self.folder, self.folder, other):
            console.do("open", folder=folder)
        for folder in (self.folder, self.folder, other):
            console.do("close", folder=folder)
            self.assertEqual(titles(console.menu(3)), ["Dovetail is not running"])
        self.assertIn("error", console.ask("close", folder=self.folder))
        self.assertEqual(console.state()["observedFiles"], {self.folder: []})


if __name__ == "__main__":
    unittest.main()
