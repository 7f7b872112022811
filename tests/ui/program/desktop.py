"""A desktop of the test's own: a display, a window manager, a user's bus and the accessibility bus."""

import contextlib
import os
import pathlib
import subprocess

from gi.repository import Gio, GLib
from Xlib import X
from Xlib.display import Display

from needed import ACCESSIBILITY_SERVICE
from waiting import LIMIT_SECONDS, eventually


ACCESSIBILITY = "org.a11y.Bus"
CONFIGURATION = """
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={home}/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{home}/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>"""


class Desktop:
    """Runs until close(). Its servers live in a home below `folder` that is not the one of the programs under test."""

    def __init__(self, folder):
        self._ends = contextlib.ExitStack()
        self._home = pathlib.Path(folder, "desktop")
        self._home.mkdir(mode=0o700)
        self._environment = {"PATH": os.environ["PATH"], "HOME": str(self._home), "LANG": "C.UTF-8",
                             "XDG_RUNTIME_DIR": str(self._home),
                             # The accessibility bus takes a switch back that a service for settings does not keep.
                             "GSETTINGS_BACKEND": "memory"}
        try:
            self._open_display()
            self._open_buses()
        except BaseException:
            self.close()
            raise

    def close(self):
        self._ends.close()

    def names(self):
        """All that is to be asked on the user's bus: a name with a colon for each connection, and those of services."""
        [names] = self._ask_bus("ListNames")
        return names

    def activatable_names(self):
        """What the user's bus starts when somebody asks for it."""
        [names] = self._ask_bus("ListActivatableNames")
        return names

    def _open_display(self):
        """The display chooses a number that is free."""
        self.display_name = ":" + self._start_told("Xvfb", "-displayfd", "{}", "-screen", "0", "1600x1200x24",
                                                   "-nolisten", "tcp", "-noreset")
        self._environment["DISPLAY"] = self.display_name
        self.display = Display(self.display_name)
        self._ends.callback(self.display.close)
        self._start("openbox", "--sm-disable", "--config-file", "/dev/null")
        supported = self.display.intern_atom("_NET_SUPPORTING_WM_CHECK")
        eventually(lambda: self.display.screen().root.get_full_property(supported, X.AnyPropertyType),
                   "a window manager")

    def _open_buses(self):
        configuration = self._configure_bus()
        self.bus_address = self._start_told("dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile",
                                            "--nosyslog", "--print-address={}")
        self._bus = self._connect(self.bus_address)
        # What a screen reader says, so that programs tell of their controls.
        for switch in ["IsEnabled", "ScreenReaderEnabled"]:
            self._ask("org.freedesktop.DBus.Properties", "Set",
                      GLib.Variant("(ssv)", ("org.a11y.Status", switch, GLib.Variant("b", True))))
        [address] = self._ask(ACCESSIBILITY, "GetAddress", None)
        self.accessibility_bus = self._connect(address)

    def _configure_bus(self):
        """Only the accessibility bus is started on demand: what else is installed here, a portal above all, would have
        a say in what the tests see."""
        services = self._home / "services"
        services.mkdir()
        (services / ACCESSIBILITY_SERVICE.name).symlink_to(ACCESSIBILITY_SERVICE)
        configuration = self._home / "bus.conf"
        configuration.write_text(CONFIGURATION.format(home=self._home))
        return configuration

    def _connect(self, address):
        connection = connection_to(address)
        self._ends.callback(connection.close_sync, None)
        return connection

    def _ask_bus(self, method):
        return self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                                   None, None, Gio.DBusCallFlags.NONE, LIMIT_SECONDS * 1000, None).unpack()

    def _ask(self, interface, method, arguments):
        return self._bus.call_sync(ACCESSIBILITY, "/org/a11y/bus", interface, method, arguments, None,
                                   Gio.DBusCallFlags.NONE, LIMIT_SECONDS * 1000, None).unpack()

    def _start(self, *command, **options):
        process = subprocess.Popen(command, env=self._environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, **options)
        self._ends.callback(end, process)

    def _start_told(self, *command):
        """Starts a server and returns its address, which it writes to the descriptor that "{}" stands for."""
        reading, writing = os.pipe()
        with os.fdopen(reading) as said:
            self._start(*(word.format(writing) for word in command), pass_fds=[writing])
            os.close(writing)
            address = said.readline().strip()
        if not address:
            raise RuntimeError(f"{command[0]} has ended without an address")
        return address


def end(process):
    process.terminate()
    try:
        process.wait(LIMIT_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def connection_to(address):
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
