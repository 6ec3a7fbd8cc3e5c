"""Several windows, watched folders and others."""

import os

from browser_fixture import BrowserTest, path_of


class WindowsTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.drawings = cls.session.make_folder("home", "drawings")
        cls.sketch = cls.make_file("sketch.txt", folder=cls.drawings)
        cls.elsewhere = cls.session.make_folder("home", "elsewhere")
        cls.make_file("stray.txt", folder=cls.elsewhere)
        cls.session.settings("folders", "add", cls.drawings)

    def tearDown(self):
        self.close_menu()
        for title in ("drawings", "elsewhere"):
            window = self.browser.find_window(title)
            if window:
                self.browser.close_window(window)
        self.browser.activate(self.window)

    def test_each_windows_menu_acts_on_its_own_selection(self):
        self.browser.select(self.window, "notes.txt")
        second = self.browser.open_window(self.drawings, "drawings")
        self.browser.select(second, "sketch.txt")
        self.browser.activate(self.window)
        self.choose("notes.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.notes])
        self.browser.activate(second)
        self.browser.choose(self.browser.open_menu_of(second, "sketch.txt"), "Access Control List…")
        self.assert_sent("showAcl:", [self.sketch])

    def test_a_late_click_acts_on_what_its_menu_was_built_for(self):
        second = self.browser.open_window(self.drawings, "drawings")
        self.browser.select(second, "sketch.txt")
        self.browser.activate(self.window)
        menu = self.browser.open_menu_of(self.window, "notes.txt")
        self.make_file("new.txt", folder=self.drawings)  # makes browsers ask anew for the other window
        self.browser.file(second, "new.txt")
        self.browser.choose(menu, "Access Control List…")
        self.assert_sent("showAcl:", [self.notes])
        os.remove(os.path.join(self.drawings, "new.txt"))

    def test_the_host_is_asked_about_the_files_of_a_folder_that_opens(self):
        letter = self.make_file("letter.txt", folder=self.drawings)
        self.browser.open_window(self.drawings, "drawings")
        self.host.line(lambda line: line.get("selector") == "openArchive:portName:" and path_of(line["argument"]) == letter)

    def test_an_unwatched_folder_has_nothing_of_ours(self):
        window = self.browser.open_window(self.elsewhere, "elsewhere")
        menu = self.browser.open_menu_of(window, "stray.txt")
        self.assertNotIn("Access Control List…", self.browser.labels(menu))
        self.session.picture("unwatched")
        self.browser.close_menu()
        menu = self.browser.open_background_menu(window)
        self.assertNotIn("Access Control List…", self.browser.labels(menu))
