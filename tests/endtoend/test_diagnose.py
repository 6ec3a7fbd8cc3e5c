"""What `dovetail-console diagnose` says of a session: well, and with each thing that a menu depends on out of order."""

import os
import shutil
import signal
import subprocess
import unittest

from fixture import DEADLINE, EndToEndTest

BUS_WITHOUT_SERVICES = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%s</listen>
  <policy context="default"><allow send_destination="*"/><allow eavesdrop="false"/><allow own="*"/></policy>
</busconfig>
"""


class Diagnose(EndToEndTest):
    def diagnose(self, **variables):
        environment = dict(self.session.environment, **variables)
        done = subprocess.run([self.session.programs + "/dovetail-console", "diagnose"], env=environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=4 * DEADLINE)
        lines = done.stdout.decode().splitlines()
        self.assertEqual(done.returncode, int(any(line.startswith("[FAULT]") for line in lines)), done.stderr)
        return lines

    def assert_said(self, lines, *words):
        """One line holds all the words."""
        self.assertTrue(any(all(word in line for word in words) for line in lines), "%s is not said in\n%s" % (words, "\n".join(lines)))

    def beyond_browsers(self, lines):
        """The lines of the session, without those of the browsers of this machine."""
        end = next(index for index, line in enumerate(lines) if "toolbar button:" in line)
        return lines[:end + 1]

    def test_nothing_is_wrong_with_a_session_that_is_well(self):
        host = self.session.start_host("--quiet")
        lines = self.diagnose()
        self.assertEqual([line for line in self.beyond_browsers(lines) if not line.startswith("[ok] ")], [])
        self.assert_said(lines, "host's port: process %d listens and reads" % host.pid)

    def test_it_sends_the_host_nothing(self):
        host = self.session.start_host()
        self.diagnose()
        host.signal(signal.SIGTERM)
        host.wait()
        self.assertEqual([line for line in host.seen if line["event"] in ("message", "badMessage")], [])

    def test_an_absent_host_is_told_from_one_of_another_build(self):
        self.assert_said(self.diagnose(), "[FAULT] host:", "is not running: start it")
        self.session.start_host("--quiet", "--bundle-version", "0.9")
        lines = self.diagnose()
        self.assert_said(lines, "[ok]    host:", "runs as process")
        self.assert_said(lines, "[FAULT] version: the host is of build 0.9")

    def test_a_stopped_host_is_told_of(self):
        host = self.session.start_host("--quiet")
        host.signal(signal.SIGSTOP)
        os.waitid(os.P_PID, host.pid, os.WSTOPPED)
        lines = self.diagnose()
        self.assert_said(lines, "[FAULT] host:", "process %d, is stopped: let it go on" % host.pid)
        self.assertFalse(any("host's port" in line for line in lines))

    def test_a_host_in_another_runtime_folder_is_told_of(self):
        self.session.start_host("--quiet")
        other = self.session.make_folder("other-run")
        lines = self.diagnose(XDG_RUNTIME_DIR=other)
        self.assert_said(lines, "[FAULT] host's port:", self.session.environment["XDG_RUNTIME_DIR"], "this session in " + other)

    def test_a_host_whose_port_has_gone_is_told_of(self):
        host = self.session.start_host("--quiet")
        shutil.rmtree(self.port_path())
        self.assert_said(self.diagnose(), "[FAULT] host's port: process %d does not listen" % host.pid)

    def test_a_bus_that_cannot_start_the_settings_service_is_told_of(self):
        self.session.stop_bus()
        configuration = self.session.path("bus.conf")
        with open(configuration, "w") as file:
            file.write(BUS_WITHOUT_SERVICES % self.session.bus_path)
        self.session.start_bus("--config-file=" + configuration)
        lines = self.diagnose()
        self.assert_said(lines, "[FAULT] settings service:", "ca.desrt.dconf")
        self.assert_said(lines, "[ok]    watched folder: " + self.folder)

    def test_without_a_bus_the_host_is_unknown(self):
        self.session.stop_bus()
        lines = self.diagnose()
        self.assert_said(lines, "[FAULT] session bus: none can be reached")
        self.assert_said(lines, "[?]     host:")
        self.assert_said(lines, "[?]     settings service:")

    def test_a_damaged_settings_file_is_told_of(self):
        with open(os.path.join(self.session.environment["XDG_CONFIG_HOME"], "dconf", "user"), "wb") as file:
            file.write(b"no database")
        lines = self.diagnose()
        self.assert_said(lines, "[FAULT] settings file:", "is damaged")
        self.assertFalse(any("watched folder" in line for line in lines))

    def test_a_module_that_is_switched_off_in_the_browser_is_told_of(self):
        for browser, schema, entry in (("caja", "org.mate.caja.extensions", "libdovetail-caja"),
                                       ("nemo", "org.nemo.plugins", "DovetailNemo")):
            said = "[FAULT] %s: the module is switched off" % browser
            self.assertFalse(any(line.startswith(said) for line in self.diagnose()))
            subprocess.run(["gsettings", "set", schema, "disabled-extensions", "['%s']" % entry], env=self.session.environment, check=True)
            self.assert_said(self.diagnose(), said)

    def test_a_list_of_extensions_whose_schema_is_missing_is_unknown(self):
        lines = self.diagnose(XDG_DATA_DIRS=self.session.make_folder("no-data"))
        self.assert_said(lines, "[?]     caja: its list of extensions cannot be read")

    def test_a_machine_without_a_browser_is_told_of(self):
        lines = self.diagnose(PATH=self.session.make_folder("no-programs"))
        self.assertTrue(lines[-1].startswith("[FAULT] file browsers: there is none"), lines)


if __name__ == "__main__":
    unittest.main()
