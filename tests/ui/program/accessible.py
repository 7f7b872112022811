"""Programs as a screen reader sees them: AT-SPI 2 as it goes over its bus, without a cache that may be out of date."""

import collections

from gi.repository import Gio, GLib

CALL_MILLISECONDS = 60_000
REGISTRY = "org.a11y.atspi.Registry"
ROOT = "/org/a11y/atspi/accessible/root"

# Of AtspiStateType.
CHECKED, ENABLED, SHOWING = 4, 8, 25

Box = collections.namedtuple("Box", "x y width height")  # pixels of the screen


class Gone(Exception):
    """The control or its program does not exist any more."""


class Accessible:
    """A control. Each property is asked for anew."""

    def __init__(self, bus, owner, path):
        self._bus, self._owner, self._path = bus, owner, path

    def __repr__(self):
        return f"{self.role} “{self.name}”"

    @property
    def name(self):
        return self._property("Accessible", "Name")

    @property
    def description(self):
        return self._property("Accessible", "Description")

    @property
    def role(self):
        return self._call("Accessible", "GetRoleName")

    @property
    def children(self):
        return [Accessible(self._bus, *child) for child in self._call("Accessible", "GetChildren")]

    @property
    def label(self):
        """The text beside a control that says what it is for; nothing without one."""
        labelled_by = 2  # of AtspiRelationType
        for relation, targets in self._call("Accessible", "GetRelationSet"):
            if relation == labelled_by:
                return Accessible(self._bus, *targets[0]).name
        return None

    @property
    def box(self):
        on_screen = 0
        return Box(*self._call("Component", "GetExtents", GLib.Variant("(u)", (on_screen,))))

    @property
    def value(self):
        return self._property("Value", "CurrentValue")

    @value.setter
    def value(self, value):
        arguments = GLib.Variant("(ssv)", ("org.a11y.atspi.Value", "CurrentValue", GLib.Variant("d", value)))
        self._ask("org.freedesktop.DBus.Properties", "Set", arguments)

    def is_(self, state):
        low, high = self._call("Accessible", "GetState")
        return bool((low | high << 32) >> state & 1)

    def type(self, text):
        """Puts a text in place of what an input field holds."""
        self._call("EditableText", "SetTextContents", GLib.Variant("(s)", (text,)))

    def act(self, action):
        """Does what the control offers under this name, for example Press."""
        names = [name for name, _, _ in self._call("Action", "GetActions")]
        self._call("Action", "DoAction", GLib.Variant("(i)", (names.index(action),)))

    def walk(self):
        """This control and all below it, without the rows of lists, which may be many."""
        yield self
        if self.role != "list":
            for child in self.children:
                yield from child.walk()

    def find(self, role, name=None):
        """The first control that is shown and has this role, and this name if one is given; otherwise nothing."""
        try:
            for each in self.walk():
                if each.role == role and name in (None, each.name) and each.is_(SHOWING):
                    return each
        except Gone:
            pass
        return None

    def tree(self, depth=0):
        """All that walk() finds, as a text for people."""
        try:
            lines = [f"{'  ' * depth}{self}{'' if self.is_(SHOWING) else ' (hidden)'}"]
            if self.role != "list":
                lines += [child.tree(depth + 1) for child in self.children]
            return "\n".join(lines)
        except Gone:
            return "  " * depth + "(gone)"

    def _property(self, interface, name):
        arguments = GLib.Variant("(ss)", (f"org.a11y.atspi.{interface}", name))
        return self._ask("org.freedesktop.DBus.Properties", "Get", arguments)

    def _call(self, interface, method, arguments=None):
        return self._ask(f"org.a11y.atspi.{interface}", method, arguments)

    def _ask(self, interface, method, arguments):
        try:
            answer = self._bus.call_sync(self._owner, self._path, interface, method, arguments, None,
                                         Gio.DBusCallFlags.NONE, CALL_MILLISECONDS, None).unpack()
        except GLib.Error as error:
            raise Gone(error.message) from error
        return answer[0] if len(answer) == 1 else answer


class Accessibility:
    """The programs of a desktop, and which control has the keyboard."""

    def __init__(self, bus):
        self._bus = bus
        self.focus = None  # the control that was last said to have the keyboard; the only way to the items of a menu
        event = "object:state-changed:focused"
        bus.call_sync(REGISTRY, "/org/a11y/atspi/registry", REGISTRY, "RegisterEvent", GLib.Variant("(s)", (event,)),
                      None, Gio.DBusCallFlags.NONE, CALL_MILLISECONDS, None)
        bus.signal_subscribe(None, "org.a11y.atspi.Event.Object", "StateChanged", None, "focused",
                             Gio.DBusSignalFlags.NONE, self._take_focus)

    def program(self, process):
        """The program with this process id, once it has told of itself; nothing before."""
        for owner, path in Accessible(self._bus, REGISTRY, ROOT)._call("Accessible", "GetChildren"):
            if self._process_of(owner) == process:
                return Accessible(self._bus, owner, path)
        return None

    def _take_focus(self, _bus, owner, path, _interface, _signal, arguments):
        if arguments.unpack()[1]:
            self.focus = Accessible(self._bus, owner, path)

    def _process_of(self, owner):
        try:
            [process] = self._bus.call_sync(
                "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                GLib.Variant("(s)", (owner,)), None, Gio.DBusCallFlags.NONE, CALL_MILLISECONDS, None).unpack()
        except GLib.Error:  # it has just ended
            return None
        return process
