"""What changes while the browser runs: settings, the host's life, an archive's contents, the files themselves."""

import os
import signal

from browser_fixture import BROWSER, BrowserTest

NEW_USERS = ["Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"]


class SettingsTest(BrowserTest):

    def tearDown(self):
        self.session.settings("items", "contextual", "reset")
        self.session.settings("icons", "contextual", "off")

    def test_the_next_menu_follows_changed_lists(self):
        self.menu_when("notes.txt", lambda menu: self.own_labels(menu, 7) == NEW_USERS)
        self.browser.close_menu()
        self.session.settings("items", "contextual", "root=3,7", "more=9")
        expected = ["Access Control List…", "Delete…", "More"]
        menu = self.menu_when("notes.txt", lambda menu: [label for label in self.browser.labels(menu)
                                                         if label in NEW_USERS][-3:] == expected)
        self.session.picture("changed-lists")
        self.assertEqual(self.browser.labels(self.browser.item(menu, "More")), ["Compress"])

    def test_empty_lists_leave_nothing_in_the_menu(self):
        self.session.settings("items", "contextual", "root=", "more=")
        self.menu_when("notes.txt", lambda menu: not self.browser.has_item(menu, "Access Control List…"))

    if BROWSER != "nautilus":  # it draws no icons
        def test_icons_come_and_go_with_their_setting(self):
            self.menu_when("notes.txt", lambda menu: not self.session.has_icon(self.browser.item(menu, "Permissions…")))
            self.browser.close_menu()
            self.session.settings("icons", "contextual", "on")
            menu = self.menu_when("notes.txt", lambda menu: self.session.has_icon(self.browser.item(menu, "Permissions…")))
            self.assertTrue(self.session.has_icon(self.browser.item(menu, "More")))
            self.session.picture("icons")

        def test_an_archive_has_its_icon_whatever_the_setting(self):
            menu = self.open_menu_with("letters.tar.gz", "letters.tar.gz")
            self.assertTrue(self.session.has_icon(self.browser.item(menu, "letters.tar.gz")))


class SelectionTest(BrowserTest):

    def test_the_browser_complains_of_nothing_while_the_selection_changes(self):
        self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.close_menu()
        known = len(self.session.error_text())
        for name in ("notes.txt", "letters.tar.gz") * 3:
            self.browser.select_nothing(self.window)
            self.browser.open_menu_of(self.window, name)
            self.browser.close_menu()
        said = self.session.error_text()[known:].splitlines()
        # What is asked here for the places of its items, GTK 4 answers with a warning.
        self.assertEqual([line for line in said if "Gtk" in line and "Screen coordinates" not in line], [])


class HostTest(BrowserTest):

    def tearDown(self):
        self.close_menu()
        self.menu_when("letters.tar.gz", lambda menu: self.browser.has_item(menu, "letters.tar.gz"))

    def menu_without_us(self):
        return self.menu_when("letters.tar.gz", lambda menu: not self.browser.has_item(menu, "Access Control List…"))

    def restart_host(self):
        type(self).host = self.session.start_host()

    def test_a_killed_host_leaves_nothing_in_the_menu_until_it_is_back(self):
        self.open_menu_with("letters.tar.gz", "letters.tar.gz")
        self.browser.close_menu()
        self.host.signal(signal.SIGKILL)
        self.menu_without_us()
        self.session.picture("no-host")
        self.browser.close_menu()
        self.restart_host()
        self.open_menu_with("letters.tar.gz", "letters.tar.gz")

    def test_each_host_that_comes_is_asked_about_the_shown_archives_before_any_menu_is(self):
        for _ in range(3):
            self.host.signal(signal.SIGKILL)
            self.host.wait()
            self.menu_without_us()
            self.browser.close_menu()
            self.browser.select_nothing(self.window)
            self.restart_host()
            self.host.line(lambda line: line["event"] == "answered" and line["file"] == self.archive)
            self.open_menu_with("letters.tar.gz", "letters.tar.gz")
            self.browser.close_menu()

    def test_a_host_of_another_version_leaves_nothing_in_the_menu(self):
        self.host.signal(signal.SIGTERM)
        self.host.wait()
        other = self.session.start_host("--bundle-version", "9.9")
        self.menu_without_us()
        self.browser.close_menu()
        other.signal(signal.SIGTERM)
        other.wait()
        self.assertFalse([line for line in other.seen if line["event"] == "message"])
        self.restart_host()

    def test_contents_that_arrive_late_are_in_the_next_menu_and_leave_the_open_one_alone(self):
        self.host.signal(signal.SIGSTOP)
        late = self.make_archive("late.tar.gz")
        self.browser.file(self.window, "late.tar.gz")
        menu = self.browser.open_menu_of(self.window, "late.tar.gz")
        before = self.browser.labels(menu)
        self.assertIn("Access Control List…", before)
        self.assertNotIn("late.tar.gz", before)
        self.host.signal(signal.SIGCONT)
        self.host.line(lambda line: line["event"] == "answered" and line["file"] == late)
        self.assertEqual(self.browser.labels(self.browser.shown_menu()), before)
        self.browser.choose(self.browser.shown_menu(), "Access Control List…")
        self.assert_sent("showAcl:", [late])
        self.open_menu_with("late.tar.gz", "late.tar.gz")


class FilesTest(BrowserTest):

    @classmethod
    def make_files(cls):
        super().make_files()
        cls.secret = cls.make_file(".secret.txt")
        cls.link = os.path.join(cls.watched, "latest")
        os.symlink("letters.tar.gz", cls.link)
        cls.locked = cls.session.make_folder("home", "papers", "locked")
        os.chmod(cls.locked, 0)
        cls.marked = cls.make_file("my_file & <b>.txt")

    def test_a_renamed_file_is_acted_on_under_its_new_name(self):
        old = self.make_file("before.txt")
        self.browser.file(self.window, "before.txt")
        new = os.path.join(self.watched, "after.txt")
        os.rename(old, new)
        self.choose("after.txt", "Access Control List…")
        self.assert_sent("showAcl:", [new])

    def test_an_archive_added_while_its_folder_is_shown_has_its_contents(self):
        added = self.make_archive("added.tar.gz", [("only.txt", b"x")])
        menu = self.open_menu_with("added.tar.gz", "added.tar.gz")
        self.browser.choose(menu, "added.tar.gz", "only.txt")
        self.assert_sent("expand:", [added], [0])

    def test_a_file_deleted_under_its_menu_harms_nothing(self):
        doomed = self.make_file("doomed.txt")
        self.browser.open_menu_of(self.window, "doomed.txt")
        os.remove(doomed)
        self.wait_for("no file", lambda: "doomed.txt" not in self.browser.files(self.window))
        self.close_menu()
        self.choose("notes.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.notes])

    def test_a_symbolic_link_is_acted_on_itself_and_shows_no_contents(self):
        menu = self.browser.open_menu_of(self.window, "latest")
        self.assertNotIn("letters.tar.gz", self.browser.labels(menu))
        self.browser.choose(menu, "Access Control List…")
        self.assert_sent("showAcl:", [self.link])

    def test_a_hidden_file_that_is_shown_is_acted_on(self):
        self.browser.show_hidden_files()
        self.choose(".secret.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.secret])
        self.browser.show_hidden_files()
        self.wait_for("no hidden file", lambda: ".secret.txt" not in self.browser.files(self.window))

    def test_an_unreadable_folder_has_its_commands(self):
        self.choose("locked", "Access Control List…")
        self.assert_sent("showAcl:", [self.locked])

    def test_marks_in_a_name_are_shown_as_they_are(self):
        self.choose("my_file & <b>.txt", "Access Control List…")
        self.assert_sent("showAcl:", [self.marked])

    def test_a_file_whose_name_is_not_utf8_is_acted_on_truly(self):
        path = os.fsencode(self.watched) + b"/caf\xe9.txt"
        with open(path, "wb") as file:
            file.write(b"remember the milk\n")
        shown = self.wait_for("the file", lambda: next((name for name in self.browser.files(self.window) if name.startswith("caf")), None))
        self.choose(shown, "Access Control List…")
        self.assert_sent("showAcl:", [os.fsdecode(path)])

    def test_entries_of_odd_names_are_shown_harmlessly_and_chosen_truly(self):
        names = ["under_score & <b>", "a\nb", "x" * 300, "same", "\u202efdp.exe"]
        odd = self.make_archive("odd_names.tar.gz", [(name, b"x") for name in names])
        menu = self.open_menu_with("odd_names.tar.gz", "odd_names.tar.gz")
        labels = self.browser.labels(self.browser.item(menu, "odd_names.tar.gz"))
        self.assertEqual(labels, ["under_score & <b>", "a b", "x" * 29 + "…" + "x" * 30, "same", "fdp.exe"])
        self.browser.open_submenus(menu, "odd_names.tar.gz")
        self.session.picture("odd-names")
        self.browser.choose(menu, "odd_names.tar.gz", "a b")
        self.assert_sent("expand:", [odd], [1])
