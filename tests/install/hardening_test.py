"""What the linker and the compiler left in each program and module that is installed, so that a mistake is harder to exploit."""

import glob
import os
import re
import subprocess
import unittest

BUILD = os.environ["DOVETAIL_BUILD"]
PROGRAMS = sorted(path for path in glob.glob(os.path.join(BUILD, "bin", "dovetail-*")) if os.path.isfile(path))
MODULES = sorted(glob.glob(os.path.join(BUILD, "module-*", "*.so")))


def read(option, path):
    return subprocess.run(["readelf", "--wide", option, path], check=True, text=True, stdout=subprocess.PIPE).stdout


def imports(path):
    return set(re.findall(r" UND (\w+)", read("--dyn-syms", path)))


class Hardening(unittest.TestCase):
    def each(self, paths, holds):
        """All of them, by name, as a failure names them."""
        self.assertTrue(paths)
        self.assertEqual([os.path.basename(path) for path in paths if not holds(path)], [])

    def test_a_program_runs_at_an_address_of_the_systems_choice(self):
        self.each(PROGRAMS, lambda path: re.search(r"FLAGS_1.*\bPIE\b", read("--dynamic", path)))

    def test_no_code_has_to_be_written_to_when_it_is_loaded(self):
        self.each(PROGRAMS + MODULES, lambda path: "TEXTREL" not in read("--dynamic", path))

    def test_what_the_loader_fills_in_is_bound_at_once_and_then_read_only(self):
        self.each(PROGRAMS + MODULES, lambda path: re.search(r"FLAGS_1.*\bNOW\b", read("--dynamic", path)))
        self.each(PROGRAMS + MODULES, lambda path: "GNU_RELRO" in read("--segments", path))

    def test_no_memory_is_both_written_and_executed(self):
        self.each(PROGRAMS + MODULES, lambda path: re.search(r"GNU_STACK .* RW ", read("--segments", path)))
        self.each(PROGRAMS + MODULES, lambda path: not re.search(r"LOAD .* RWE ", read("--segments", path)))

    def test_stacks_are_guarded(self):
        self.each(PROGRAMS + MODULES, lambda path: "__stack_chk_fail" in imports(path))

    def test_calls_of_the_c_library_check_their_buffers_where_that_is_possible(self):
        if os.environ["DOVETAIL_IS_FORTIFIED"] == "1":
            self.each(PROGRAMS + MODULES, lambda path: any(name.endswith("_chk") for name in imports(path)))


if __name__ == "__main__":
    unittest.main()
