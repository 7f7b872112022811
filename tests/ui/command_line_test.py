#!/usr/bin/env python3
"""Starts the program with words that it has to make sense of.

usage: command_line_test.py PROGRAM VERSION
"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM, VERSION = sys.argv[1:3]
LIMIT_SECONDS = 60


class CommandLine(unittest.TestCase):
    def setUp(self):
        self.home = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        # No display, no bus, no network.
        self.environment = {
            "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self.home),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.home}/none", "https_proxy": "http://127.0.0.1:9"}

    def start(self, *words, **environment):
        program = subprocess.Popen([PROGRAM, *words], env=self.environment | environment, cwd=self.home,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(program.communicate)
        self.addCleanup(program.kill)
        return program

    def test_is_answered_without_a_display_where_text_is_wanted(self):
        for word, says in (("--version", f"Ovrel {VERSION}\n"), ("-v", f"Ovrel {VERSION}\n"), ("--help", "[files…]")):
            with self.subTest(word):
                program = self.start(word)
                said, _ = program.communicate(timeout=LIMIT_SECONDS)
                self.assertEqual(program.returncode, 0)
                self.assertIn(says, said)

    def test_opens_a_window_whatever_names_it_has(self):
        (self.home / "folder").mkdir()
        for words in ([""], ["folder"], ["--", "--help"], [b"no \xff text"]):
            with self.subTest(words):
                program = self.start(*words, QT_QPA_PLATFORM="offscreen", QT_LOGGING_RULES="*.debug=false")
                self.assertTrue(self.awaits_its_end(program))
                program.send_signal(signal.SIGTERM)
                self.assertEqual(program.wait(LIMIT_SECONDS), 0)

    @staticmethod
    def awaits_its_end(program):
        """Whether it comes to handle the signal that ends it, which it does once it knows what to open."""
        end = time.monotonic() + LIMIT_SECONDS
        while program.poll() is None and time.monotonic() < end:
            status = pathlib.Path(f"/proc/{program.pid}/status").read_text()
            caught = next(int(line.split()[1], 16) for line in status.splitlines() if line.startswith("SigCgt:"))
            if caught >> (signal.SIGTERM - 1) & 1:
                return True
            time.sleep(0.01)
        return False


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
