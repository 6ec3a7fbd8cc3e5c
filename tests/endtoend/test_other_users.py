"""Other users of the machine: they cannot reach a port, and what they put in its place is not used."""

import json
import os
import socket
import subprocess
import sys
import unittest

from fixture import DEADLINE, EndToEndTest

NOBODY = 65534

# What another user tries, and how it ends.
ATTEMPTS = """
import fcntl, json, os, socket, sys
folder = sys.argv[1]
def connect(path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as own:
        own.connect(path)
        own.send(b"x")
        if own.recv(1) == b"":
            raise PermissionError
def lock(path):
    with open(path) as file:
        fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
def plant(path):
    os.unlink(path)
    socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET).bind(path)
attempts = {"list": os.listdir, "make": lambda path: open(path + "/file", "w"), "link": lambda path: os.symlink("/", path + "/link"),
            "open up": lambda path: os.chmod(path, 0o777), "move": lambda path: os.rename(path, path + ".old")}
answers = {}
for what, attempt in attempts.items():
    try:
        answers[what] = str(attempt(folder))
    except PermissionError:
        answers[what] = "denied"
for port in sys.argv[2:]:
    for what, attempt in {"connect": connect, "plant": plant, "lock": lambda path: lock(folder + "/." + port + ".lock")}.items():
        try:
            answers[what + " " + port] = str(attempt(folder + "/" + port))
        except PermissionError:
            answers[what + " " + port] = "denied"
print(json.dumps(answers))
"""


def stranger():
    """How to run a program as another user: as root, or by sudo without a password; else None, and the files' modes must tell."""
    if os.geteuid() == 0:
        return ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY, "--clear-groups"]
    by_sudo = ["sudo", "-n", "-u", "#%d" % NOBODY]
    try:
        return by_sudo if subprocess.run([*by_sudo, "true"], stderr=subprocess.DEVNULL).returncode == 0 else None
    except OSError:
        return None


class OtherUsers(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.stranger = stranger()
        # The way to the folder of ports is open, as it may be where the system gives no runtime folder.
        self.runtime = self.session.environment["XDG_RUNTIME_DIR"]
        os.chmod(self.session.folder, 0o755)
        os.chmod(self.runtime, 0o755)

    def as_stranger(self, *words):
        return subprocess.run([*self.stranger, *words], stdout=subprocess.PIPE, check=True, timeout=DEADLINE, cwd="/").stdout

    def test_another_users_process_reaches_nothing_in_the_folder_of_ports(self):
        host, console = self.start_both()
        folder, ports = self.port_path(), [console.state()["portName"], "org.dovetail.group.App"]
        facts = os.lstat(folder)
        self.assertEqual((facts.st_mode, facts.st_uid), (0o40700, os.geteuid()))
        before = sorted(os.listdir(folder))
        if self.stranger:
            answers = json.loads(self.as_stranger(sys.executable, "-c", ATTEMPTS, folder.rstrip("/"), *ports))
            self.assertEqual(len(answers), 11)
            self.assertEqual(set(answers.values()), {"denied"}, answers)
        self.assertEqual(sorted(os.listdir(folder)), before)
        self.assertEqual(self.sent(host, console), [])

    def assert_not_used(self):
        """Neither end takes what stands in the place of the folder."""
        host = self.session.run("dovetail-host")
        self.assertEqual(host.returncode, 1, host.stdout)
        self.assertIn(b"is not used", host.stderr)
        console = self.session.start_console()
        self.assertIsNone(console.state()["portName"])
        self.assertIn("is not used", "".join(event["line"] for event in console.seen if event.get("event") == "log"))
        self.assertEqual(console.quit(), 0)

    def test_a_folder_that_another_user_made_first_is_not_used(self):
        folder = self.port_path().rstrip("/")
        os.chmod(self.runtime, 0o1777)
        if self.stranger:
            self.as_stranger("mkdir", "-m", "777", folder)
        else:
            os.mkdir(folder)
            os.chmod(folder, 0o777)
        self.assert_not_used()
        self.assertEqual(os.listdir(folder), [])

    def test_a_symbolic_link_that_another_user_planted_is_not_followed(self):
        folder, elsewhere = self.port_path().rstrip("/"), self.session.make_folder("elsewhere")
        os.chmod(elsewhere, 0o700)
        os.chmod(self.runtime, 0o1777)
        if self.stranger:
            self.as_stranger("ln", "-s", elsewhere, folder)
        else:
            os.symlink(elsewhere, folder)
        self.assert_not_used()
        self.assertEqual(os.listdir(elsewhere), [])

    def test_a_socket_that_another_user_planted_for_the_folder_is_not_used(self):
        folder = self.port_path().rstrip("/")
        os.chmod(self.runtime, 0o1777)
        script = "import socket, sys; socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET).bind(sys.argv[1])"
        if self.stranger:
            self.as_stranger(sys.executable, "-c", script, folder)
        else:
            with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as planted:
                planted.bind(folder)
        self.assert_not_used()

    def test_a_port_opens_again_once_what_another_user_planted_is_gone(self):
        folder = self.port_path().rstrip("/")
        os.symlink("/nonexistent", folder)
        self.assertIsNone(self.session.start_console().state()["portName"])
        os.unlink(folder)
        path = self.make_archive()
        _, console = self.start_both()
        console.do("open", folder=self.folder)
        console.wait_until("archive", file=path)


if __name__ == "__main__":
    unittest.main()
