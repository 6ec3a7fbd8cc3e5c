"""Drives a real file browser by mouse and keys, and reads its windows and menus through AT-SPI, as a person with a screen
reader would. Import it only once the session's environment is set."""

import subprocess
import threading
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

from dovetail_session import Late  # noqa: E402

DEADLINE = 30.0  # seconds; two busy cores
PAUSE = threading.Event()


def wait_for(what, condition, seconds=DEADLINE):
    """What the condition answers once that is true; an accessible object may vanish while it is asked."""
    end = time.monotonic() + seconds
    fault = None
    while time.monotonic() < end:
        try:
            answer = condition()
            if answer:
                return answer
        except gi.repository.GLib.Error as error:
            fault = error
        PAUSE.wait(0.02)
    raise Late("waited in vain for %s%s" % (what, " (%s)" % fault if fault else ""))


def children(node):
    for position in range(node.get_child_count()):
        child = node.get_child_at_index(position)
        if child is not None:
            yield child


def is_in(node, *states):
    found = node.get_state_set()
    return all(found.contains(getattr(Atspi.StateType, state)) for state in states)


def below(node, wanted, closed=(), depth=40):
    """The nodes of these roles at or below the node; nothing below the roles `closed` is looked at."""
    role = node.get_role_name()
    if role in wanted:
        yield node
    if depth and role not in closed:
        for child in children(node):
            yield from below(child, wanted, closed, depth - 1)


def run(*arguments):
    return subprocess.run(arguments, check=True, text=True, stdout=subprocess.PIPE).stdout


def label_of(node):
    """As it is seen: without the characters that have no shape."""
    return (node.get_name() or "").replace("\u200b", "").replace("\u200c", "")


MENU_ITEMS = ("menu", "menu item", "check menu item", "radio menu item")


class FileBrowser:
    """One process of a browser that is built with GTK 3."""

    command = []
    cell_roles = ("icon",)
    keeps_menus_in_frame = False

    def __init__(self, session, *folders):
        Atspi.init()
        self.session = session
        self.prepare(session)
        self.process = session.spawn(self.command + list(folders))

    def prepare(self, session):
        """Writes settings before the browser starts."""

    # ---- Windows

    def application(self):
        if self.process.poll() is not None:
            raise Late("the browser has ended with status %s: %s" % (self.process.returncode, self.session.error_text()[-3000:]))
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for node in children(desktop):
            if node.get_process_id() == self.process.pid:
                return node
        return None

    def frames(self):
        application = self.application()
        return [node for node in children(application) if node.get_role_name() == "frame"] if application else []

    def window(self, title):
        """The window on a folder of that name."""
        return wait_for("a window %r" % title,
                        lambda: next((frame for frame in self.frames() if title in (frame.get_name() or "")), None))

    # ---- Files

    def files(self, window):
        """The shown files by name."""
        found = {}
        for node in below(window, self.cell_roles, ("menu bar", "tool bar", "menu", "icon")):
            area = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
            if node.get_name() and area.width > 8 and area.height > 8:
                found.setdefault(node.get_name(), node)
        return found

    def file(self, window, name):
        return wait_for("the file %r" % name, lambda: self.files(window).get(name))

    def point_at(self, node):
        area = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
        # In a list the free part of a cell is background.
        across = area.width // 2 if node.get_role_name() != "table cell" else min(area.width // 2, 30)
        return area.x + across, area.y + area.height // 2

    def click(self, node, button=1):
        x, y = self.point_at(node)
        run("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def select(self, window, name):
        self.click(self.file(window, name))

    # ---- Menus

    def open_menu_of(self, window, name):
        """Right-clicks a file; answers the menu."""
        self.click(self.file(window, name), 3)
        return self.open_menu()

    def open_background_menu(self, window):
        area = Atspi.Component.get_extents(window, Atspi.CoordType.SCREEN)
        run("xdotool", "mousemove", str(area.x + area.width - 60), str(area.y + area.height - 90), "click", "3")
        return self.open_menu()

    def shown_menu(self):
        for node in children(self.application()):
            if node.get_role_name() in ("window", "menu"):
                for menu in below(node, ("menu",), ("menu",), 3):
                    if is_in(menu, "SHOWING", "VISIBLE"):
                        return menu
        return None

    def open_menu(self):
        return wait_for("a menu", self.shown_menu)

    def close_menu(self):
        run("xdotool", "key", "--clearmodifiers", "Escape", "Escape", "Escape", "Escape")
        wait_for("no menu", lambda: not self.shown_menu())

    def items(self, menu):
        return [node for node in children(menu) if node.get_role_name() in MENU_ITEMS and is_in(node, "VISIBLE")]

    def labels(self, menu):
        return [label_of(node) for node in self.items(menu)]

    def item(self, menu, *way):
        for label in way:
            found = next((node for node in self.items(menu) if label_of(node) == label), None)
            if found is None:
                raise Late("no item %r in %r" % (label, self.labels(menu)))
            menu = found
        return menu

    def has_item(self, menu, *way):
        try:
            return bool(self.item(menu, *way))
        except Late:
            return False

    def choose(self, menu, *way):
        Atspi.Action.do_action(self.item(menu, *way), 0)

    def open_submenus(self, menu, *way):
        """Opens the menu's submenus by key, one in the other, so that they can be seen."""
        for depth in range(len(way)):
            item = self.item(menu, *way[:depth + 1])
            wait_for("%r to be highlighted" % way[depth], lambda: is_in(item, "SELECTED") or self.step_down())
            run("xdotool", "key", "Right")
            wait_for("the submenu of %r" % way[depth], lambda: any(is_in(node, "SHOWING") for node in self.items(item)))

    def step_down(self):
        run("xdotool", "key", "Down")

    # ---- The end

    def quit(self):
        """Closes all windows; answers the exit status."""
        for frame in self.frames():
            run("xdotool", "key", "--clearmodifiers", "ctrl+w")
        return self.process.wait(DEADLINE)


class Caja(FileBrowser):
    command = ["caja", "--no-desktop", "--browser"]

    def toolbar_button(self, window, name="Dovetail"):
        return wait_for("the toolbar button", lambda: next(
            (node for node in below(window, ("push button",), ("menu", "icon")) if node.get_name() == name), None))


class Nemo(FileBrowser):
    command = ["nemo", "--no-desktop"]
    cell_roles = ("table cell",)

    def prepare(self, session):
        # Its icon view tells AT-SPI no places.
        session.write(".config/glib-2.0/settings/keyfile", "[org/nemo/preferences]\ndefault-folder-viewer='list-view'\n")


class Thunar(FileBrowser):
    command = ["thunar"]
    cell_roles = ("table cell",)

    def prepare(self, session):
        # Its icon view shows AT-SPI no items.
        session.write(".config/xfce4/xfconf/xfce-perchannel-xml/thunar.xml",
                      '<?xml version="1.0" encoding="UTF-8"?>\n<channel name="thunar" version="1.0">\n'
                      '  <property name="default-view" type="string" value="ThunarDetailsView"/>\n'
                      '  <property name="last-view" type="string" value="ThunarDetailsView"/>\n</channel>\n')


class Nautilus(FileBrowser):
    """Built with GTK 4: places are told relative to the window, and a menu is a popover with one page for each submenu."""

    command = ["nautilus", "--new-window"]
    cell_roles = ("table cell", "icon")

    def files(self, window):
        found = {}
        for node in below(window, self.cell_roles, ("menu bar", "tool bar", "menu", "icon")):
            if node.get_name():
                found.setdefault(node.get_name(), node)
        return found

    def window_origin(self):
        lines = run("xdotool", "getactivewindow", "getwindowgeometry", "--shell").split()
        place = dict(line.split("=") for line in lines)
        return {name: int(place[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")}

    def point_at(self, node):
        origin = self.window_origin()
        area = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
        return origin["X"] + area.x + area.width // 2, origin["Y"] + area.y + area.height // 2

    def open_background_menu(self, window):
        origin = self.window_origin()
        run("xdotool", "mousemove", str(origin["X"] + origin["WIDTH"] - 60), str(origin["Y"] + origin["HEIGHT"] - 90),
            "click", "3")
        return self.open_menu()

    def shown_menu(self):
        for frame in self.frames():
            for menu in below(frame, ("menu",), ("menu", "menu item"), 25):
                if is_in(menu, "VISIBLE") and any(node.get_name() == "Properties" for node in below(menu, ("menu item",), (), 12)):
                    return menu
        return None

    def close_menu(self):
        run("xdotool", "key", "--clearmodifiers", "Escape")
        wait_for("no menu", lambda: not self.shown_menu())

    def pages(self, node):
        while node.get_role_name() != "menu":
            node = node.get_parent()
        return [list(below(page, ("menu item",), ("menu item",))) for page in below(node, ("panel",), ("menu item",))
                if page.get_name() == "GtkStackPage"]

    def items(self, menu):
        if menu.get_role_name() == "menu":
            return self.pages(menu)[0]
        # A page of the popover begins with an item that leads back and bears the label of the one that leads to it.
        return next((page[1:] for page in self.pages(menu)[1:] if page and page[0].get_name() == menu.get_name()), [])

    def open_submenus(self, menu, *way):
        for depth in range(len(way)):
            item = self.item(menu, *way[:depth + 1])
            Atspi.Action.do_action(item, 0)
            wait_for("the page of %r" % way[depth], lambda: any(is_in(node, "FOCUSED") for node in self.items(item)))


BROWSERS = {"caja": Caja, "nautilus": Nautilus, "nemo": Nemo, "thunar": Thunar}
