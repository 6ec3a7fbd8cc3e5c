"""Plays a user's afternoon with the extension, on real archives and in real processes, and checks each step."""

import os
import signal
import sys
from urllib.parse import unquote

import dovetail_archives
from dovetail_session import Late, Session, item, titles

GZIP_OF_TAR = 0x4000002
ARCHIVE = "holiday pictures.zip"
WAY = ["guide", "chapters", "second page.txt"]


class Unexpected(Exception):
    pass


def check(fact, expected, what):
    if fact != expected:
        raise Unexpected("%s: expected %r, found %r" % (what, expected, fact))


def step(number, text):
    print("\n%d. %s\n" % (number, text), flush=True)


def show(text=""):
    # A name that is not UTF-8 is shown with a sign for each strange byte.
    print("   " + text.encode("utf-8", "surrogateescape").decode("utf-8", "replace"), flush=True)


def show_menu(title, items, opens=lambda item: True):
    """Shows a menu as a tree; submenus that `opens` does not want are only marked."""
    show("[ %s ]" % title)
    show_items(items, "", opens)
    show()


def show_items(items, indent, opens):
    for position, each in enumerate(items):
        is_last = position == len(items) - 1
        below = each.get("items", [])
        note = "" if each["enabled"] else "  (disabled)"
        if below and not opens(each):
            below, note = [], "  ▸"
        show(" " + indent + ("└─ " if is_last else "├─ ") + each["title"] + note)
        show_items(below, indent + ("   " if is_last else "│  "), opens)


def is_more(item):
    return item["title"] == "More"


def option(message, key):
    """A value of a message's option dictionary."""
    return next(value for name, value in message["argument"]["v"] if name["v"] == key)


def regular_files(folder):
    entries = [os.path.join(folder, name) for name in os.listdir(folder)]
    return sorted(path for path in entries if os.path.isfile(path) and not os.path.islink(path))


def path_of(message):
    """The path that a message's URL names."""
    return unquote(message["argument"]["rel"][len("file://"):], errors="surrogateescape")


def make_files(session):
    step(1, "A folder with archives of four formats, ordinary files, a subfolder and a symbolic link:")
    folder = session.make_folder("Papers")
    dovetail_archives.make_collection(folder)
    for name in sorted(os.listdir(folder)):
        show(name)
    return folder


def start(session, folder):
    step(2, "The host application and a file browser with the extension start; the folder is watched:")
    session.settings("folders", "add", folder)
    host = session.start_host()
    console = session.start_console()
    console.wait_until("host")
    state = console.state()
    check(state["applicationPid"], host.pid, "the host's process as the extension knows it")
    greeting = host.message("pingPortName:")
    check(greeting["argument"]["v"], state["portName"], "the port that the host was greeted with")
    show("host: process %d, browser: process %d" % (host.pid, console.pid))
    show("the extension greets the host from its port " + state["portName"])
    return host, console


def enter(host, console, folder):
    step(3, "The user enters the folder: the host is asked about each regular file, once.")
    console.do("open", folder=folder)
    mark(console, folder)
    asked = [path_of(message) for message in host.messages_until("showAcl:") if message["selector"] == "openArchive:portName:"]
    check(sorted(asked), regular_files(folder), "the files that the host was asked about")
    for path in sorted(asked):
        show("what is in " + os.path.basename(path) + "?")
    console.do("close", folder=folder)
    console.do("open", folder=folder)
    mark(console, folder)
    again = host.messages_until("showAcl:")
    check([message["selector"] for message in again], ["showAcl:"], "what the host was sent at the second visit")
    show("... and at a second visit it is asked nothing.")


def mark(console, folder):
    """A message that marks the end of those before it."""
    console.do("select", files=[])
    console.do("target", folder=folder)
    console.menu(1)
    console.do("choose", titles=["Access Control List…"])


def show_menus(console, folder):
    step(4, "The menus:")
    archive = os.path.join(folder, ARCHIVE)
    console.wait_until("archive", file=archive)
    of_archive = console.menu_of(archive)
    show_menu("right click on " + ARCHIVE, of_archive)
    check(titles(of_archive), ["Delete…", "Secure Delete…", "Compress", ARCHIVE, "Rename…", "Permissions…",
                               "Access Control List…", "More"], "the menu of an archive")
    check(titles(item(of_archive, ARCHIVE)["items"]), ["guide", "read me.txt"], "the contents of the archive")
    check(item(of_archive, ARCHIVE, *WAY)["action"], "expand:", "the action of an entry")

    of_two = console.menu_of(os.path.join(folder, "notes.txt"), os.path.join(folder, "letter to anna.txt"))
    show_menu("right click on two files", of_two, is_more)
    check(titles(of_two), ["Delete…", "Secure Delete…", "Compress", "Rename…", "Size Browser…", "Permissions…",
                           "Access Control List…", "More"], "the menu of two files")
    check(titles(of_two[-1]["items"]), ["Combined Permissions…", "Checksum…"], "what stands under More")

    console.do("select", files=[])
    console.do("target", folder=folder)
    of_folder = console.menu(1)
    show_menu("right click on the folder's background", of_folder, is_more)
    check(titles(of_folder), ["Delete…", "Secure Delete…", "Compress", "Rename…", "Size Browser…", "Permissions…",
                              "Access Control List…"], "the menu of the background")
    of_toolbar = console.menu(3)
    show_menu("the toolbar button's menu", of_toolbar, is_more)
    check(titles(of_toolbar), titles(of_folder), "the menu of the toolbar button")
    check_odd_archives(console, folder)


def check_odd_archives(console, folder):
    expected = {"letters.tar.gz": 2, "drafts.tar.xz": 2, "backup.7z": 2, "old names.tar.gz": 1, "empty.zip": 0}
    for name, count in expected.items():
        path = os.path.join(folder, name)
        console.wait_until("archive", file=path)
        found = item(console.menu_of(path), name)
        check(found is not None, True, "whether there is an item for " + name)
        check(len(found.get("items", [])), count, "the entries at the top of " + name)
        show("%s: %s" % (name, ", ".join(titles(found.get("items", []))) or "empty"))


def choose(host, console, folder):
    step(5, "The user chooses Compress, TAR, GZIP; and an entry of the archive:")
    archive = os.path.join(folder, ARCHIVE)
    console.menu_of(archive)
    console.do("choose", titles=["Compress", "TAR", "GZIP"])
    request = host.message("compress:")
    check(option(request, "2")["v"], str(GZIP_OF_TAR), "the tag of TAR with GZIP")
    urls = [url["rel"] for url in option(request, "1")["v"]]
    check([os.path.basename(url) for url in urls], ["holiday%20pictures.zip"], "the files to compress")
    show("the host received %s with tag %#x for %s" % (request["selector"], int(option(request, "2")["v"]), ", ".join(urls)))

    console.do("choose", titles=[ARCHIVE] + WAY)
    request = host.message("expand:")
    index_path = [int(index) for index in option(request, "2")["v"]]
    check(index_path, [0, 0, 1], "the index path of the entry")
    check(request["entry"]["name"], WAY[-1], "the entry that the host finds by it")
    show("the host received %s with index path %s for %s" % (request["selector"], index_path, option(request, "1")["rel"]))
    show("and finds there: " + request["entry"]["path"])


def restart(session, host, console, folder):
    step(6, "The host dies; the toolbar menu says so. It starts again, and the archive's menu is back:")
    archive = os.path.join(folder, ARCHIVE)
    host.signal(signal.SIGKILL)
    console.wait_until("noHost")
    of_toolbar = console.menu(3)
    show_menu("the toolbar button's menu", of_toolbar)
    check([(each["title"], each["enabled"]) for each in of_toolbar], [("Dovetail is not running", False)], "the toolbar menu")
    check(console.menu_of(archive), None, "the contextual menu without a host")
    session.start_host()
    console.wait_until("archive", file=archive)
    of_archive = console.menu_of(archive)
    check(titles(item(of_archive, ARCHIVE)["items"]), ["guide", "read me.txt"], "the contents of the archive")
    show_menu("right click on " + ARCHIVE, [item(of_archive, ARCHIVE)])
    check(console.quit(), 0, "the browser's exit status")


def main():
    with Session() as session:
        try:
            folder = make_files(session)
            host, console = start(session, folder)
            enter(host, console, folder)
            show_menus(console, folder)
            choose(host, console, folder)
            restart(session, host, console, folder)
        except (Unexpected, Late, AssertionError) as fault:
            print("\nThis is not as it should be. %s\n%s" % (fault, session.error_text()), file=sys.stderr)
            return 1
    print("All of it as it should be.")
    return 0


if __name__ == "__main__":
    sys.stdout.reconfigure(errors="replace")
    sys.exit(main())
