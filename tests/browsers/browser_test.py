"""The extension in a real file browser, its menus opened and chosen from, and the host that hears of it.

Run by graphical_session.py, once for each browser."""

import os
import sys
import unittest
import urllib.parse

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from graphical_session import GraphicalSession  # noqa: E402

import dovetail_archives  # noqa: E402

BROWSER = os.environ["DOVETAIL_BROWSER"]
TAR_GZIP = 0x4000000 | 2
COMMANDS = ["Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"]


def paths_of(argument):
    """The paths of an array of URLs."""
    return [url_path(url) for url in argument["v"]]


def url_path(url):
    return urllib.parse.unquote(urllib.parse.urlparse(url["rel"]).path)


def choice_of(message):
    """What a message acts on, and its number or index path."""
    option = {key["v"]: value for key, value in message["argument"]["v"]}
    subject = option["1"]
    paths = paths_of(subject) if subject["t"] == "array" else [url_path(subject)]
    choice = option["2"]["v"]
    return paths, [int(each) for each in choice] if isinstance(choice, list) else int(choice)


class BrowserTest(unittest.TestCase):
    """One session and one browser for all tests: each leaves no menu open and the first folder shown."""

    @classmethod
    def setUpClass(cls):
        cls.session = GraphicalSession(BROWSER)
        import file_browser
        cls.driver = file_browser
        cls.watched = cls.session.make_folder("home", "papers")
        cls.unwatched = cls.session.make_folder("home", "elsewhere")
        cls.archive = os.path.join(cls.watched, "letters.tar.gz")
        dovetail_archives.make_tar(cls.archive, "gz")
        for folder in (cls.watched, cls.unwatched):
            with open(os.path.join(folder, "notes.txt"), "w") as file:
                file.write("remember the milk\n")
        cls.session.settings("folders", "add", cls.watched)
        cls.session.settings("icons", "contextual", "on")
        cls.host = cls.session.start_host()
        cls.browser = cls.driver.BROWSERS[BROWSER](cls.session, cls.watched)
        cls.window = cls.browser.window("papers")
        cls.host.message("openArchive:portName:")

    @classmethod
    def tearDownClass(cls):
        cls.session.close()

    def choose(self, name, *way):
        menu = self.browser.open_menu_of(self.window, name)
        self.browser.choose(menu, *way)
        self.driver.wait_for("no menu", lambda: not self.browser.shown_menu())

    def test_the_menu_holds_the_users_commands_in_the_users_order(self):
        menu = self.browser.open_menu_of(self.window, "notes.txt")
        labels = self.browser.labels(menu)
        first = labels.index(COMMANDS[0])
        self.assertEqual(labels[first:first + len(COMMANDS)], COMMANDS)
        self.session.picture("commands")
        self.browser.close_menu()

    def test_a_chosen_format_reaches_the_host(self):
        self.choose("letters.tar.gz", "Compress", "TAR", "GZIP")
        self.assertEqual(choice_of(self.host.message("compress:")), ([self.archive], TAR_GZIP))

    def test_an_entry_three_levels_down_reaches_the_host(self):
        menu = self.browser.open_menu_of(self.window, "letters.tar.gz")
        way = ["letters.tar.gz", "guide", "chapters", "one"]
        self.browser.open_submenus(menu, *way)
        self.session.picture("archive")
        self.browser.choose(menu, *way, "first page.txt")
        self.assertEqual(choice_of(self.host.message("expand:")), ([self.archive], [0, 0, 0, 0]))


if __name__ == "__main__":
    unittest.main(verbosity=2)
