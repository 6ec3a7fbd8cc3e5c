"""Failures of the link, and how the host hears of them without a port."""

import unittest

from fixture import EndToEndTest, titles

PLIST = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>%s</dict></plist>
"""
GROUPS = "<key>com.apple.security.application-groups</key>"
SEND_FAILURE = "Finder extension failed to send message to application"


class Failures(EndToEndTest):
    def start_with(self, name, text):
        path = self.make_file(name + ".entitlements", text.encode(), folder=self.session.folder)
        return self.session.start_console("--entitlements", path)

    def assert_failure(self, name, text, reason):
        host = self.session.start_host()
        console = self.start_with(name, text)
        self.assertEqual(host.notification(), {"NSLocalizedDescription": SEND_FAILURE, "NSLocalizedRecoverySuggestion": reason})
        state = console.state()
        self.assertEqual((state["portName"], state["portOpen"], state["applicationPid"]), (None, False, -1))
        self.assertEqual(titles(console.menu(3)), ["Dovetail is not running"])
        self.assertEqual(console.quit(), 0)
        host.process.terminate()
        host.wait()
        self.assertEqual(len([line for line in host.seen if line["event"] == "notification"]), 1)

    def test_entitlements_that_cannot_be_read_are_reported(self):
        self.assert_failure("none", "no property list", "There was an error creating security task for Finder extension.")

    def test_entitlements_without_groups_are_reported(self):
        self.assert_failure("missing", PLIST % "", "There was an error getting application groups security entitlement.")

    def test_an_empty_list_of_groups_is_reported(self):
        self.assert_failure("empty", PLIST % (GROUPS + "<array/>"), "Application groups security entitlement is empty.")

    def test_a_group_that_stands_in_no_list_is_reported_as_an_empty_list(self):
        self.assert_failure("text", PLIST % (GROUPS + "<string>org.dovetail.group</string>"),
                            "Application groups security entitlement is empty.")

    def test_a_first_group_that_is_no_text_is_reported_whatever_follows(self):
        self.assert_failure("number", PLIST % (GROUPS + "<array><integer>1</integer><string>org.dovetail.group</string></array>"),
                            "Application groups security entitlement is of unknown type.")

    def test_the_first_of_two_groups_names_the_ports_and_the_settings(self):
        host = self.session.start_host()
        console = self.start_with("two", PLIST % (GROUPS + "<array><string>org.dovetail.group</string><string>b</string></array>"))
        console.wait_until("host")
        self.assertEqual(host.message("pingPortName:")["argument"]["v"], "org.dovetail.group.Sync.%d" % console.pid)

    def test_a_file_of_entitlements_that_is_not_there_ends_the_console_with_a_word(self):
        done = self.session.run("dovetail-console", "--entitlements", self.session.path("gone"))
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.stderr.splitlines()), 1)

    def test_messages_for_a_host_that_is_away_vanish_without_a_report(self):
        self.make_archive()
        console = self.session.start_console()
        console.do("open", folder=self.folder)
        host = self.session.start_host()
        console.wait_until("host")
        host.process.terminate()
        host.wait()
        self.assertEqual([line for line in host.seen if line["event"] == "notification"], [])

    def test_the_port_of_a_host_that_restarted_is_opened_anew(self):
        path = self.make_file("notes.txt")
        first, console = self.start_both()
        first.process.kill()
        first.wait()
        console.wait_until("noHost")
        second = self.session.start_host()
        console.wait_until("host")
        console.menu_of(path)
        console.do("choose", titles=["Rename…"])
        second.message("rename:")
        self.assertTrue(console.state()["portOpen"])


if __name__ == "__main__":
    unittest.main()
