"""What the extension costs a real file browser, measured with and without it in turn.

    browser_bench.py BROWSER...

Prints for each the medians of 15 and the differences, and exits with 1 when one is beyond its bar: from what selects an archive of
100,000 entries and asks for its menu to the mapped menu 100 ms more, the longest silence after a change of the selection 50 ms more, a
folder of 3,000 files until the browser rests 10 % more. Accessibility is off, as for most users."""

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

ROUNDS, SAMPLES = 3, 5
ENTRIES, FILES = 100_000, 3000
QUIET = 0.4  # seconds without processor time that end a piece of work; longer than any delay of the browsers'
COMMANDS = {"caja": ["caja", "--no-desktop", "--browser"], "nemo": ["nemo", "--no-desktop"], "thunar": ["thunar"],
            "nautilus": ["nautilus", "--new-window"]}
BARS = [("menu of a large archive", "ms", lambda off, on: on - off <= 100), ("change of the selection", "ms", lambda off, on: on - off <= 50),
        ("folder of 3,000 files", "ms", lambda off, on: on <= off * 1.10)]


class Measurement:
    """One browser in one session."""

    def __init__(self, browser, with_module):
        self.session = graphical_session.GraphicalSession(browser, with_module)
        self.session.environment.update(NO_AT_BRIDGE="1", GTK_A11Y="none")
        import dovetail_archives
        from x_display import Display
        self.papers = self.session.make_folder("home", "papers")
        self.box = self.session.make_folder("home", "box")
        self.crowd = self.session.make_folder("home", "box", "crowd")
        dovetail_archives.make_large_zip(os.path.join(self.papers, "a large one.zip"), ENTRIES)
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
        began = time.monotonic()
        self.ask_for_menu_of_first()
        self.display.wait_for_menu()
        taken = time.monotonic() - began
        self.wait_until_quiet()
        self.display.press("Escape")
        self.wait_until_quiet()
        return taken * 1000

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


def measure(browser, with_module, out):
    measurement = (NautilusMeasurement if browser == "nautilus" else Measurement)(browser, with_module)
    samples = [[kind() for _ in range(SAMPLES)] for kind in (measurement.menu, measurement.selection, measurement.folder)]
    with open(out, "w") as file:
        json.dump(samples, file)
    measurement.session.close()


def samples_of(browser, with_module):
    with tempfile.NamedTemporaryFile("r", suffix=".json") as out:
        if graphical_session.run(browser, os.path.abspath(__file__), "measure", browser, str(int(with_module)), out.name):
            sys.exit("no figures of %s" % browser)
        return json.load(out)


def report(browser):
    figures = {False: [[], [], []], True: [[], [], []]}
    for _ in range(ROUNDS):
        for with_module in figures:
            for known, new in zip(figures[with_module], samples_of(browser, with_module)):
                known += new
    is_met = True
    for (name, unit, bar), off, on in zip(BARS, figures[False], figures[True]):
        off, on = statistics.median(off), statistics.median(on)
        is_met &= bar(off, on)
        print("%-9s %-24s without %7.1f, with %7.1f %s%s" % (browser, name, off, on, unit, "" if bar(off, on) else "  BEYOND THE BAR"),
              flush=True)
    return is_met


if __name__ == "__main__":
    if sys.argv[1] == "measure":
        measure(sys.argv[2], sys.argv[3] == "1", sys.argv[4])
    else:
        sys.exit(not all([report(browser) for browser in sys.argv[1:]]))
