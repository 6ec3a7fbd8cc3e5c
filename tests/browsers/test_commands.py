"""Every command, chosen in the browser's own menu, and what the host hears of it."""

import os

from browser_fixture import BrowserTest

ZIP, TAR_GZIP = 0x10000, 0x4000000 | 2
COMMANDS = ["Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"]


class CommandsTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.draft = cls.make_file("draft.txt")
        cls.folder = cls.session.make_folder("home", "papers", "sketches")

    def assert_own_items(self, menu, expected):
        self.assertEqual(self.own_labels(menu)[:len(expected)], expected)

    def test_the_menu_holds_the_users_commands_in_the_users_order(self):
        menu = self.browser.open_menu_of(self.window, "notes.txt")
        self.assert_own_items(menu, COMMANDS)
        self.session.picture("file")

    def test_a_chosen_format_reaches_the_host(self):
        self.choose("letters.tar.gz", "Compress", "TAR", "GZIP")
        self.assert_sent("compress:", [self.archive], TAR_GZIP)

    def test_an_entry_three_levels_down_reaches_the_host(self):
        menu = self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.open_submenus(menu, "letters.tar.gz", "guide", "chapters")
        self.session.picture("archive")
        self.browser.choose(menu, "letters.tar.gz", "guide", "chapters", "second page.txt")
        self.assert_sent("expand:", [self.archive], [0, 0, 1])
