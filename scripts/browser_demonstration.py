"""Opens a real file browser with the extension in it, for a person who has a display: browser_demonstration.py BROWSER

The folder, the settings, the session bus and the host are private and go with the browser's last window; what the host
receives is printed."""

import json
import os
import select
import signal
import subprocess
import sys
import time

import dovetail_archives
from browser_modules import EXTENSION_FOLDERS, offer_module
from dovetail_session import DEADLINE, ROOT, Session

COMMANDS = {
    "caja": ["caja", "--no-desktop", "--browser"],
    "nautilus": ["nautilus", "--new-window"],
    "nemo": ["nemo", "--no-desktop"],
    "thunar": ["thunar"],
}
BOOKKEEPING = ["pingPortName:", "openArchive:portName:"]  # sent without a choice
GUIDE = """
%(browser)s opens a folder with archives. Try there:
  - a right click on an archive: the commands, and its contents as submenus
  - a right click on the folder's background, and on several files
What you choose reaches the host, which prints it here. Close the window to end.
"""


def display():
    """What a program needs to find the person's display from a session of its own."""
    names = ("DISPLAY", "XAUTHORITY")
    found = {name: os.environ[name] for name in names if os.environ.get(name)}
    if os.environ.get("DISPLAY") and "XAUTHORITY" not in found:
        found["XAUTHORITY"] = os.path.expanduser("~/.Xauthority")
    if os.environ.get("WAYLAND_DISPLAY"):
        found["WAYLAND_DISPLAY"] = os.path.join(os.environ.get("XDG_RUNTIME_DIR", ""), os.environ["WAYLAND_DISPLAY"])
    return found


def enter_namespace():
    """Again, where mounts are private and no process can stay behind."""
    own = ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.getuid() != 0:
        own[1:1] = ["--user", "--map-root-user"]
    os.execvp(own[0], own + [sys.executable, "-B", __file__, *sys.argv[1:], "inside"])


def show(browser, screen):
    with Session() as session:
        folder = session.make_folder("home", "Papers")
        dovetail_archives.make_collection(folder)
        session.settings("folders", "add", folder)
        session.settings("icons", "contextual", "on")
        environment = dict(session.environment, **screen, GSETTINGS_BACKEND="keyfile", GIO_USE_VFS="local")
        os.makedirs(session.path("home", ".config", "gtk-3.0"))
        with open(session.path("home", ".config", "gtk-3.0", "settings.ini"), "w") as settings:
            settings.write("[Settings]\ngtk-menu-images=1\n")
        module = os.path.join(ROOT, "build", "module-" + browser)
        environment.update(offer_module(browser, module, session.path("extensions")))
        print(GUIDE % {"browser": browser.capitalize()}, flush=True)
        host = session.start_host()
        process = subprocess.Popen(COMMANDS[browser] + [folder], env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=session.errors)
        tell_choices(host, os.pidfd_open(process.pid))
        return process.wait()


def tell_choices(host, end):
    """Prints what the user chooses, until the descriptor `end` is readable."""
    while end not in select.select([host.process.stdout, end], [], [])[0]:
        line = host.next_line(time.monotonic() + DEADLINE)
        if line is None:
            break
        if line["event"] == "message" and line["selector"] not in BOOKKEEPING:
            print("the host received %s with %s" % (line["selector"], json.dumps(line["argument"])), flush=True)


def main():
    browser = sys.argv[1] if len(sys.argv) > 1 else ""
    if browser not in EXTENSION_FOLDERS:
        sys.exit("Which file browser? One of: " + ", ".join(sorted(EXTENSION_FOLDERS)))
    screen = display()
    if not screen:
        sys.exit("There is no display here. scripts/demo without --browser needs none.")
    if sys.argv[2:] != ["inside"]:
        enter_namespace()
    signal.signal(signal.SIGTERM, lambda *ignored: sys.exit(143))
    return show(browser, screen)


if __name__ == "__main__":
    sys.exit(main())
