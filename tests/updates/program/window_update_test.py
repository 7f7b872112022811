"""The program itself finds its next version on a publisher's server; its user presses a button, and has that version.

    window_update_test.py PROGRAMS PUBLISHER HOST APPLICATION VERSION NEXT [WORD OF UNITTEST…]

PROGRAMS holds the programs of the tests and the installer, PUBLISHER the publisher's tools.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

import needed

needed.look_for("openssl")

PROGRAMS, PUBLISHER, HOST, APPLICATION, VERSION, NEXT = (sys.argv.pop(1) for _ in range(6))
NAMES = ["updating-ovrel", "updating-ovrel-next", "updating-ovrel-next-that-crashes", "ovrel-installer"]
ORDINARY_USER = 65534
CRASHES = "updating-ovrel-next-that-crashes"


def copy_what_is_tested(folder):
    """Another user may not read where it was built. Programs go without what only a debugger reads."""
    for name in NAMES:
        subprocess.run(["strip", "-o", folder / name, pathlib.Path(PROGRAMS, name)], check=True)
    shutil.copytree(PUBLISHER, folder / "publisher")


def become_an_ordinary_user(folder):
    """Root's own installations are an administrator's, so that nothing there updates itself."""
    if os.geteuid() == 0:
        for path in [folder, *folder.rglob("*")]:
            os.chown(path, ORDINARY_USER, ORDINARY_USER)
        os.setgroups([])
        os.setgid(ORDINARY_USER)
        os.setuid(ORDINARY_USER)


FOLDER = pathlib.Path(tempfile.mkdtemp())
copy_what_is_tested(FOLDER)
become_an_ordinary_user(FOLDER)

import installation
from accessible import Accessibility
from desktop import Desktop
from installation import Installation
from program import Home, Process, Program
from publisher import Publisher
from waiting import eventually
from x_client import XClient


def files_of(version, name):
    return installation.files_of(version, FOLDER / name, FOLDER / "ovrel-installer", APPLICATION)


class WindowUpdateTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.addClassCleanup(shutil.rmtree, FOLDER, ignore_errors=True)
        cls.desktop = cls.enterClassContext(contextlib.closing(Desktop(FOLDER)))
        cls.accessibility = Accessibility(cls.desktop.accessibility_bus)
        cls.hands = XClient(cls.desktop.display)

    def setUp(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(dir=FOLDER)))
        self.publisher = self.enterContext(contextlib.closing(
            Publisher(folder, FOLDER / "publisher", HOST, APPLICATION)))
        self.publisher.take_public_test_key()
        home = folder / "home"
        home.mkdir()
        self.home = Home(home, self.desktop)
        self.home.environment |= {"https_proxy": self.publisher.proxy,
                                  "OVREL_PLAYED_AUTHORITY": str(self.publisher.authority)}
        self.installation = Installation(folder / "user", files_of(VERSION, "updating-ovrel"))
        self.addCleanup(self.kill_all)

    def running(self):
        """The command lines of the installation's programs, by process."""
        found = {}
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if os.readlink(process / "exe") == str(self.installation.program):
                    found[int(process.name)] = (process / "cmdline").read_bytes().decode().split("\0")[1:-1]
        return found

    def kill_all(self):
        for process in self.running():
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)

    def press_install(self):
        """Returns when the program has ended because of it."""
        process = Process([self.installation.program], self.home)
        self.addCleanup(process.close)
        program = Program(process, self.accessibility, self.hands)
        program.get("heading", f"Доступна новая версия Ovrel — {NEXT}")
        program.click("Установить обновление")
        self.assertEqual(program.wait_for_end(), 0)

    def wait_for_window(self, *arguments):
        """A program of the installation that was started so and shows its window. Returns its process."""
        def shown():
            for process, found in self.running().items():
                tree = self.accessibility.program(process)
                if found == list(arguments) and tree and tree.find("label", "Перетащите файлы сюда"):
                    return process
            return None

        return eventually(shown, lambda: f"a window after {arguments}; there is {self.running()}")

    def wait_until_settled(self):
        eventually(lambda: not self.installation.hidden(), lambda: f"nothing beside, but {self.installation.hidden()}")

    def said_version(self):
        environment = self.home.environment | {"QT_QPA_PLATFORM": "offscreen"}
        return subprocess.run([self.installation.program, "--version"], env=environment, check=True,
                              capture_output=True, text=True, timeout=60).stdout.strip()

    def end(self, process):
        os.kill(process, signal.SIGTERM)
        eventually(lambda: not self.running(), "the end of the program")

    def test_becomes_the_next_version(self):
        self.publisher.publish(NEXT, files_of(NEXT, "updating-ovrel-next"))
        self.assertEqual(self.said_version(), f"Ovrel {VERSION}")
        self.press_install()
        process = self.wait_for_window(f"--relaunched-after-update={NEXT}")
        self.assertEqual(self.installation.version(), NEXT)
        self.wait_until_settled()
        self.assertEqual(list(self.running()), [process])
        self.assertEqual(self.said_version(), f"Ovrel {NEXT}")
        self.end(process)
        self.assertEqual(self.installation.version(), NEXT)

    def test_comes_back_when_the_next_version_crashes_before_its_window(self):
        self.publisher.publish(NEXT, files_of(NEXT, CRASHES))
        self.press_install()
        process = self.wait_for_window()
        self.assertEqual(self.installation.version(), VERSION)
        self.wait_until_settled()
        self.assertEqual(self.said_version(), f"Ovrel {VERSION}")
        self.assertEqual([self.hands.title(window) for window in self.hands.windows(process)], ["Ovrel"])
        self.end(process)


if __name__ == "__main__":
    unittest.main(verbosity=2)
