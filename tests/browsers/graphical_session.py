"""A private graphical session for a real file browser: an X server, a window manager, a session bus, a home.

`run` starts a script in mount, process and network namespaces of its own, where the browser finds the module under test and from which
no process can stay behind.

The environment names what is under test: DOVETAIL_PROGRAMS the folder of programs, DOVETAIL_MODULES a folder with one
"module-BROWSER" for each browser, DOVETAIL_PICTURES the folder for screenshots.
"""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "scripts"))

from browser_modules import mount, offer_module  # noqa: E402
from dovetail_session import DEADLINE, Late, Session  # noqa: E402

def namespaces():
    """Of its own: mounts for the modules, processes so that none stays behind, and the network for the display's abstract socket."""
    kinds = ["unshare", "--mount", "--pid", "--net", "--fork", "--kill-child", "--mount-proc"]
    as_user = kinds[:1] + ["--user", "--map-root-user"] + kinds[1:]
    usable = os.getuid() == 0 and subprocess.run(kinds + ["true"], stderr=subprocess.DEVNULL).returncode == 0
    return kinds if usable else as_user


def run(browser, script, *arguments):
    """Runs a Python script in namespaces of its own; answers its exit status."""
    environment = {name: value for name, value in os.environ.items() if name in ("PATH", "TMPDIR") or name.startswith("DOVETAIL_")}
    environment["DOVETAIL_BROWSER"] = browser
    sys.stdout.flush()
    return subprocess.run(namespaces() + [sys.executable, "-B", script, *arguments], env=environment, stdin=subprocess.DEVNULL).returncode


class GraphicalSession(Session):
    """A session with a display. `with_module` False leaves the browser without the extension."""

    def __init__(self, browser, with_module=True, size="1280x900x24"):
        super().__init__()
        self.spawned = []
        self.browser_name = browser
        self.pictures = os.environ.get("DOVETAIL_PICTURES") or self.path("pictures")
        os.makedirs(self.pictures, exist_ok=True)
        self.offer(browser, with_module)
        self.environment.update(
            LANG="C.UTF-8", GDK_BACKEND="x11", GSETTINGS_BACKEND="keyfile", GSK_RENDERER="cairo", LIBGL_ALWAYS_SOFTWARE="1",
            GIO_USE_VFS="local", GVFS_DISABLE_FUSE="1", GTK_USE_PORTAL="0")
        self.write(".config/gtk-3.0/settings.ini", "[Settings]\ngtk-menu-images=1\ngtk-enable-animations=0\n")
        self.write(".config/gtk-4.0/settings.ini", "[Settings]\ngtk-enable-animations=0\n")
        self.write(".config/user-dirs.dirs", "")
        os.environ.clear()
        os.environ.update(self.environment)
        self.start_display(size)

    def offer(self, browser, with_module=True):
        """Makes another browser find its module, or none."""
        modules = os.environ.get("DOVETAIL_MODULES") or os.path.join(ROOT, "build")
        module = os.path.join(modules, "module-" + browser) if with_module else None
        self.environment.update(offer_module(browser, module, self.path("extensions-" + browser)))

    def write(self, name, text):
        """A file in the home."""
        path = self.path("home", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as file:
            file.write(text)

    def start_display(self, size):
        sockets = self.make_folder("x11")
        os.makedirs("/tmp/.X11-unix", exist_ok=True)
        mount("--bind", sockets, "/tmp/.X11-unix")
        os.chmod("/tmp/.X11-unix", 0o1777)
        reader, writer = os.pipe()
        self.spawn(["Xvfb", "-displayfd", str(writer), "-screen", "0", size, "-nolisten", "tcp", "-noreset", "-dpi", "96"],
                   pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise Late("the X server did not start: " + self.error_text())
        self.environment["DISPLAY"] = os.environ["DISPLAY"] = ":" + number
        self.spawn(["openbox", "--sm-disable"])

    def spawn(self, arguments, **options):
        process = subprocess.Popen(arguments, env=self.environment, stdin=subprocess.DEVNULL, stdout=self.errors,
                                   stderr=self.errors, **options)
        self.spawned.append(process)
        return process

    def spawn_browser(self, arguments):
        """Without root's right to read what permissions forbid."""
        return self.spawn(["setpriv", "--bounding-set", "-dac_override,-dac_read_search", *arguments])

    def close(self):
        for process in reversed(self.spawned):
            process.terminate()
            try:
                process.wait(DEADLINE)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        super().close()

    def has_icon(self, item):
        """Whether anything is drawn where a menu's item has its icon."""
        from accessibility import area_of
        area = area_of(item)
        place = "%dx%d+%d+%d" % (24, area.height - 6, area.x + 4, area.y + 3)
        colours = subprocess.run(["import", "-window", "root", "-crop", place, "+repage", "-format", "%k", "info:-"],
                                 env=self.environment, check=True, text=True, stdout=subprocess.PIPE).stdout
        return int(colours) > 2

    def brightness(self, node):
        """Of the darkest and of the lightest point of what is drawn there, from 0 to 1."""
        from accessibility import area_of
        area = area_of(node)
        place = "%dx%d+%d+%d" % (area.width - 8, area.height - 8, area.x + 4, area.y + 4)
        said = subprocess.run(["import", "-window", "root", "-crop", place, "+repage", "-colorspace", "Gray", "-format",
                               "%[fx:minima] %[fx:maxima]", "info:-"],
                              env=self.environment, check=True, text=True, stdout=subprocess.PIPE).stdout
        return [float(word) for word in said.split()]

    def picture(self, name):
        """Keeps a screenshot."""
        subprocess.run(["import", "-window", "root", os.path.join(self.pictures, "%s-%s.png" % (self.browser_name, name))],
                       env=self.environment, check=True)
