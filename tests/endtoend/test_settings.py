"""Settings that the user changes while the browser runs, and watched folders that are renamed."""

import os
import subprocess
import unittest

from fixture import EndToEndTest, item, titles


class Settings(EndToEndTest):
    def test_a_changed_layout_shows_in_the_next_menu(self):
        path = self.make_file("notes.txt")
        _, console = self.start_both()
        self.session.settings("items", "contextual", "root=4,9", "more=6")
        # Changes arrive in their order, so this one tells that the other has arrived.
        self.session.settings("folders", "add", self.session.make_folder("other"))
        console.wait_until("folders", count=2)
        self.assertEqual(titles(console.menu_of(path)), ["Rename…", "Compress", "More"])
        self.assertIn("Delete…", titles(console.menu(3)))

    def test_icons_of_commands_are_shown_when_the_user_wants_them(self):
        path = self.make_file("notes.txt")
        self.session.settings("icons", "contextual", "on")
        _, console = self.start_both()
        items = console.menu_of(path)
        for each in items:
            self.assertEqual((each["image"]["width"], each["image"]["height"]), (16, 16), each["title"])
        self.assertIsNone(item(items, "More", "Checksum…")["image"])
        self.assertIsNone(console.menu(3)[0]["image"])

    def test_the_archives_item_keeps_its_own_icon_among_commands_with_theirs(self):
        path = self.make_archive()
        self.session.settings("icons", "contextual", "on")
        _, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        sources = {each["title"]: each["image"]["source"] for each in console.menu_of(path)}
        own = sources.pop("letters.zip")
        self.assertIn("More", sources)
        self.assertEqual(len(set(sources.values())), 1, sources)
        self.assertNotIn(own, sources.values())

    def test_icons_of_archive_entries_go_and_come_with_their_setting_while_the_browser_runs(self):
        path = self.make_archive()
        _, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertIsNotNone(item(console.menu_of(path), "letters.zip", "guide")["image"])
        self.assertEqual(console.state()["archiveMenus"], 1)
        for flag, isShown in (("off", False), ("on", True)):
            self.session.settings("icons", "archive", flag)
            console.wait_until("archiveMenus", count=0)
            items = console.menu_of(path)
            self.assertEqual(item(items, "letters.zip", "guide")["image"] is not None, isShown)
            self.assertIsNotNone(item(items, "letters.zip")["image"])

    def test_a_folder_is_watched_from_the_moment_it_is_chosen(self):
        other = self.session.make_folder("other")
        path = self.make_archive(folder=other)
        host, console = self.start_both()
        console.do("open", folder=other)
        self.assertEqual(self.asked(host, console), [])
        self.session.settings("folders", "add", other)
        console.wait_until("folders", count=2)
        console.wait_until("archive", file=path)
        self.assertIsNotNone(console.menu_of(path))
        self.session.settings("folders", "remove", other)
        console.wait_until("folders", count=1)
        self.assertIsNone(console.menu_of(path))

    def test_the_watched_folders_are_told_as_an_event(self):
        console = self.session.start_console()
        self.session.settings("folders", "clear")
        console.wait_until("folders", count=0)
        events = [event["urls"] for event in console.seen if event.get("event") == "directoryURLs"]
        self.assertEqual([len(urls) for urls in events], [1, 0])
        self.assertTrue(events[0][0].startswith("file://" + self.folder), events)

    def test_a_watched_folder_stays_watched_under_its_new_name(self):
        self.make_archive()
        host, console = self.start_both()
        renamed = self.session.path("renamed")
        os.rename(self.folder, renamed)
        path = os.path.join(renamed, "letters.zip")
        console.do("open", folder=renamed)
        console.wait_until("archive", file=path)
        self.assertIsNotNone(console.menu_of(path))
        self.folder = renamed
        self.assertEqual(self.asked(host, console), [path])

    def test_a_folder_renamed_before_the_browser_starts_is_found_by_its_bookmark(self):
        renamed = self.session.path("renamed")
        os.rename(self.folder, renamed)
        console = self.session.start_console()
        self.assertEqual([event["urls"] for event in console.seen if event.get("event") == "directoryURLs"],
                         [["file://" + renamed + "/"]])

    def test_a_watched_folder_that_is_gone_is_logged_and_the_others_are_watched(self):
        gone = self.session.make_folder("gone")
        self.session.settings("folders", "add", gone)
        os.rmdir(gone)
        console = self.session.start_console()
        lines = [event["line"] for event in console.seen if event.get("event") == "log"]
        self.assertEqual(len([line for line in lines if line.startswith("__DT: -[DTDovetailSync updateFolders] ::: ")]), 1, lines)
        self.assertEqual([len(event["urls"]) for event in console.seen if event.get("event") == "directoryURLs"], [1])

    def test_settings_of_wrong_kinds_read_as_absent(self):
        path = self.make_file("notes.txt")
        _, console = self.start_both()
        self.write("DTContextualMenuItems", "'text'")
        self.write("DTFoldersPaths", "'text'")
        console.wait_until("folders", count=0)
        self.assertIsNone(console.menu_of(path))
        self.assertEqual(console.do("menu", kind=3)["menu"] is not None, True)

    def write(self, key, value):
        subprocess.run(["dconf", "write", "/org/dovetail/group/" + key, value], env=self.session.environment, check=True)


if __name__ == "__main__":
    unittest.main()
