"""A private session for scripts and tests: a session bus, a home and a runtime folder of its own, and the programs in it.

Nothing in it touches the user's own session, and nothing is left of it once it is closed. Programs are real processes;
whoever waits for one of them waits for a line of its output, with a deadline.
"""

import json
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEADLINE = float(os.environ.get("DOVETAIL_DEADLINE", 30))  # seconds; so many that only a real fault meets it


class Late(Exception):
    """Something that was waited for did not happen."""


class LineProcess:
    """A program that speaks one JSON object a line."""

    def __init__(self, arguments, environment, error_file):
        self.arguments = arguments
        self.process = subprocess.Popen(
            arguments, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=error_file,
            start_new_session=True)
        self.pid = self.process.pid
        self.seen = []  # every line so far
        self._bytes = b""

    def next_line(self, deadline):
        """The next object, or None at the end of the output."""
        while b"\n" not in self._bytes:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.process.stdout], [], [], left)[0]:
                raise Late("%s is silent; it said %s" % (self.arguments[0], self.seen[-5:]))
            piece = os.read(self.process.stdout.fileno(), 1 << 20)
            if not piece:
                return None
            self._bytes += piece
        line, self._bytes = self._bytes.split(b"\n", 1)
        self.seen.append(json.loads(line))
        return self.seen[-1]

    def lines_until(self, matches, seconds=DEADLINE):
        """The lines from now on, up to and with the first that matches."""
        deadline = time.monotonic() + seconds
        lines = []
        while not lines or not matches(lines[-1]):
            line = self.next_line(deadline)
            if line is None:
                raise Late("%s has ended; it said %s" % (self.arguments[0], self.seen[-5:]))
            lines.append(line)
        return lines

    def line(self, matches, seconds=DEADLINE):
        return self.lines_until(matches, seconds)[-1]

    def signal(self, number):
        self.process.send_signal(number)

    def wait(self, seconds=DEADLINE):
        """The exit status; what the program still says is kept in `seen`."""
        deadline = time.monotonic() + seconds
        while self.next_line(deadline) is not None:
            pass
        return self.process.wait(max(0.1, deadline - time.monotonic()))

    def close(self):
        """Ends the process in whatever state it is: stopped, or stuck in writing what nobody reads."""
        for stream in (self.process.stdin, self.process.stdout):
            try:
                stream.close()
            except OSError:
                pass
        if self.process.poll() is not None:
            return
        self.process.terminate()
        self.process.send_signal(signal.SIGCONT)
        try:
            self.process.wait(DEADLINE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


class Host(LineProcess):
    """The reference host."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.ready = self.line(lambda line: line.get("event") == "ready")

    def messages_until(self, selector, seconds=DEADLINE):
        """The messages from now on, up to and with the first of that selector."""
        lines = self.lines_until(lambda line: line.get("selector") == selector, seconds)
        return [line for line in lines if line["event"] == "message"]

    def message(self, selector, seconds=DEADLINE):
        return self.messages_until(selector, seconds)[-1]

    def notification(self, seconds=DEADLINE):
        return json.loads(self.line(lambda line: line["event"] == "notification", seconds)["object"])


class Console(LineProcess):
    """The file browser without a screen."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.events = []

    def send_line(self, line):
        self.process.stdin.write(line + b"\n")
        self.process.stdin.flush()

    def reply(self, seconds=DEADLINE):
        lines = self.lines_until(lambda line: "event" not in line, seconds)
        self.events += lines[:-1]
        return lines[-1]

    def ask(self, do, seconds=DEADLINE, **members):
        """The reply to a request."""
        self.send_line(json.dumps(dict(members, do=do)).encode())
        return self.reply(seconds)

    def do(self, do, **members):
        """A request that must be done."""
        reply = self.ask(do, **members)
        if "error" in reply:
            raise AssertionError("%s %s: %s" % (do, members, reply["error"]))
        return reply

    def menu(self, kind=0):
        """The items of a menu, or None."""
        menu = self.do("menu", kind=kind)["menu"]
        return None if menu is None else menu["items"]

    def menu_of(self, *files, kind=0):
        self.do("select", files=list(files))
        return self.menu(kind)

    def state(self):
        return self.do("state")

    def wait_until(self, until, **members):
        """Waits on what the extension hears of by its own means."""
        self.send_line(json.dumps(dict(members, do="wait", until=until, seconds=DEADLINE)).encode())
        reply = self.reply(2 * DEADLINE)
        if "error" in reply:
            raise Late("%s %s: %s" % (until, members, reply["error"]))

    def quit(self):
        self.do("quit")
        return self.wait()


class Session:
    """Owns the private folder, the bus and every process started in it."""

    def __init__(self, programs=None):
        self.programs = programs or os.environ.get("DOVETAIL_PROGRAMS") or os.path.join(ROOT, "build", "bin")
        self.folder = tempfile.mkdtemp(prefix="dovetail-")
        self.errors = open(os.path.join(self.folder, "errors.txt"), "w+b")
        self.processes = []
        self.bus = None
        self.environment = dict(os.environ)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "DCONF_PROFILE", "G_MESSAGES_DEBUG", "DBUS_SESSION_BUS_PID"):
            self.environment.pop(name, None)
        for variable, folder in (("HOME", "home"), ("XDG_CONFIG_HOME", "home/.config"), ("XDG_DATA_HOME", "home/.local/share"),
                                 ("XDG_CACHE_HOME", "home/.cache"), ("XDG_RUNTIME_DIR", "run")):
            self.environment[variable] = self.path(folder)
            os.makedirs(self.path(folder), 0o700)
        self.bus_path = self.path("run/bus")
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + self.bus_path
        self.start_bus()

    def __enter__(self):
        return self

    def __exit__(self, *ignored):
        self.close()

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def make_folder(self, *names):
        folder = self.path(*names)
        os.makedirs(folder, exist_ok=True)
        return folder

    def start_bus(self, configuration="--session"):
        if os.path.exists(self.bus_path):
            os.unlink(self.bus_path)
        self.bus = subprocess.Popen(
            ["dbus-daemon", configuration, "--nofork", "--nopidfile", "--print-address",
             "--address=unix:path=" + self.bus_path],
            env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self.errors, start_new_session=True)
        if not self.bus.stdout.readline():
            raise Late("the session bus did not start: " + self.error_text())

    def stop_bus(self):
        if self.bus:
            self.bus.terminate()
            self.bus.wait()
            self.bus.stdout.close()
            self.bus = None

    def start(self, kind, name, *options):
        process = kind([os.path.join(self.programs, name), *options], self.environment, self.errors)
        self.processes.append(process)
        return process

    def start_host(self, *options):
        """A host that is ready."""
        return self.start(Host, "dovetail-host", *options)

    def start_console(self, *options):
        """A console that has started the extension up."""
        console = self.start(Console, "dovetail-console", "--json", *options)
        console.state()
        return console

    def settings(self, *words):
        """Edits the shared settings as the host's user would."""
        done = self.run("dovetail-host", *words)
        if done.returncode != 0:
            raise AssertionError("dovetail-host %s: %s" % (" ".join(map(str, words)), done.stderr.decode()))
        return done.stdout.decode()

    def run(self, name, *arguments, data=b""):
        """Runs one of the programs to its end."""
        return subprocess.run([os.path.join(self.programs, name), *arguments], env=self.environment, input=data,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=DEADLINE)

    def error_text(self):
        self.errors.flush()
        with open(self.errors.name, "rb") as file:
            return file.read().decode("utf-8", "backslashreplace")

    def close(self):
        for process in reversed(self.processes):
            process.close()
        self.stop_bus()
        self.errors.close()
        remove_tree(self.folder)


def remove_tree(folder):
    """Removes a tree, its unreadable folders too; a service of the bus may write its last file meanwhile."""
    deadline = time.monotonic() + DEADLINE
    while os.path.lexists(folder):
        for place, folders, _ in os.walk(folder):
            for name in folders:
                if not os.path.islink(os.path.join(place, name)):
                    os.chmod(os.path.join(place, name), 0o700)
        shutil.rmtree(folder, ignore_errors=time.monotonic() < deadline)


def titles(items):
    return [item["title"] for item in items]


def item(items, *way):
    """The item by the titles on the way to it, or None."""
    found = None
    for title in way:
        found = next((each for each in items if each["title"] == title), None)
        if found is None:
            return None
        items = found.get("items", [])
    return found
