"""What the extension costs a real file browser, measured with and without it in turn.

    browser_bench.py BROWSER...

Prints for each the medians and the differences, and exits with 1 when one is beyond its bar: from what selects an archive and asks for
its menu to the mapped menu 100 ms more for one of 100,000 entries, 60 ms more (Nautilus 100 ms) for one of 20,000 in one folder and for
one of folders nested 256 deep; the longest silence after a change of the selection 50 ms more; a folder of 3,000 files until the browser
rests 10 % more; and what 50 menus of each of the latter two archives leave in the browser's own memory 2 MB more. Beside the times stands
the browser's processor time, which says more on a busy machine. Accessibility is off, as for most users."""

import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import graphical_session  # noqa: E402

import dovetail_archives  # noqa: E402

ROUNDS, SAMPLES, MENUS = 3, 5, 50
ENTRIES, FLAT_ENTRIES, DEPTH, FILES = 100_000, 20_000, 256, 3000
QUIET = 0.4  # seconds without processor time that end a piece of work; longer than any delay of the browsers'
COMMANDS = {"caja": ["caja", "--no-desktop", "--browser"], "nemo": ["nemo", "--no-desktop"], "thunar": ["thunar"],
            "nautilus": ["nautilus", "--new-window"]}


def no_more_than(difference):
    return lambda off, on: on - off <= difference


def bars(browser):
    menu = no_more_than(100 if browser == "nautilus" else 60)
    bars = {"large": [("menu of a large archive", "ms", no_more_than(100)), (" its processor time", "ms", None),
                      ("change of the selection", "ms", no_more_than(50)),
                      ("folder of 3,000 files", "ms", lambda off, on: on <= off * 1.10)]}
    for archive in ("flat", "deep"):
        bars[archive] = [("menu of a %s archive" % archive, "ms", menu), (" its processor time", "ms", None),
                         (" left by 50 menus", "kB", no_more_than(2048))]
    return bars


class Measurement:
    """One browser in one session, and one archive."""

    def __init__(self, browser, with_module, archive):
        self.session = graphical_session.GraphicalSession(browser, with_module)
        self.session.environment.update(NO_AT_BRIDGE="1", GTK_A11Y="none")
        from x_display import Display
        self.papers = self.session.make_folder("home", "papers")
        self.box = self.session.make_folder("home", "box")
        self.crowd = self.session.make_folder("home", "box", "crowd")
        self.make_archive(os.path.join(self.papers, "an archive.zip"), archive)
        for name, folder in [("z notes.txt", self.papers)] + [("%04d.txt" % number, self.crowd) for number in range(FILES)]:
            with open(os.path.join(folder, name), "w") as file:
                file.write("remember the milk\n")
        self.session.settings("folders", "add", self.papers, self.box)
        self.host = self.session.start_host()
        self.display = Display()
        self.command = COMMANDS[browser]
        self.process = self.session.spawn_browser(self.command + [self.papers])
        self.window = self.window_titled("papers")
        if with_module:
            self.host.line(lambda line: line["event"] == "answered")
        self.wait_until_quiet()

    @staticmethod
    def make_archive(path, archive):
        if archive == "large":
            dovetail_archives.make_large_zip(path, ENTRIES)
        elif archive == "flat":
            dovetail_archives.make_zip(path, [("%06d.txt" % number, b"") for number in range(FLAT_ENTRIES)])
        else:
            dovetail_archives.make_zip(path, [("f/" * level, None) for level in range(1, DEPTH + 1)])

    def window_titled(self, title):
        end = time.monotonic() + graphical_session.DEADLINE
        search = ["xdotool", "search", "--sync", "--onlyvisible", "--name", "^" + title, "windowactivate", "--sync", "getactivewindow"]
        while time.monotonic() < end:
            found = subprocess.run(search, env=self.session.environment, text=True, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL).stdout.split()
            if found:
                return int(found[-1])
        raise graphical_session.Late("no window " + title)

    def processor_time(self):
        with open("/proc/%d/schedstat" % self.process.pid) as file:
            return int(file.read().split()[0]) / 1e6

    def own_memory(self):
        """What no other process shares, in kB."""
        with open("/proc/%d/smaps_rollup" % self.process.pid) as file:
            return sum(int(line.split()[1]) for line in file if line.startswith(("Private_", "Swap:")))

    def wait_until_quiet(self):
        """Until the browser has done nothing for a while; answers when it last did something."""
        last, since = self.processor_time(), time.monotonic()
        while time.monotonic() - since < QUIET:
            list(self.display.events(0.005))
            now = self.processor_time()
            if now - last > 0.5:
                last, since = now, time.monotonic()
        return since

    def select_last(self):
        self.display.press("End")

    def select_first(self):
        self.display.press("Home")

    def ask_for_menu_of_first(self):
        self.select_first()
        self.display.press("Menu")

    def open_first(self):
        self.display.press("Return")

    def menu(self):
        self.select_last()
        self.wait_until_quiet()
        self.display.forget_events()
        began, worked = time.monotonic(), self.processor_time()
        self.ask_for_menu_of_first()
        self.display.wait_for_menu()
        taken, worked = time.monotonic() - began, self.processor_time() - worked
        self.wait_until_quiet()
        self.display.press("Escape")
        self.wait_until_quiet()
        return taken * 1000, worked

    def memory_of_menus(self):
        """What so many menus leave, after some that filled the browser's caches."""
        for _ in range(SAMPLES):
            self.open_and_close_menu()
        before = self.own_memory()
        for _ in range(MENUS):
            self.open_and_close_menu()
        return self.own_memory() - before

    def open_and_close_menu(self):
        self.select_last()
        self.display.forget_events()
        self.ask_for_menu_of_first()
        self.display.wait_for_menu()
        self.display.press("Escape")
        self.display.wait_for_menu_gone()
        self.wait_until_quiet()  # a popover that has just closed may take the next click for itself

    def selection(self):
        self.select_last()
        self.wait_until_quiet()
        self.select_first()
        end = time.monotonic() + 0.6
        longest = 0.0
        while time.monotonic() < end:
            longest = max(longest, self.display.ping(self.window))
        self.wait_until_quiet()
        return longest * 1000

    def folder(self):
        self.session.spawn_browser(self.command + [self.box])
        self.window = self.window_titled("box")
        self.wait_until_quiet()
        self.select_first()
        self.wait_until_quiet()
        began = time.monotonic()
        self.open_first()
        taken = self.wait_until_quiet() - began
        self.window_titled("crowd")
        self.display.press("Control_L", "w")
        self.window = self.window_titled("papers")
        self.wait_until_quiet()
        return taken * 1000


class NautilusMeasurement(Measurement):
    """By mouse, as the keys lead nowhere before a click, and none asks for a menu."""

    FIRST, SECOND = (274, 128), (426, 128)  # in the window, when it shows icons of the usual size

    def click(self, point, button, times=1):
        place = dict(line.split("=") for line in subprocess.run(
            ["xdotool", "getwindowgeometry", "--shell", str(self.window)], env=self.session.environment, check=True, text=True,
            stdout=subprocess.PIPE).stdout.split())
        self.display.click(int(place["X"]) + point[0], int(place["Y"]) + point[1], button, times)

    def select_last(self):
        self.click(self.SECOND, 1)

    def select_first(self):
        self.click(self.FIRST, 1)

    def ask_for_menu_of_first(self):
        self.click(self.FIRST, 3)

    def open_first(self):
        self.click(self.FIRST, 1, 2)


def measure(browser, with_module, archive, out):
    measurement = (NautilusMeasurement if browser == "nautilus" else Measurement)(browser, with_module, archive)
    samples = [list(kind) for kind in zip(*[measurement.menu() for _ in range(SAMPLES)])]
    if archive == "large":
        samples += [[kind() for _ in range(SAMPLES)] for kind in (measurement.selection, measurement.folder)]
    else:
        samples.append([measurement.memory_of_menus()])
    with open(out, "w") as file:
        json.dump(samples, file)
    measurement.session.close()


def samples_of(browser, with_module, archive):
    with tempfile.NamedTemporaryFile("r", suffix=".json") as out:
        if graphical_session.run(browser, os.path.abspath(__file__), "measure", browser, str(int(with_module)), archive, out.name):
            sys.exit("no figures of %s" % browser)
        return json.load(out)


def report(browser):
    return all([report_archive(browser, archive, lines) for archive, lines in bars(browser).items()])


def report_archive(browser, archive, lines):
    figures = {False: [[] for _ in lines], True: [[] for _ in lines]}
    for _ in range(ROUNDS):
        for with_module in figures:
            for known, new in zip(figures[with_module], samples_of(browser, with_module, archive)):
                known += new
    is_met = True
    for (name, unit, bar), off, on in zip(lines, figures[False], figures[True]):
        off, on = statistics.median(off), statistics.median(on)
        is_kept = not bar or bar(off, on)
        is_met &= is_kept
        print("%-9s %-24s without %7.1f, with %7.1f %s%s" % (browser, name, off, on, unit, "" if is_kept else "  BEYOND THE BAR"),
              flush=True)
    return is_met


if __name__ == "__main__":
    if sys.argv[1] == "measure":
        measure(sys.argv[2], sys.argv[3] == "1", *sys.argv[4:])
    else:
        sys.exit(not all([report(browser) for browser in sys.argv[1:]]))
