"""What a distribution meets that configures the programs alone, by its own means."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILDING_NEEDS = os.path.join(ROOT, "scripts", "packages-build.txt")
SEARCHES = ("find_package", "find_program", "find_library", "find_path", "find_file", "pkg_check_modules", "pkg_search_module")
# The package of Debian whose files answer each search.
PACKAGES = {
    "PkgConfig": "pkg-config",
    "cairo": "libcairo2-dev",
    "dconf": "libdconf-dev",
    "gio-2.0": "libglib2.0-dev",
    "gio-unix-2.0": "libglib2.0-dev",
    "glib-2.0": "libglib2.0-dev",
    "gtk+-3.0": "libgtk-3-dev",
    "libarchive": "libarchive-dev",
    "libcaja-extension": "libcaja-extension-dev",
    "libnautilus-extension-4": "libnautilus-extension-dev",
    "libnemo-extension": "libnemo-extension-dev",
    "librsvg-2.0": "librsvg2-dev",
    "thunarx-3": "libthunarx-3-dev",
    "zlib": "zlib1g-dev",
}
TOOLS = {"cmake", "g++", "ninja-build"}
WORDS_OF_A_SEARCH = ("QUIET", "REQUIRED", "IMPORTED_TARGET")


def packages(path):
    with open(path) as lines:
        return {line.split("#")[0].strip() for line in lines} - {""}


def searched(call):
    """What one of our own lines asks for: modules of pkg-config, or one package or program."""
    if call["cmd"].startswith("pkg_"):
        words = ";".join(call["args"][1:]).split(";")
        return [word for word in words if word not in WORDS_OF_A_SEARCH]
    return call["args"][:1]


class Distribution(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.build = tempfile.mkdtemp(prefix="dovetail-distribution-")
        cls.addClassCleanup(shutil.rmtree, cls.build)
        trace = os.path.join(cls.build, "trace")
        done = subprocess.run(
            [os.environ["DOVETAIL_CMAKE"], "-S", ROOT, "-B", cls.build, "-DDOVETAIL_TESTS=OFF", "-DDOVETAIL_BENCH=OFF",
             "--trace-expand", "--trace-format=json-v1", "--trace-redirect=" + trace],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        assert done.returncode == 0, done.stdout
        with open(trace) as lines:
            calls = [json.loads(line) for line in lines]
        cls.searches = [call for call in calls if call.get("cmd") in SEARCHES and call["file"].startswith(ROOT)]
        with open(os.path.join(cls.build, "compile_commands.json")) as commands:
            cls.commands = [each["command"] for each in json.load(commands)]

    def test_it_searches_for_nothing_but_what_the_programs_need(self):
        names = {name for call in self.searches for name in searched(call)}
        self.assertEqual(names - set(PACKAGES), set())

    def test_what_building_needs_is_the_whole_of_its_list_of_packages(self):
        names = {name for call in self.searches for name in searched(call)}
        self.assertEqual(packages(BUILDING_NEEDS), TOOLS | {PACKAGES[name] for name in names if name in PACKAGES})

    def test_a_compilers_new_warning_is_no_error(self):
        self.assertEqual([command for command in self.commands if "-Werror" in command], [])

    def test_every_source_is_optimised_and_hardened_without_being_asked_for(self):
        for flag in ("-O2", "-fstack-protector-strong", "-D_FORTIFY_SOURCE=2"):
            self.assertEqual([command for command in self.commands if " %s " % flag not in command], [], flag)

    def test_no_test_is_built(self):
        self.assertTrue(self.commands)
        self.assertEqual([command for command in self.commands if "/tests/" in command or "/fuzz/" in command], [])


if __name__ == "__main__":
    unittest.main()
