"""Every command, chosen in the browser's own menu, and what the host hears of it."""

from browser_fixture import BrowserTest

SEVEN_PASSES, ZIP, TAR_GZIP, MD5 = -207, 0x10000, 0x4000000 | 2, 3
OF_FILE = ["Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"]
OF_ARCHIVE = OF_FILE[:3] + ["letters.tar.gz"] + OF_FILE[3:]
OF_SEVERAL = OF_FILE[:4] + ["Size Browser…"] + OF_FILE[4:]
OF_FOLDER = OF_SEVERAL[:-1]


class CommandsTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.draft = cls.make_file("draft.txt")
        cls.folder = cls.session.make_folder("home", "papers", "sketches")

    def assert_own_items(self, menu, expected):
        self.assertEqual(self.own_labels(menu, len(expected)), expected)

    # ---- What the menus hold

    def test_a_files_menu_holds_the_users_commands_in_the_users_order(self):
        menu = self.browser.open_menu_of(self.window, "notes.txt")
        self.assert_own_items(menu, OF_FILE)
        self.assertNotIn("letters.tar.gz", self.browser.labels(menu))
        self.session.picture("file")

    def test_an_archives_menu_holds_its_contents_too(self):
        menu = self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.assert_own_items(menu, OF_ARCHIVE)
        self.assertEqual(self.browser.labels(self.browser.item(menu, "letters.tar.gz")), ["guide", "read me.txt"])

    def test_several_files_have_the_commands_for_several(self):
        menu = self.browser.open_menu_of(self.window, "draft.txt", "notes.txt")
        self.assert_own_items(menu, OF_SEVERAL)
        self.browser.open_submenus(menu, "More")
        self.assertEqual(self.browser.labels(self.browser.item(menu, "More")), ["Combined Permissions…", "Checksum…"])
        self.session.picture("more")

    def test_a_folder_has_the_commands_for_folders(self):
        self.assert_own_items(self.browser.open_menu_of(self.window, "sketches"), OF_FOLDER)

    def test_the_background_has_the_commands_for_its_folder(self):
        menu = self.browser.open_background_menu(self.window)
        self.assert_own_items(menu, OF_FOLDER)
        self.session.picture("background")
        self.browser.choose(menu, "Permissions…")
        self.assert_sent("showPermissions:", [self.watched], 0)

    # ---- The ten commands

    def test_delete_reaches_the_host(self):
        self.choose("notes.txt", "Delete…")
        self.assert_sent("delete:", [self.notes], -203)

    def test_a_level_of_secure_deletion_reaches_the_host(self):
        self.choose("notes.txt", "Secure Delete…", "Medium Security (7 passes)")
        self.assert_sent("delete:", [self.notes], SEVEN_PASSES)

    def test_a_format_reaches_the_host(self):
        self.choose("notes.txt", "Compress", "ZIP")
        self.assert_sent("compress:", [self.notes], ZIP)

    def test_a_format_with_its_compression_reaches_the_host(self):
        menu = self.browser.open_menu_of(self.window, "notes.txt")
        self.browser.open_submenus(menu, "Compress", "TAR")
        self.session.picture("compress")
        self.browser.choose(menu, "Compress", "TAR", "GZIP")
        self.assert_sent("compress:", [self.notes], TAR_GZIP)

    def test_rename_reaches_the_host(self):
        self.choose("sketches", "Rename…")
        self.assert_sent("rename:", [self.folder])

    def test_size_browser_reaches_the_host(self):
        self.choose("sketches", "Size Browser…")
        self.assert_sent("showSizeBrowser:", [self.folder])

    def test_permissions_reach_the_host(self):
        self.choose("notes.txt", "Permissions…")
        self.assert_sent("showPermissions:", [self.notes], 0)

    def test_combined_permissions_reach_the_host(self):
        self.choose(["draft.txt", "notes.txt"], "More", "Combined Permissions…")
        self.assert_sent("showPermissions:", [self.draft, self.notes], 1)

    def test_the_access_control_list_reaches_the_host(self):
        self.choose("notes.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.notes])

    def test_a_checksum_reaches_the_host_for_files_alone(self):
        self.choose(["notes.txt", "sketches"], "More", "Checksum…", "MD5")
        self.assert_sent("showChecksum:", [self.notes], MD5)

    def test_an_entry_three_levels_down_reaches_the_host(self):
        menu = self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.open_submenus(menu, "letters.tar.gz", "guide", "chapters")
        self.session.picture("archive")
        self.browser.choose(menu, "letters.tar.gz", "guide", "chapters", "second page.txt")
        self.assert_sent("expand:", [self.archive], [0, 0, 1])
