"""The toolbar button, where the browser has one."""

import os
import signal

from browser_fixture import BrowserTest

OF_FILE = ["Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"]


class ToolbarTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.elsewhere = cls.session.make_folder("home", "elsewhere")
        cls.stray = cls.make_file("stray.txt", folder=cls.elsewhere)

    def labels_of_button(self, window):
        labels = self.browser.labels(self.browser.open_toolbar_menu(window))
        self.browser.close_menu()
        return labels

    def test_the_button_pops_the_selections_menu_up(self):
        self.browser.select(self.window, "notes.txt")
        menu = self.browser.open_toolbar_menu(self.window)
        self.assertEqual(self.browser.labels(menu), OF_FILE)
        self.session.picture("toolbar")
        self.browser.choose(menu, "Compress", "TAR", "GZIP")
        self.assert_sent("compress:", [self.notes], 0x4000000 | 2)

    def test_an_archives_entry_can_be_chosen_from_the_button(self):
        self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.close_menu()
        menu = self.browser.open_toolbar_menu(self.window)
        self.browser.choose(menu, "letters.tar.gz", "guide", "cover.png")
        self.assert_sent("expand:", [self.archive], [0, 1])

    def test_without_a_selection_the_button_acts_on_the_folder(self):
        self.browser.choose(self.browser.open_toolbar_menu(self.window), "Access Control List…")
        self.assert_sent("showAcl:", [self.watched])

    def test_the_button_acts_in_an_unwatched_folder_too(self):
        window = self.browser.open_window(self.elsewhere, "elsewhere")
        self.browser.select(window, "stray.txt")
        self.browser.choose(self.browser.open_toolbar_menu(window), "Access Control List…")
        self.assert_sent("showAcl:", [self.stray])
        self.browser.close_window(window)
        self.browser.activate(self.window)

    def test_the_button_tells_that_the_host_is_not_running(self):
        self.host.signal(signal.SIGKILL)
        self.wait_for("the disabled line", lambda: self.labels_of_button(self.window) == ["Dovetail is not running"])
        menu = self.browser.open_toolbar_menu(self.window)
        self.assertFalse(self.browser.is_enabled(self.browser.items(menu)[0]))
        self.session.picture("not-running")
        self.browser.close_menu()
        type(self).host = self.session.start_host()
        self.wait_for("the commands", lambda: "Delete…" in self.labels_of_button(self.window))

    def test_the_button_has_lists_of_its_own(self):
        self.session.settings("items", "toolbar", "root=3", "more=")
        self.wait_for("the changed list", lambda: self.labels_of_button(self.window) == ["Access Control List…"])
        self.session.settings("items", "toolbar", "reset")
        self.wait_for("the usual list", lambda: "Delete…" in self.labels_of_button(self.window))


class ToolbarPictureTest(BrowserTest):
    """With a desktop that tells the browser its theme."""

    @classmethod
    def start_browser(cls):
        cls.write_theme("HighContrast")
        cls.desktop = cls.session.spawn(["xsettingsd", "-c", cls.session.path("xsettings")])
        super().start_browser()

    @classmethod
    def write_theme(cls, name):
        with open(cls.session.path("xsettings"), "w") as file:
            file.write('Net/ThemeName "%s"\n' % name)

    def change_theme(self, name):
        self.write_theme(name)
        os.kill(self.desktop.pid, signal.SIGHUP)

    def colours(self):
        """The darkest and the lightest where the button is, from 0 to 1."""
        return self.session.brightness(self.browser.toolbar_button(self.window))

    def test_the_picture_can_be_seen_on_a_light_and_on_a_dark_theme(self):
        self.wait_for("a dark picture on light ground", lambda: self.colours()[0] < 0.3 and self.colours()[1] > 0.8)
        self.change_theme("HighContrastInverse")
        self.wait_for("dark ground", lambda: self.colours()[0] < 0.2)
        self.wait_for("a light picture on it", lambda: self.colours()[1] > 0.8)
        self.session.picture("dark")
        self.change_theme("HighContrast")
        self.wait_for("a dark picture again", lambda: self.colours()[0] < 0.3 and self.colours()[1] > 0.8)
