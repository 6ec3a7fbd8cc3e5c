"""Drives a real file browser by mouse and keys, and reads its windows and menus as a person with a screen reader would. Import it
only once the session's environment is set."""

import subprocess

from accessibility import (MENU_ITEMS, Atspi, application_of, area_of, below, children, is_in, label_of, press, run, run_action,
                           wait_for)
from dovetail_session import DEADLINE, Late


class FileBrowser:
    """One process of a browser that is built with GTK 3."""

    command = []
    cell_roles = ("icon",)
    draws_icons = True

    def __init__(self, session, *folders):
        Atspi.init()
        self.session = session
        self.prepare(session)
        self.process = session.spawn_browser(self.command + list(folders))

    def prepare(self, session):
        """Writes settings before the browser starts."""

    # ---- Windows

    def application(self):
        if self.process.poll() is not None:
            raise Late("the browser has ended with status %s: %s" % (self.process.returncode, self.session.error_text()[-3000:]))
        return application_of(self.process.pid)

    def frames(self):
        application = self.application()
        return [node for node in children(application) if node.get_role_name() == "frame"] if application else []

    def find_window(self, title):
        return next((frame for frame in self.frames() if (frame.get_name() or "").startswith(title)), None)

    def window(self, title):
        """The window on a folder of that name."""
        return wait_for("a window %r" % title, lambda: self.find_window(title))

    def open_window(self, folder, title):
        """Another window of the same process."""
        self.session.spawn_browser(self.command + [folder])
        window = self.window(title)
        self.activate(window)
        return window

    def activate(self, window):
        title = window.get_name()
        command = ["xdotool", "search", "--onlyvisible", "--all", "--pid", str(self.process.pid), "--name", "^%s" % title,
                   "windowactivate", "--sync"]
        # AT-SPI tells of a window before the X server shows it.
        wait_for("%r on the screen" % title, lambda: subprocess.run(command).returncode == 0)
        wait_for("%r in front" % title, lambda: is_in(window, "ACTIVE"))

    def enter_address(self, path):
        """Leads the window in front to a folder. Slowly, as what is typed is completed meanwhile; the last completion is taken off."""
        press("ctrl+l")
        run("xdotool", "type", "--delay", "120", path)
        press("Delete", "Return")

    def close_window(self, window):
        self.activate(window)
        title = window.get_name()
        press("ctrl+w")
        wait_for("no window %r" % title, lambda: self.is_closed(title))

    def is_closed(self, title):
        try:
            return not self.find_window(title)
        except Late:
            return self.process.poll() is not None  # that was its last window

    # ---- Files

    def files(self, window):
        """The shown files by name."""
        found = {}
        for node in below(window, self.cell_roles, ("menu bar", "tool bar", "menu", "icon")):
            area = area_of(node)
            if node.get_name() and area.width > 8 and area.height > 8:
                found.setdefault(node.get_name(), node)
        return found

    def file(self, window, name):
        return wait_for("the file %r" % name, lambda: self.files(window).get(name))

    def point_at(self, node):
        area = area_of(node)
        # In a list the free part of a cell is background.
        across = area.width // 2 if node.get_role_name() != "table cell" else min(area.width // 2, 16)
        return area.x + across, area.y + area.height // 2

    def click(self, node, button=1, *keys):
        """Clicks while the keys are held."""
        self.click_at(*self.point_at(node), button, *keys)

    def click_at(self, x, y, button, *keys):
        held = [word for key in keys for word in ("keydown", key)]
        released = [word for key in keys for word in ("keyup", key)]
        # Only a pointer that moves tells the window below a closed menu that it has come back.
        run("xdotool", "mousemove", str(x + 2), str(y), "mousemove", str(x), str(y), *held, "click", str(button), *released)

    def select(self, window, *names):
        self.click(self.file(window, names[0]))
        for name in names[1:]:
            self.click(self.file(window, name), 1, "ctrl")

    def show_hidden_files(self):
        """Or no longer."""
        press("ctrl+h")

    # ---- Menus

    def open_menu_of(self, window, *names):
        """Right-clicks a file, or the last of several that it selects first; answers the menu."""
        if len(names) > 1:
            self.select(window, *names)
        return self.open_menu_at(self.point_at(self.file(window, names[-1])))

    def open_menu_at(self, point):
        self.click_at(*point, 3)
        return self.open_menu()

    def free_point(self, window):
        """A point of the window's background."""
        area = area_of(window)
        return area.x + area.width - 60, area.y + area.height - 90

    def select_nothing(self, window):
        self.click_at(*self.free_point(window), 1)

    def middle_of(self, window):
        area = area_of(window)
        return area.x + area.width // 2, area.y + area.height // 2

    def open_background_menu(self, window):
        return self.open_menu_at(self.free_point(window))

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
        press("Escape", "Escape", "Escape", "Escape")
        self.wait_until_closed()

    def wait_until_closed(self):
        """Until the X server has taken the menu off as well: before that a click would still go to it."""
        wait_for("no menu", lambda: not self.shown_menu() and len(self.shown_surfaces()) <= len(self.frames()))

    def shown_surfaces(self):
        search = ["xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid)]
        return subprocess.run(search, text=True, stdout=subprocess.PIPE).stdout.split()

    def items(self, menu):
        return [node for node in children(menu) if node.get_role_name() in MENU_ITEMS and is_in(node, "VISIBLE")]

    def labels(self, menu):
        return [label_of(node) for node in self.items(menu)]

    def item(self, menu, *way):
        for label in way:
            # The browser's own item of the label, if it has one, comes before the extension's.
            found = next((node for node in reversed(self.items(menu)) if label_of(node) == label), None)
            if found is None:
                raise Late("no item %r in %r" % (label, self.labels(menu)))
            menu = found
        return menu

    def is_enabled(self, item):
        return is_in(item, "SENSITIVE")

    def has_item(self, menu, *way):
        try:
            return bool(self.item(menu, *way))
        except Late:
            return False

    def choose(self, menu, *way):
        run_action(self.item(menu, *way))
        self.wait_until_closed()

    def open_submenus(self, menu, *way):
        """Opens the menu's submenus by key, one in the other, so that they can be seen."""
        for depth in range(len(way)):
            item = self.item(menu, *way[:depth + 1])
            wait_for("%r to be highlighted" % way[depth], lambda: is_in(item, "SELECTED") or press("Down"))
            press("Right")
            wait_for("the submenu of %r" % way[depth], lambda: any(is_in(node, "SHOWING") for node in self.items(item)))

    # ---- The end

    def quit(self):
        """Closes all windows; answers the exit status."""
        titles = [frame.get_name() for frame in self.frames()]
        for title in titles:
            self.close_window(self.window(title))
        return self.process.wait(DEADLINE)


class Caja(FileBrowser):
    command = ["caja", "--no-desktop", "--browser", "--geometry=1100x600"]

    def find_window(self, title):
        # "papers - File Browser"
        return super().find_window(title + " ") or super().find_window(title)

    def toolbar_button(self, window, name="Dovetail"):
        return wait_for("the toolbar button", lambda: next(
            (node for node in below(window, ("push button",), ("menu", "icon")) if node.get_name() == name), None))

    def open_toolbar_menu(self, window):
        self.click(self.toolbar_button(window))
        return self.open_menu()


class CajaDesktop(Caja):
    """Shows the folder "papers" of the home."""

    command = ["caja", "--force-desktop", "--no-default-window"]

    def prepare(self, session):
        session.write(".config/user-dirs.dirs", 'XDG_DESKTOP_DIR="$HOME/papers"\n')


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
                      '  <property name="last-view" type="string" value="ThunarDetailsView"/>\n'
                      '  <property name="last-location-bar" type="string" value="ThunarLocationButtons"/>\n</channel>\n')


class Nautilus(FileBrowser):
    """Built with GTK 4: places are told relative to the window, and a menu is a popover with one page for each submenu."""

    command = ["nautilus", "--new-window"]
    cell_roles = ("table cell", "icon")
    draws_icons = False

    def prepare(self, session):
        self.known = None
        self.views = {}

    def application(self):
        """Asked for once: every question costs a GTK 4 program more than others."""
        if self.process.poll() is not None or not self.known:
            self.known = super().application()
        if self.known:
            self.known.clear_cache()
        return self.known

    def view(self, window):
        """What stands in the window between tool bar and side bar, with the popovers of its menus."""
        if not (window in self.views and is_in(self.views[window], "VISIBLE")):
            self.views[window] = wait_for("a view in %r" % window.get_name(), lambda: next(
                (node for node in below(window, ("filler",), ("tool bar", "list", "menu", "scroll pane", "icon"), 14)
                 if node.get_name() == "Content View"), None))
        return self.views[window]

    def files(self, window):
        found = {}
        view = self.view(window)
        view.clear_cache()
        for node in below(view, self.cell_roles, ("menu", "icon")):
            if node.get_name():
                found.setdefault(node.get_name(), node)
        return found

    def open_menu_at(self, point):
        # A popover that has just closed may take a click for itself.
        for _ in range(5):
            try:
                self.click_at(*point, 3)
                return wait_for("a menu", self.shown_menu, DEADLINE / 10)
            except Late:
                continue
        return self.open_menu()

    def select_nothing(self, window):
        self.click_at(*self.free_point(window), 1)
        wait_for("no selection", lambda: not self.selection(window) or self.click_at(*self.free_point(window), 1))

    def selection(self, window):
        return [name for name, node in self.files(window).items() if is_in(node, "SELECTED") or is_in(node.get_parent(), "SELECTED")]

    def window_origin(self):
        lines = run("xdotool", "getactivewindow", "getwindowgeometry", "--shell").split()
        place = dict(line.split("=") for line in lines)
        return {name: int(place[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")}

    def point_at(self, node):
        origin = self.window_origin()
        area = area_of(node)
        return origin["X"] + area.x + area.width // 2, origin["Y"] + area.y + area.height // 2

    def free_point(self, window):
        origin = self.window_origin()
        # Above the words on the selection that cover the corner.
        return origin["X"] + origin["WIDTH"] - 60, origin["Y"] + origin["HEIGHT"] * 2 // 3

    def middle_of(self, window):
        origin = self.window_origin()
        return origin["X"] + origin["WIDTH"] // 2, origin["Y"] + origin["HEIGHT"] // 2

    def shown_menu(self):
        for frame in self.frames():
            view = self.view(frame)
            view.clear_cache()
            for node in children(view):
                if node.get_role_name() == "menu" and is_in(node, "VISIBLE"):
                    return node
        return None

    def close_menu(self):
        press("Escape")
        self.wait_until_closed()

    def pages(self, node):
        while node.get_role_name() != "menu":
            node = node.get_parent()
        while node.get_child_at_index(0).get_name() != "GtkStackPage":
            node = next(child for child in children(node) if child.get_role_name() != "scroll bar")
        return list(children(node))

    def page_of(self, item):
        """A page of the popover begins with an item that leads back and bears the label of the one that leads to it."""
        name = item.get_name()
        return next(page for page in self.pages(item)[1:] if next(self.items_of(page)).get_name() == name)

    def items_of(self, page):
        return below(page, ("menu item",), ("menu item", "separator"))

    def items(self, menu):
        if menu.get_role_name() == "menu":
            return list(self.items_of(self.pages(menu)[0]))
        return list(self.items_of(self.page_of(menu)))[1:]

    def open_submenus(self, menu, *way):
        for depth in range(len(way)):
            item = self.item(menu, *way[:depth + 1])
            run_action(item)
            wait_for("the page of %r" % way[depth], lambda: any(is_in(node, "FOCUSED") for node in self.items_of(self.page_of(item))))


BROWSERS = {"caja": Caja, "nautilus": Nautilus, "nemo": Nemo, "thunar": Thunar}
