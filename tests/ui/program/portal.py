"""A desktop portal that tells programs whether the user wants light or dark windows."""

import threading

from gi.repository import Gio, GLib

from desktop import connection_to
from waiting import LIMIT_SECONDS

NO_PREFERENCE, DARK, LIGHT = 0, 1, 2
PRIMARY_OWNER = 1  # D-Bus Specification, org.freedesktop.DBus.RequestName

PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
GROUP, KEY = "org.freedesktop.appearance", "color-scheme"
INTERFACE = f"""
<node><interface name="{SETTINGS}">
  <method name="ReadOne">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
  </method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""


class Portal:
    """Answers in a thread of its own, since programs wait for it. Until close()."""

    def __init__(self, bus_address, scheme):
        self._scheme = scheme
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._bus = connection_to(bus_address)
        ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=[ready], daemon=True)
        self._thread.start()
        ready.wait(LIMIT_SECONDS)
        [answer] = self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                       "RequestName", GLib.Variant("(su)", ("org.freedesktop.portal.Desktop", 0)), None,
                                       Gio.DBusCallFlags.NONE, LIMIT_SECONDS * 1000, None).unpack()
        if answer != PRIMARY_OWNER:
            raise RuntimeError("another portal answers on this bus")

    def close(self):
        self._bus.close_sync(None)
        self._loop.quit()
        self._thread.join()

    def change(self, scheme):
        self._scheme = scheme
        self._bus.emit_signal(None, PATH, SETTINGS, "SettingChanged",
                              GLib.Variant("(ssv)", (GROUP, KEY, GLib.Variant("u", scheme))))

    def _serve(self, ready):
        self._context.push_thread_default()
        self._bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], self._answer, None,
                                  None)
        ready.set()
        self._loop.run()

    def _answer(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        if arguments.unpack() == (GROUP, KEY):
            invocation.return_value(GLib.Variant("(v)", (GLib.Variant("u", self._scheme),)))
        else:
            invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such setting")
