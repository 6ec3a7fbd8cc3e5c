"""The extension in a real file browser, its menus opened and chosen from, and the host that hears of it.

    browser_test.py BROWSER [TEST...]

TEST is a class or a test as unittest names them, "test_commands.CommandsTest". Each class runs in a session of its own. The environment
is that of graphical_session.py."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import graphical_session  # noqa: E402

TESTS = ["test_commands.CommandsTest", "test_changes.SettingsTest", "test_changes.SelectionTest", "test_changes.HostTest",
         "test_changes.FilesTest", "test_windows.WindowsTest", "test_folders.FoldersTest", "test_limits.LargeArchiveTest",
         "test_limits.DeepArchiveTest", "test_limits.StoppedHostTest", "test_limits.QuitTest", "test_limits.TwoBrowsersTest"]
OF_ONE_BROWSER = {"caja": ["test_toolbar.ToolbarTest", "test_toolbar.ToolbarPictureTest", "test_desktop.DesktopTest"]}


def run_here(test):
    unittest.main(module=None, argv=[sys.argv[0], test], verbosity=2, warnings="ignore")


def main():
    if "DOVETAIL_BROWSER" in os.environ:
        return run_here(sys.argv[1])
    browser, *tests = sys.argv[1:]
    results = [graphical_session.run(browser, os.path.abspath(__file__), test)
               for test in tests or TESTS + OF_ONE_BROWSER.get(browser, [])]
    sys.exit(any(results))


if __name__ == "__main__":
    main()
