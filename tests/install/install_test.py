"""What an installation holds, and that it works from where it stands."""

import configparser
import glob
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from xml.etree import ElementTree

PROGRAMS = ["dovetail-archive", "dovetail-console", "dovetail-host"]
MODULES = dict(pair.split("=") for pair in os.environ["DOVETAIL_BROWSER_FOLDERS"].split(":") if pair)


def run(*arguments, **options):
    return subprocess.run(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60,
                          **options)


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = tempfile.mkdtemp(prefix="dovetail-install-")
        cls.addClassCleanup(shutil.rmtree, cls.root)
        done = run(os.environ["DOVETAIL_CMAKE"], "--install", os.environ["DOVETAIL_BUILD"], "--prefix", "/usr",
                   env=dict(os.environ, DESTDIR=cls.root))
        assert done.returncode == 0, done.stdout

    def path(self, *parts):
        return os.path.join(self.root, "usr", *parts)

    def read(self, *parts):
        with open(self.path(*parts)) as file:
            return file.read()

    def test_the_programs_run_from_where_they_are_installed(self):
        for program in PROGRAMS:
            done = run(self.path("bin", program), "--help")
            self.assertRegex(done.stdout, r"^Usage:\s+%s " % program)
        self.assertTrue(os.access(self.path("libexec", "dovetail-process-watcher"), os.X_OK))

    def test_the_drawings_are_found_beside_the_programs(self):
        folder = os.path.join(self.root, "images")
        done = run(self.path("bin", "dovetail-console"), "images", folder)
        self.assertEqual((done.returncode, done.stdout), (0, ""))
        self.assertTrue(os.path.exists(self.path("share", "icons", "hicolor", "16x16", "apps", "dovetail-sync.svg")))
        self.assertGreater(os.path.getsize(os.path.join(folder, "applicationIcon.png")), 100)

    def test_each_module_is_in_the_folder_where_its_browser_looks(self):
        self.assertTrue(MODULES)
        for browser, folder in MODULES.items():
            module = self.root + os.path.join(folder, "libdovetail-%s.so" % browser)
            symbols = run("nm", "--dynamic", "--defined-only", "--format=just-symbols", module).stdout.split()
            prefix = "thunar_extension" if browser == "thunar" else browser + "_module"
            self.assertEqual(sorted(symbols), sorted(prefix + end for end in ("_initialize", "_list_types", "_shutdown")), browser)
            self.assertIn("NODELETE", run("readelf", "--dynamic", module).stdout)

    def test_the_module_of_a_browser_of_another_toolkit_links_none(self):
        if "nautilus" in MODULES:
            module = self.root + os.path.join(MODULES["nautilus"], "libdovetail-nautilus.so")
            self.assertNotIn("libgtk", run("readelf", "--dynamic", module).stdout)

    def test_each_option_and_command_of_a_program_is_in_its_page_of_the_manual(self):
        for program in PROGRAMS:
            page = self.read("share", "man", "man1", program + ".1").replace("\\-", "-")
            help_text = run(self.path("bin", program), "--help").stdout
            for option in set(re.findall(r"--[a-z-]+", help_text)):
                self.assertIn(option, page, program)
        for command in ("folders", "items", "icons", "settings"):
            self.assertIn(command, self.read("share", "man", "man1", "dovetail-host.1"))

    def test_the_pages_of_the_manual_are_formatted_without_a_warning(self):
        for program in PROGRAMS:
            done = run("groff", "-man", "-Tutf8", "-ww", "-z", self.path("share", "man", "man1", program + ".1"))
            self.assertEqual((done.returncode, done.stdout), (0, ""))

    def test_the_record_for_software_centres_validates(self):
        done = run("appstreamcli", "validate", "--no-net", self.path("share", "metainfo", "org.dovetail.sync.metainfo.xml"))
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_the_record_names_each_browser_as_its_own_metadata_does(self):
        record = ElementTree.parse(self.path("share", "metainfo", "org.dovetail.sync.metainfo.xml"))
        named = [extended.text for extended in record.iter("extends")]
        self.assertEqual(len(named), len(MODULES))
        components = {ElementTree.parse(file).findtext("id") for file in glob.glob("/usr/share/metainfo/*.xml")}
        for name in named:
            # A browser without a record of its own goes by its desktop entry.
            self.assertTrue(name in components or os.path.exists(os.path.join("/usr/share/applications", name)), name)
        for browser in MODULES:
            own = [component for component in components if browser in component.lower()]
            self.assertTrue(not own or set(own) & set(named), "%s is %s" % (browser, own))

    def test_cajas_entry_names_its_module_and_the_version(self):
        if "caja" in MODULES:
            entry = configparser.ConfigParser()
            entry.read(self.path("share", "caja", "extensions", "libdovetail-caja.caja-extension"))
            self.assertEqual(entry["Caja Extension"]["Name"], "Dovetail")
            self.assertRegex(entry["Caja Extension"]["Version"], r"^\d+\.\d+")


if __name__ == "__main__":
    unittest.main()
