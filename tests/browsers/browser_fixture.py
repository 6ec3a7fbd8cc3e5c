"""What the tests of the real browsers share: a session with a watched folder, the host, and one browser on the folder."""

import os
import sys
import unittest
import urllib.parse

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from graphical_session import GraphicalSession  # noqa: E402

import dovetail_archives  # noqa: E402
from dovetail_session import Late  # noqa: E402

BROWSER = os.environ["DOVETAIL_BROWSER"]


def path_of(url):
    return urllib.parse.unquote(urllib.parse.urlparse(url["rel"]).path, errors="surrogateescape").rstrip("/")


def paths_of(argument):
    """The paths of an array of URLs."""
    return [path_of(url) for url in argument["v"]]


def choice_of(message):
    """What a message acts on, and its number or index path."""
    option = {key["v"]: value for key, value in message["argument"]["v"]}
    subject = option["1"]
    paths = paths_of(subject) if subject["t"] == "array" else [path_of(subject)]
    choice = option["2"]["v"]
    return paths, [int(each) for each in choice] if isinstance(choice, list) else int(choice)


class BrowserTest(unittest.TestCase):
    """One session, host and browser for all tests of a class. A test leaves the host running and the first window in front."""

    maxDiff = None
    browser_class = None

    @classmethod
    def setUpClass(cls):
        cls.session = GraphicalSession(BROWSER)
        cls.addClassCleanup(cls.session.close)
        cls.watched = cls.session.make_folder("home", "papers")
        cls.session.settings("folders", "add", cls.watched)
        cls.make_files()
        cls.host = cls.session.start_host()
        cls.start_browser()
        cls.wait_for_archives()

    @classmethod
    def start_browser(cls):
        from file_browser import BROWSERS
        cls.browser = BROWSERS[BROWSER](cls.session, cls.watched)
        cls.window = cls.browser.window("papers")

    @classmethod
    def make_files(cls):
        """What stands in the watched folder when the browser starts."""
        cls.archive = cls.make_archive("letters.tar.gz")
        cls.notes = cls.make_file("notes.txt")

    @classmethod
    def wait_for_archives(cls):
        """Until the host has answered for the first archive."""
        cls.host.line(lambda line: line["event"] == "answered" and line["file"] == cls.archive)

    @classmethod
    def make_file(cls, name, data=b"remember the milk\n", folder=None):
        path = os.path.join(folder or cls.watched, name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    @classmethod
    def make_archive(cls, name, entries=dovetail_archives.ENTRIES, folder=None):
        path = os.path.join(folder or cls.watched, name)
        dovetail_archives.make_tar(path, "gz", entries)
        return path

    def run(self, result=None):
        """Keeps a picture of a test that failed."""
        faults = len(result.failures) + len(result.errors)
        super().run(result)
        if len(result.failures) + len(result.errors) > faults:
            self.session.picture("failed-" + self._testMethodName)

    def setUp(self):
        self.close_menu()
        self.browser.select_nothing(self.window)

    def close_menu(self):
        if self.browser.shown_menu():
            self.browser.close_menu()

    def wait_for(self, what, condition):
        from accessibility import wait_for
        return wait_for(what, condition)

    def menu_when(self, name, condition):
        """The menu of a file, opened again until it is as it should be: what was changed outside takes its time to the menu."""
        def opened():
            menu = self.browser.open_menu_of(self.window, name)
            if condition(menu):
                return menu
            self.browser.close_menu()
            return None
        return self.wait_for("a menu of %r" % name, opened)

    def open_menu_with(self, label, name):
        return self.menu_when(name, lambda menu: self.browser.has_item(menu, label))

    def own_labels(self, menu, count):
        """So many labels from the extension's first one, which is "Delete…" when the lists are a new user's."""
        labels = self.browser.labels(menu)
        return labels[labels.index("Delete…"):][:count] if "Delete…" in labels else []

    def choose(self, names, *way):
        names = [names] if isinstance(names, str) else names
        self.browser.choose(self.browser.open_menu_of(self.window, *names), *way)

    def assert_sent(self, selector, paths, choice=None):
        """The next message of that selector acts on these files, with that choice."""
        message = self.host.message(selector)
        if choice is None:
            self.assertEqual(paths_of(message["argument"]), paths)
        else:
            self.assertEqual(choice_of(message), (paths, choice))
