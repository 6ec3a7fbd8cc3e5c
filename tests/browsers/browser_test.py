"""The extension in a real file browser, its menus opened and chosen from, and the host that hears of it.

Run by graphical_session.py, once for each browser; further words choose modules, classes or tests, as unittest does."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

MODULES = ["test_commands"]

if __name__ == "__main__":
    unittest.main(module=None, argv=sys.argv[:1] + (sys.argv[1:] or MODULES), verbosity=2, warnings="ignore")
