"""What programs show, read through AT-SPI as a screen reader does. Import it only once the session's environment is set."""

import subprocess
import threading
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from dovetail_session import DEADLINE, Late  # noqa: E402

MENU_ITEMS = ("menu", "menu item", "check menu item", "radio menu item")
SHAPELESS = str.maketrans("", "", "\u200b\u200c")

_turn = threading.Event()


def wait_for(what, condition, seconds=DEADLINE):
    """What the condition answers once that is true. An accessible object may vanish while it is asked."""
    end = time.monotonic() + seconds
    fault = None
    while time.monotonic() < end:
        try:
            answer = condition()
            if answer:
                return answer
        except GLib.Error as error:
            fault = error
        _turn.wait(0.02)  # not all that is shown is told by an event
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


def area_of(node):
    return Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)


def run_action(node):
    Atspi.Action.do_action(node, 0)


def label_of(node):
    """As it is seen: without the characters that have no shape."""
    return (node.get_name() or "").translate(SHAPELESS)


def application_of(process):
    """What the process shows, or None."""
    desktop = Atspi.get_desktop(0)
    desktop.clear_cache()
    return next((node for node in children(desktop) if node.get_process_id() == process), None)


def run(*arguments):
    return subprocess.run(arguments, check=True, text=True, stdout=subprocess.PIPE).stdout


def press(*keys):
    run("xdotool", "key", "--clearmodifiers", *keys)
