"""A client of the X server that presses keys, hears of menus that are mapped, and asks windows whether they answer. Nothing of it costs
the browser more than a user does."""

import ctypes
import select
import time

from dovetail_session import DEADLINE, Late

SUBSTRUCTURE_NOTIFY = 1 << 19
UNMAP_NOTIFY, MAP_NOTIFY, CLIENT_MESSAGE = 18, 19, 33


class MapEvent(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int), ("display", ctypes.c_void_p),
                ("event", ctypes.c_ulong), ("window", ctypes.c_ulong), ("override_redirect", ctypes.c_int)]


class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int), ("display", ctypes.c_void_p),
                ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong), ("format", ctypes.c_int), ("data", ctypes.c_long * 5)]


class Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("map", MapEvent), ("message", ClientMessage), ("room", ctypes.c_long * 24)]


class Display:
    def __init__(self):
        self.x = ctypes.CDLL("libX11.so.6")
        self.test = ctypes.CDLL("libXtst.so.6")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        for name in ("XDefaultRootWindow", "XInternAtom", "XStringToKeysym"):
            getattr(self.x, name).restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(None))
        self.root = ctypes.c_ulong(self.x.XDefaultRootWindow(self.display))
        self.x.XSelectInput(self.display, self.root, ctypes.c_long(SUBSTRUCTURE_NOTIFY))
        self.protocols = self.x.XInternAtom(self.display, b"WM_PROTOCOLS", 0)
        self.ping_atom = self.x.XInternAtom(self.display, b"_NET_WM_PING", 0)
        self.x.XFlush(self.display)
        self.pings = 0
        self.menu_window = None

    def press(self, *keys):
        """One key, others held meanwhile before it."""
        codes = [self.x.XKeysymToKeycode(self.display, ctypes.c_ulong(self.x.XStringToKeysym(key.encode()))) for key in keys]
        for code in codes:
            self.test.XTestFakeKeyEvent(self.display, code, 1, ctypes.c_ulong(0))
        for code in reversed(codes):
            self.test.XTestFakeKeyEvent(self.display, code, 0, ctypes.c_ulong(0))
        self.x.XFlush(self.display)

    def click(self, x, y, button, times=1):
        """Where the root window has that point."""
        self.test.XTestFakeMotionEvent(self.display, -1, x, y, ctypes.c_ulong(0))
        for _ in range(times):
            for is_press in (1, 0):
                self.test.XTestFakeButtonEvent(self.display, button, is_press, ctypes.c_ulong(0))
        self.x.XFlush(self.display)

    def events(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if not self.x.XPending(self.display):
                select.select([self.x.XConnectionNumber(self.display)], [], [], max(0, end - time.monotonic()))
                continue
            event = Event()
            self.x.XNextEvent(self.display, ctypes.byref(event))
            yield event

    def forget_events(self):
        self.x.XSync(self.display, 1)

    def wait_for_menu(self):
        for event in self.events(DEADLINE):
            if event.type == MAP_NOTIFY and event.map.override_redirect:
                self.menu_window = event.map.window
                return
        raise Late("no menu was mapped")

    def wait_for_menu_gone(self):
        """The one that was waited for last."""
        for event in self.events(DEADLINE):
            if event.type == UNMAP_NOTIFY and event.map.window == self.menu_window:
                return
        raise Late("the menu stayed")

    def ping(self, window):
        """Seconds until the window's program has answered."""
        self.pings += 1
        event = Event()
        event.message = ClientMessage(type=CLIENT_MESSAGE, window=window, message_type=self.protocols, format=32)
        event.message.data[0], event.message.data[1], event.message.data[2] = self.ping_atom, self.pings, window
        began = time.monotonic()
        self.x.XSendEvent(self.display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(event))
        self.x.XFlush(self.display)
        for answer in self.events(DEADLINE):
            if answer.type == CLIENT_MESSAGE and answer.message.data[1] == self.pings:
                return time.monotonic() - began
        raise Late("no answer to a ping")
