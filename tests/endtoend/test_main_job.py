"""The main job, from a real archive to a choice at the host."""

import os
import signal
import unittest

from fixture import EndToEndTest, dovetail_archives, item, option, path_of_url, titles


class MainJob(EndToEndTest):
    def test_the_host_is_asked_once_about_each_regular_file_of_a_watched_folder(self):
        dovetail_archives.make_collection(self.folder)
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        entries = [os.path.join(self.folder, name) for name in os.listdir(self.folder)]
        regular = sorted(path for path in entries if os.path.isfile(path) and not os.path.islink(path))
        self.assertEqual(self.asked(host, console), regular)
        console.do("close", folder=self.folder)
        console.do("open", folder=self.folder)
        self.assertEqual(self.asked(host, console), [])

    def test_a_folder_that_is_shown_through_a_link_is_asked_about_once_and_acted_on_itself(self):
        path = self.make_archive()
        link = self.session.path("link")
        os.symlink(self.folder, link)
        host, console = self.start_both()
        console.do("open", folder=link)
        console.do("open", folder=self.folder)
        self.assertEqual(self.asked(host, console), [path])
        self.announce()
        host.message("pingPortName:")
        self.assertEqual(self.asked(host, console), [path])
        console.do("select", files=[])
        console.do("target", folder=link)
        menu = titles(console.menu(1))
        self.assertIn("Size Browser…", menu)
        self.assertNotIn("Checksum…", menu)
        console.do("choose", titles=["Size Browser…"])
        self.assertEqual([path_of_url(url) for url in host.message("showSizeBrowser:")["argument"]["v"]], [self.folder])

    def test_nothing_is_asked_about_files_of_other_folders(self):
        other = self.session.make_folder("other")
        path = self.make_archive(folder=other)
        host, console = self.start_both()
        console.do("open", folder=other)
        self.assertEqual(self.asked(host, console), [])
        self.assertIsNone(console.menu_of(path))

    def test_an_archive_of_each_format_becomes_a_tree_of_menus(self):
        dovetail_archives.make_collection(self.folder)
        _, console = self.start_both()
        console.do("open", folder=self.folder)
        for name in ("holiday pictures.zip", "letters.tar.gz", "drafts.tar.xz", "backup.7z"):
            path = os.path.join(self.folder, name)
            console.wait_until("archive", file=path)
            page = item(console.menu_of(path), name, "guide", "chapters", "first page.txt")
            self.assertEqual((page["action"], page["enabled"], "items" in page), ("expand:", True, False), name)

    def test_an_empty_archive_has_an_item_that_opens_no_submenu(self):
        path = self.make_archive("empty.zip", [])
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        self.assertNotIn("items", item(console.menu_of(path), "empty.zip"))
        console.do("choose", titles=["empty.zip"])
        self.assertEqual(option(host.message("expand:"), "2"), {"t": "ipath", "v": []})

    def test_entry_names_that_are_not_utf8_are_shown(self):
        dovetail_archives.make_collection(self.folder)
        path = os.path.join(self.folder, "old names.tar.gz")
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        entries = item(console.menu_of(path), "old names.tar.gz")["items"]
        self.assertEqual(len(entries), 1)
        self.assertTrue(entries[0]["title"].startswith("caf"), entries)
        console.do("choose", titles=["old names.tar.gz", entries[0]["title"]])
        self.assertEqual(option(host.message("expand:"), "2"), {"t": "ipath", "v": ["0"]})

    def test_compress_tar_gzip_reaches_the_host_with_its_tag_and_the_urls(self):
        paths = [self.make_file("one.txt"), self.make_file("two words.txt")]
        host, console = self.start_both()
        console.menu_of(*paths)
        console.do("choose", titles=["Compress", "TAR", "GZIP"])
        message = host.message("compress:")
        self.assertEqual(option(message, "2"), {"t": "int", "v": str(0x4000002)})
        self.assertEqual([path_of_url(url) for url in option(message, "1")["v"]], paths)
        self.assertEqual(message["portName"], console.state()["portName"])

    def test_an_entry_three_levels_down_reaches_the_host_with_its_index_path(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        console.menu_of(path)
        console.do("choose", titles=["letters.zip", "guide", "chapters", "second page.txt"])
        message = host.message("expand:")
        self.assertEqual(path_of_url(option(message, "1")), path)
        self.assertEqual(option(message, "2"), {"t": "ipath", "v": ["0", "0", "1"]})
        self.assertEqual(message["entry"]["name"], "second page.txt")

    def test_each_command_reaches_the_host_under_its_own_selector(self):
        paths = [self.make_file("one.txt"), self.make_file("two.txt")]
        host, console = self.start_both()
        ways = {
            ("Delete…",): ("delete:", "-203"), ("Secure Delete…", "Simple Security (1 pass)"): ("delete:", "-206"),
            ("Compress", "ZIP"): ("compress:", "65536"), ("Rename…",): ("rename:", None),
            ("Size Browser…",): ("showSizeBrowser:", None), ("Permissions…",): ("showPermissions:", "0"),
            ("Access Control List…",): ("showAcl:", None), ("More", "Combined Permissions…"): ("showPermissions:", "1"),
            ("More", "Checksum…", "SHA-2:256"): ("showChecksum:", "6"),
        }
        for way, (selector, tag) in ways.items():
            console.menu_of(*paths)
            console.do("choose", titles=list(way))
            message = host.message(selector)
            urls = message["argument"] if tag is None else option(message, "1")
            self.assertEqual([path_of_url(url) for url in urls["v"]], paths, way)
            if tag is not None:
                self.assertEqual(option(message, "2"), {"t": "int", "v": tag}, way)

    def test_a_killed_host_leaves_one_disabled_line_and_its_return_brings_the_archive_back(self):
        path = self.make_archive()
        host, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)
        host.signal(signal.SIGKILL)
        console.wait_until("noHost")
        self.assertEqual([(each["title"], each["enabled"]) for each in console.menu(3)], [("Dovetail is not running", False)])
        self.assertIsNone(console.menu_of(path))
        state = console.state()
        self.assertEqual((state["archives"], state["archiveMenus"], state["portOpen"]), (0, 0, False))
        self.session.start_host()
        console.wait_until("archive", file=path)
        self.assertEqual(titles(item(console.menu_of(path), "letters.zip")["items"]), ["guide", "read me.txt"])

    def test_files_seen_before_the_host_started_are_asked_about_when_it_does(self):
        path = self.make_archive()
        console = self.session.start_console()
        console.do("open", folder=self.folder)
        self.assertEqual(console.state()["observedFiles"], {self.folder: [path]})
        host = self.session.start_host()
        console.wait_until("archive", file=path)
        self.assertEqual(self.asked(host, console), [path])
        self.assertEqual(console.state()["observedFiles"], {self.folder: [path]})


if __name__ == "__main__":
    unittest.main()
