"""The program itself, after an update: which of its starts keep the new version, and which take it back.

    start_test.py PROGRAMS APPLICATION [WORD OF UNITTEST…]
"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import installation
from installation import AS_USER, NOBODY, Installation, has_open, wait_until

PROGRAMS, APPLICATION = pathlib.Path(sys.argv.pop(1)), sys.argv.pop(1)
LIMIT_SECONDS = 60
LEFT_BY_AN_UPDATE = [".ovrel-journal", ".ovrel-previous"]


def files_of(version):
    return installation.files_of(version, PROGRAMS / "ovrel", PROGRAMS / "ovrel-installer", APPLICATION)


class StartTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.folder.chmod(0o755)
        self.home = self.folder / "home"
        self.home.mkdir(mode=0o700)
        if NOBODY is not None:
            os.chown(self.home, NOBODY, NOBODY)
        # No bus and no network.
        self.environment = {
            "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self.home),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.home}/none", "QT_QPA_PLATFORM": "offscreen",
            "http_proxy": "http://127.0.0.1:9", "https_proxy": "http://127.0.0.1:9"}
        self.installation = Installation(self.folder / "user", files_of("2.3"))
        self.installation.exchange(files_of("2.4"), starts=0)

    def start(self, *arguments, of=None, by=None, **environment):
        program = (of or self.installation).start(
            *arguments, program=by, environment=self.environment | environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True)
        self.addCleanup(program.communicate)
        self.addCleanup(program.kill)
        return program

    def run_to_its_end(self, *arguments, **environment):
        program = self.start(*arguments, **environment)
        said, _ = program.communicate(timeout=LIMIT_SECONDS)
        return program.returncode, said

    def wait_until_it_says(self, program, words):
        limit = threading.Timer(LIMIT_SECONDS, program.kill)
        self.addCleanup(limit.cancel)
        limit.start()
        said = ""
        while words not in said:
            line = program.stdout.readline()
            self.assertTrue(line, said)
            said += line

    def remembered(self):
        """What updates remember for good."""
        return "".join(file.read_text() for file in self.home.rglob("updates.json"))

    def fail_to_start(self):
        status, _ = self.run_to_its_end(QT_QPA_PLATFORM="none")
        self.assertLess(status, 0)

    def test_confirms_a_window_that_the_installer_has_started(self):
        self.assertEqual(self.installation.hidden(), LEFT_BY_AN_UPDATE)
        program = self.start("--relaunched-after-update=2.4")
        self.assertTrue(wait_until(lambda: not self.installation.hidden()), self.installation.hidden())
        self.assertIsNone(program.poll())
        self.assertEqual(self.installation.version(), "2.4")
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(LIMIT_SECONDS), 0)

    def test_remembers_a_version_only_when_it_is_confirmed(self):
        with self.installation.held():
            program = self.start()
            self.wait_until_it_says(program, "an update is at work")
            program.send_signal(signal.SIGTERM)
            program.communicate(timeout=LIMIT_SECONDS)
            self.assertEqual(program.returncode, 0)
            self.assertNotIn(str(self.installation.tree), self.remembered())
        self.start()
        self.assertTrue(wait_until(lambda: str(self.installation.tree) in self.remembered()))
        self.assertEqual(self.installation.hidden(), [])

    def test_counts_no_start_that_only_says_something(self):
        for word, status, says in [("--version", 0, "Ovrel "), ("--help", 0, "[files…]"),
                                   ("--help-all", 0, "--platform"), ("--wrong", 1, "wrong")]:
            with self.subTest(word):
                for _ in range(3):
                    found_status, said = self.run_to_its_end(word)
                    self.assertEqual(found_status, status)
                    self.assertIn(says, said)
                    self.assertNotIn("relaunched", said)
                self.assertEqual(self.installation.starts(), 0)
        self.assertEqual(self.installation.version(), "2.4")
        self.assertEqual(self.installation.hidden(), LEFT_BY_AN_UPDATE)

    def test_takes_back_a_version_that_shows_no_window(self):
        for starts in [1, 2]:
            self.fail_to_start()
            self.assertEqual(self.installation.starts(), starts)
            self.assertEqual(self.installation.version(), "2.4")
        self.run_to_its_end(QT_QPA_PLATFORM="none")
        self.assertEqual(self.installation.version(), "2.3")

    def test_takes_nothing_back_for_words_alone(self):
        self.fail_to_start()
        self.fail_to_start()
        for word in ["--version", "--help"]:
            self.assertEqual(self.run_to_its_end(word)[0], 0)
        self.assertEqual(self.installation.starts(), 2)
        self.assertEqual(self.installation.version(), "2.4")

    def test_confirms_a_window_that_is_closed_at_once(self):
        # Where it is closed before it was painted, the start says nothing, and the user tries again.
        for seconds_until_close in [0.5, 1, 1.5, 2, 2.5]:
            program = self.start()
            self.assertTrue(wait_until(lambda: self.installation.starts() != 0), "no start was counted")
            time.sleep(seconds_until_close)
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(LIMIT_SECONDS), 0)
            if not self.installation.hidden():
                break
            self.assertEqual(self.installation.starts(), 0)
        self.assertEqual(self.installation.hidden(), [])
        self.assertEqual(self.installation.version(), "2.4")

    def test_keeps_the_previous_program_where_the_new_one_cannot_be_executed(self):
        self.installation.program.write_bytes(b"\x7fELF broken")
        self.installation.own()
        program = self.start(by=self.installation.previous / "bin" / "ovrel")
        self.wait_until_it_says(program, "another tree is in place")  # the answer to its confirmation
        self.assertEqual(self.installation.hidden(), LEFT_BY_AN_UPDATE)
        program.send_signal(signal.SIGTERM)
        program.communicate(timeout=LIMIT_SECONDS)
        self.assertEqual(program.returncode, 0)
        self.assertEqual(self.installation.hidden(), LEFT_BY_AN_UPDATE)

    def test_counts_no_start_that_is_left_while_files_are_gathered(self):
        folder = self.folder / "many"
        folder.mkdir()
        for number in range(2000):
            (folder / f"{number}.png").touch()
        # The same folder in many words, which takes longer to gather than any start.
        words = [f"{folder}{'/.' * number}" for number in range(1, 200)] * 20

        left_at_once = 0
        for attempt in range(20):
            program = self.start(*words)
            self.assertTrue(wait_until(lambda: has_open(program.pid, folder)), "nothing is gathered")
            self.assertIn(self.installation.starts(), [1, None])
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(LIMIT_SECONDS), 0)
            self.assertEqual(self.installation.version(), "2.4")
            if self.installation.starts() is None:  # it was painted before it learned of the signal: confirmed
                self.installation = Installation(self.folder / f"user{attempt}", files_of("2.3"))
                self.installation.exchange(files_of("2.4"), starts=0)
                continue
            self.assertEqual(self.installation.starts(), 0)
            left_at_once += 1
            if left_at_once == 3:
                break
        self.assertGreater(left_at_once, 0, "every window was painted first")

    def test_counts_no_start_that_hands_over_to_a_program_elsewhere(self):
        daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog",
                                   f"--address=unix:path={self.home}/bus", "--print-address=1"],
                                  stdout=subprocess.PIPE, text=True, **AS_USER)
        self.addCleanup(daemon.communicate)
        self.addCleanup(daemon.kill)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = daemon.stdout.readline().strip()
        other = Installation(self.folder / "other", files_of("2.3"))
        first = self.start(of=other)
        # The first one has the name before it shows its window.
        self.assertTrue(wait_until(lambda: self.has_name(APPLICATION)))
        for _ in range(3):
            self.assertEqual(self.run_to_its_end(), (0, ""))
            self.assertEqual(self.installation.starts(), 0)
        self.assertIsNone(first.poll())
        self.assertEqual(self.installation.version(), "2.4")

    def has_name(self, name):
        command = ["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
                   "org.freedesktop.DBus.NameHasOwner", f"string:{name}"]
        return "true" in subprocess.run(command, env=self.environment, check=True, capture_output=True, text=True,
                                        **AS_USER).stdout


if __name__ == "__main__":
    unittest.main(verbosity=2)
