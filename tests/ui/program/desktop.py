"""A desktop of the test's own: a display, a window manager, a user's bus and the accessibility bus."""

import os
import pathlib
import subprocess

from gi.repository import Gio, GLib
from Xlib import X
from Xlib.display import Display

from waiting import LIMIT_SECONDS, eventually


class Desktop:
    """Runs until close(). Its servers live in a home below `folder` that is not the one of the programs under test."""

    def __init__(self, folder):
        self._processes = []
        self._home = pathlib.Path(folder, "desktop")
        self._home.mkdir(mode=0o700)
        self._environment = {"PATH": os.environ["PATH"], "HOME": str(self._home), "LANG": "C.UTF-8",
                             "XDG_RUNTIME_DIR": str(self._home)}
        try:
            self._open_display()
            self._open_buses()
        except BaseException:
            self.close()
            raise

    def close(self):
        for process in reversed(self._processes):
            process.terminate()
            try:
                process.wait(LIMIT_SECONDS)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def names(self):
        """All that is to be asked on the user's bus: a name with a colon for each connection, and those of services."""
        [names] = self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                      "ListNames", None, None, Gio.DBusCallFlags.NONE, LIMIT_SECONDS * 1000,
                                      None).unpack()
        return names

    def _open_display(self):
        """The display chooses a number that is free."""
        self.display_name = ":" + self._start_told("Xvfb", "-displayfd", "{}", "-screen", "0", "1600x1200x24",
                                                   "-nolisten", "tcp", "-noreset")
        self._environment["DISPLAY"] = self.display_name
        self.display = Display(self.display_name)
        self._start("openbox", "--sm-disable", "--config-file", "/dev/null")
        supported = self.display.intern_atom("_NET_SUPPORTING_WM_CHECK")
        eventually(lambda: self.display.screen().root.get_full_property(supported, X.AnyPropertyType),
                   "a window manager")

    def _open_buses(self):
        self.bus_address = self._start_told("dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog",
                                            f"--address=unix:path={self._home}/bus", "--print-address={}")
        self._bus = connection_to(self.bus_address)
        # What a screen reader says, so that programs tell of their controls.
        for switch in ["IsEnabled", "ScreenReaderEnabled"]:
            self._ask("org.freedesktop.DBus.Properties", "Set",
                      GLib.Variant("(ssv)", ("org.a11y.Status", switch, GLib.Variant("b", True))))
        [address] = self._ask("org.a11y.Bus", "GetAddress", None)
        self.accessibility_bus = connection_to(address)

    def _ask(self, interface, method, arguments):
        return self._bus.call_sync("org.a11y.Bus", "/org/a11y/bus", interface, method, arguments, None,
                                   Gio.DBusCallFlags.NONE, LIMIT_SECONDS * 1000, None).unpack()

    def _start(self, *command, **options):
        self._processes.append(subprocess.Popen(command, env=self._environment, stdin=subprocess.DEVNULL,
                                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options))

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


def connection_to(address):
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
