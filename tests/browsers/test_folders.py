"""Folders that are shown by several paths, or under one that changes."""

import os

from browser_fixture import BROWSER, BrowserTest


class FoldersTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.inner = cls.session.make_folder("home", "papers", "inner")
        cls.deep = cls.session.make_folder("home", "papers", "inner", "deep")
        cls.make_file("draft.txt", folder=cls.deep)

    def setUp(self):
        super().setUp()
        self.link = self.session.path("home", "shortcut")
        os.symlink(self.deep, self.link)
        self.addCleanup(os.remove, self.link)

    def tearDown(self):
        self.close_menu()
        for title in ("shortcut", "deep"):
            window = self.browser.find_window(title)
            if window:
                self.browser.close_window(window)
        self.browser.activate(self.window)

    def open_deep(self):
        window = self.browser.open_window(self.deep, "deep")
        self.browser.file(window, "draft.txt")
        return window

    def assert_new_files_are_seen(self, title, name):
        window = self.browser.window(title)
        self.browser.file(window, "draft.txt")
        added = self.make_archive(name, folder=self.deep)
        self.addCleanup(os.remove, added)
        self.browser.file(window, name)
        self.host.line(lambda line: line["event"] == "answered" and os.path.basename(line["file"]) == name)

    def test_a_folder_shown_through_a_link_is_acted_on_itself(self):
        window = self.browser.open_window(self.link, "shortcut")
        self.browser.file(window, "draft.txt")
        menu = self.browser.open_background_menu(window)
        self.assertNotIn("Checksum…", self.browser.labels(menu))
        self.browser.choose(menu, "Size Browser…")
        self.assert_sent("showSizeBrowser:", [self.deep])

    if BROWSER != "thunar":  # it sees no new files there, with the extension or without
        def test_new_files_are_seen_after_the_address_of_a_link_to_the_folder_was_typed(self):
            self.open_deep()
            self.browser.enter_address(self.link)
            self.assert_new_files_are_seen("shortcut", "added.tar.gz")

        def test_new_files_are_seen_after_the_new_address_of_a_moved_folder_was_typed(self):
            window = self.open_deep()
            moved = self.inner + " moved"
            os.rename(self.inner, moved)
            self.addCleanup(os.rename, moved, self.inner)
            self.browser.enter_address(os.path.join(moved, "deep"))
            self.browser.file(window, "draft.txt")
            added = self.make_archive("moved.tar.gz", folder=os.path.join(moved, "deep"))
            self.addCleanup(os.remove, added)
            self.browser.file(window, "moved.tar.gz")

    if BROWSER in ("caja", "nautilus"):  # the others look whether the folder is still there
        def test_the_background_acts_on_a_folder_below_a_renamed_one(self):
            window = self.open_deep()
            renamed = self.inner + " renamed"
            os.rename(self.inner, renamed)
            self.addCleanup(os.rename, renamed, self.inner)
            self.browser.choose(self.browser.open_background_menu(window), "Access Control List…")
            self.assert_sent("showAcl:", [os.path.join(renamed, "deep")])
