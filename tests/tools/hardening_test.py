#!/usr/bin/env python3
"""Builds programs with and without guards, and has packaging/dev/check_hardening.sh look at them.

usage: hardening_test.py COMPILER
"""

import os
import pathlib
import platform
import subprocess
import sys
import tempfile
import unittest

COMPILER = sys.argv[1]
SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "dev" / "check_hardening.sh"
SOURCE = """
#include <cstdio>
#include <cstring>
namespace ovrel {
void fill(char* text, const char* source) { std::strcpy(text, source); }
int length(const char* source) {
    char text[64];
    fill(text, source);
    std::strcpy(text, source);
    return std::printf("%s", text);
}
} // namespace ovrel
int main(int, char** words) { return ovrel::length(words[0]); }
"""
BRANCHES = {"x86_64": "-fcf-protection=full", "aarch64": "-mbranch-protection=standard"}.get(platform.machine())
PROTECTOR = "-fstack-protector-strong"
PLACE = ["-fPIE", "-pie"]
STATIC_PLACE = ["-fPIE", "-static-pie"]
LINKING = ["-Wl,-z,relro,-z,now,-z,noexecstack"]
FORTIFIED = ["-O2", "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2"]
COMPILING = [PROTECTOR, *([BRANCHES] if BRANCHES else []), *FORTIFIED]
UNGUARDED = ["-O2", "-fno-stack-protector", *(["-fcf-protection=none"] if platform.machine() == "x86_64" else [])]


class Hardening(unittest.TestCase):
    def said(self, flags, strip=False):
        """What the script prints of a program that these flags make, and whether it was content."""
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "program"
            subprocess.run([COMPILER, "-x", "c++", "-", "-w", "-o", program, *flags, *(["-s"] if strip else [])],
                           input=SOURCE, check=True, text=True)
            run = subprocess.run([SCRIPT, program], capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"})
            self.assertEqual(run.stderr, "")
            return run.stdout.replace(f"{program}: ", ""), run.returncode == 0

    def test_is_content_with_what_is_guarded(self):
        for flags in ([*COMPILING, *PLACE, *LINKING], [*COMPILING, *STATIC_PLACE, *LINKING]):
            with self.subTest(flags):
                self.assertEqual(self.said(flags), ("", True))

    def test_tells_each_guard_that_is_missing(self):
        rows = [
            ("no stack protector", [*COMPILING, "-fno-stack-protector", *PLACE, *LINKING]),
            ("no stack protector", [*COMPILING, "-fno-stack-protector", *STATIC_PLACE, *LINKING]),
            ("no fortified call", [*COMPILING, "-U_FORTIFY_SOURCE", *PLACE, *LINKING]),
            ("lies at a fixed address", [*COMPILING, "-no-pie", "-fno-pie", *LINKING]),
            ("RELRO is not full", [*COMPILING, *PLACE, "-Wl,-z,relro,-z,lazy"]),
            ("the stack can be executed", [*COMPILING, *PLACE, *LINKING, "-Wl,-z,execstack"]),
        ]
        if platform.machine() == "x86_64":
            rows += [("no protection of branches", [*COMPILING, "-fcf-protection=none", *place, *LINKING])
                     for place in (PLACE, STATIC_PLACE)]
        for expected, flags in rows:
            with self.subTest(expected, flags=flags):
                text, content = self.said(flags)
                self.assertIn(expected, text)
                self.assertEqual(text.count("\n"), 1, text)
                self.assertFalse(content)

    def test_says_where_the_symbols_are_gone_that_it_cannot_see_everything(self):
        text, content = self.said([*UNGUARDED, *STATIC_PLACE, *LINKING], strip=True)
        self.assertIn("has no symbols", text)
        self.assertTrue(content)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
