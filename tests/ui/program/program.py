"""The program under test, in a home of its own."""

import os
import pathlib
import subprocess
import tempfile

from accessible import ENABLED, SHOWING, Gone
from waiting import eventually

# Nothing answers there, so that no name of the real network is ever asked for.
NO_NETWORK = "http://127.0.0.1:9"


class Home:
    """All that belongs to the user."""

    def __init__(self, folder, desktop):
        self._folder = pathlib.Path(folder)
        self.config, self.state = self._made("config"), self._made("state")
        self.pictures, self.results = self._made("pictures"), self._made("results")
        self.environment = {
            "DBUS_SESSION_BUS_ADDRESS": desktop.bus_address, "DISPLAY": desktop.display_name, "LANG": "C.UTF-8",
            "PATH": os.environ["PATH"], "QT_QPA_PLATFORM": "xcb", "HOME": str(self._folder),
            "XDG_CONFIG_HOME": str(self.config), "XDG_STATE_HOME": str(self.state),
            "XDG_CACHE_HOME": str(self._made("cache")), "XDG_DATA_HOME": str(self._made("data")),
            "XDG_RUNTIME_DIR": str(self._made("runtime")), "TMPDIR": str(self._made("temporary")),
            "http_proxy": NO_NETWORK, "https_proxy": NO_NETWORK,
        }

    def untouchable(self):
        """What the program has to leave as it is: every path outside of results, configuration and state, by name."""
        facts = {}
        for path in self._folder.rglob("*"):
            if not any(path.is_relative_to(own) for own in (self.config, self.state, self.results)):
                status = path.lstat()
                facts[str(path.relative_to(self._folder))] = (
                    status.st_mode, status.st_ino, status.st_size, status.st_mtime_ns)
        return facts

    def _made(self, name):
        folder = self._folder / name
        folder.mkdir(mode=0o700)
        return folder


class Process:
    """A start of the program. It is killed at the latest by close()."""

    def __init__(self, command, home):
        self._messages = tempfile.TemporaryFile()
        self._popen = subprocess.Popen(list(map(str, command)), env=home.environment, cwd=home.pictures,
                                       stdin=subprocess.DEVNULL, stdout=self._messages, stderr=self._messages)
        self.pid = self._popen.pid
        self.poll, self.send_signal = self._popen.poll, self._popen.send_signal

    def close(self):
        if self.poll() is None:
            self._popen.kill()
            self._popen.wait()
        self._messages.close()

    def messages(self):
        """All that it has said."""
        self._messages.seek(0)
        return self._messages.read().decode(errors="replace")


class Program:
    """A process that has a window."""

    def __init__(self, process, accessibility, hands):
        self._hands = hands
        self.process = process
        self._accessibility = accessibility
        self._tree = None
        self._tree = self.wait_for(lambda: accessibility.program(self.process.pid), "a program that tells of itself")
        self.window = self.wait_for(lambda: hands.windows(self.process.pid), "a window")[0]

    def find(self, role, name=None):
        return self._tree.find(role, name)

    def get(self, role, name=None):
        """Waits for a control that is shown."""
        return self.wait_for(lambda: self.find(role, name), f"{role} “{name or ''}”")

    def click(self, name):
        """Presses a button as soon as it can be pressed."""
        button = self.get("push button", name)
        self.wait_for(lambda: button.is_(ENABLED), f"a button “{name}” that is enabled")
        button.act("Press")

    def says(self, text):
        """Whether a label that begins so is shown."""
        try:
            return any(each.role == "label" and each.name.startswith(text) and each.is_(SHOWING)
                       for each in self._tree.walk())
        except Gone:
            return False

    def wait_for_text(self, text):
        self.wait_for(lambda: self.says(text), f"the text “{text}”")

    def rows(self, name="Изображения"):
        """The rows of the list as they are read out; nothing when the list is not shown."""
        images = self.find("list", name)
        try:
            return [row.name for row in images.children] if images else []
        except Gone:  # they have just been exchanged
            return None

    def wait_for_rows(self, expected):
        self.wait_for(lambda: self.rows() == expected, lambda: f"{expected}, but {self.rows()}")

    def press(self, key):
        """Types into the main window."""
        self._hands.activate(self.window)
        self._hands.press(key)

    def choose_in_menu(self, name):
        """Opens the program's menu with the mouse and walks to one of its items with the keyboard."""
        self._hands.activate(self.window)
        self._hands.click(self.get("button menu", "Ovrel").box)
        self.wait_for(lambda: self._hands.has_popup(self.process.pid), "a menu")
        walked = []
        while name not in walked:
            self._accessibility.focus = None
            self._hands.press("Down")
            self.wait_for(lambda: self._has_focus("menu item"), "the next item of the menu")
            walked.append(self._accessibility.focus.name)
            assert len(set(walked)) == len(walked), f"no “{name}” in the menu, but {walked}"
        self._hands.press("Return")

    def wait_for(self, condition, what):
        def all_that_is_known():
            return (f"{what() if callable(what) else what}\nprocess: {self.process.poll()}\n"
                    f"messages: {self.process.messages()}\n"
                    f"{self._tree.tree() if self._tree else ''}")

        return eventually(condition, all_that_is_known)

    def wait_for_end(self):
        """Returns the status with which the program ends by itself."""
        self.wait_for(lambda: self.process.poll() is not None, "the program's end")
        return self.process.poll()

    def _has_focus(self, role):
        """Whether what was last said to have the keyboard has this role. Of a control before, the news may be late."""
        try:
            return self._accessibility.focus is not None and self._accessibility.focus.role == role
        except Gone:
            return False
