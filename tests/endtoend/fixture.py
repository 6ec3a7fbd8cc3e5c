"""What the end-to-end tests share: a private session for each test, a watched folder in it, and raw peers of the ports."""

import array
import ctypes
import fcntl
import json
import os
import socket
import struct
import subprocess
import sys
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "scripts"))

import dovetail_archives  # noqa: E402
from dovetail_session import DEADLINE, Session, item, titles  # noqa: E402,F401
from process_facts import children, descriptors  # noqa: E402

LAST = "showAcl:"  # what `mark` makes the extension send
LONGEST_PACKET = 65536
ALL_SEALS = fcntl.F_SEAL_SEAL | fcntl.F_SEAL_SHRINK | fcntl.F_SEAL_GROW | fcntl.F_SEAL_WRITE


class EndToEndTest(unittest.TestCase):
    """A session with one watched folder; hosts and consoles are each test's own."""

    maxDiff = None

    def setUp(self):
        self.session = Session()
        self.addCleanup(self.session.close)
        self.folder = self.session.make_folder("watched")
        self.session.settings("folders", "add", self.folder)

    def make_file(self, name, data=b"text\n", folder=None):
        path = os.path.join(folder or self.folder, name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def make_archive(self, name="letters.zip", entries=dovetail_archives.ENTRIES, folder=None):
        path = os.path.join(folder or self.folder, name)
        dovetail_archives.make_zip(path, entries)
        return path

    def start_both(self):
        """A host and a console that knows it."""
        host = self.session.start_host()
        console = self.session.start_console()
        console.wait_until("host")
        host.message("pingPortName:")
        return host, console

    def mark(self, console):
        """Sends a message that marks the end of those before it."""
        console.do("select", files=[])
        console.do("target", folder=self.folder)
        self.assertIsNotNone(console.menu(3), "there is no menu to send a message from")
        console.do("choose", titles=["Access Control List…"])

    def sent(self, host, console):
        """The messages that the extension has sent since the host was last listened to."""
        self.mark(console)
        return [message for message in host.messages_until(LAST) if message["selector"] != LAST]

    def asked(self, host, console):
        """The paths that the host was asked about since then, sorted."""
        return sorted(path_of_url(message["argument"]) for message in self.sent(host, console)
                      if message["selector"] == "openArchive:portName:")

    def announce(self):
        """Posts the notice that a host posts at its start."""
        subprocess.run(["dbus-send", "--session", "--type=signal", "/org/dovetail/DistributedNotificationCenter",
                        "org.dovetail.DistributedNotificationCenter.DTDovetailRunning", "string:"],
                       env=self.session.environment, check=True)

    def until(self, console, holds):
        """Waits on what ends a few turns of the browser's loop after what it has heard of, such as the watcher of a host."""
        deadline = time.monotonic() + DEADLINE
        while not holds():
            self.assertLess(time.monotonic(), deadline, "%s %s" % (descriptors(console.pid), children(console.pid)))
            console.state()

    def port_path(self, port_name=""):
        return os.path.join(self.session.environment["XDG_RUNTIME_DIR"], "dovetail", port_name)

    def send_record(self, port_name, record):
        """Sends bytes to a port as any program of the user could."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as peer:
            peer.settimeout(DEADLINE)
            peer.connect(self.port_path(port_name))
            if 0 < len(record) <= LONGEST_PACKET:
                peer.send(record)
                return
            memory = os.memfd_create("record", os.MFD_CLOEXEC | os.MFD_ALLOW_SEALING)
            with os.fdopen(memory, "wb") as file:
                file.write(record)
                file.flush()
                fcntl.fcntl(memory, fcntl.F_ADD_SEALS, ALL_SEALS)
                peer.sendmsg([b"\0"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [memory]))])

    def archive_of(self, value):
        """The keyed archive of a value in the JSON grammar of dovetail-archive."""
        done = self.session.run("dovetail-archive", "make", "-", data=json.dumps(value).encode())
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def send_message(self, port_name, selector, argument):
        self.send_record(port_name, self.archive_of(
            {"t": "msg", "selector": text(selector), "argument": argument, "portName": None}))


# ---- Values in the JSON grammar

def text(value):
    return None if value is None else {"t": "str", "v": value}


def data(value):
    return {"t": "data", "v": value.hex()}


def dictionary(**members):
    return {"t": "dict", "v": [[text(key.lstrip("_")), value] for key, value in members.items()]}


def node(name, children=None, index=0):
    def number(value):
        return {"t": "int", "v": str(value)}
    return {"t": "node", "children": children,
            "object": {"t": "entry", "name": text(name), "folder": children is not None, "index": number(index),
                       "rsrcIndex": number(0), "size": number(0)}}


def option(message, key):
    """A value of a message's option dictionary."""
    return next(value for name, value in message["argument"]["v"] if name["v"] == key)


def path_of_url(url):
    from urllib.parse import unquote
    return unquote(url["rel"][len("file://"):], errors="surrogateescape").rstrip("/")


def identity_of(path):
    """The bytes that both programs know a file by: device, inode and birth time (statx(2))."""
    libc = ctypes.CDLL(None, use_errno=True)
    status = ctypes.create_string_buffer(256)
    at_cwd, no_follow, all_fields = -100, 0x100, 0xfff
    if libc.statx(at_cwd, os.fsencode(path), no_follow, all_fields, status) != 0:
        raise OSError(ctypes.get_errno(), path)
    mask, = struct.unpack_from("=I", status.raw, 0)
    inode, = struct.unpack_from("=Q", status.raw, 32)
    seconds, nanoseconds = struct.unpack_from("=qI", status.raw, 80)
    major, minor = struct.unpack_from("=II", status.raw, 136)
    birth = (seconds * 10**9 + nanoseconds) % 2**64 if mask & 0x800 else 2**64 - 1
    return struct.pack(">IIQQ", major, minor, inode, birth)
