"""A program finds an update on a publisher's server, installs it, and is started again: real programs from end to end.

    update_test.py PROGRAMS PUBLISHER HOST APPLICATION

PROGRAMS holds the played programs and the installer, PUBLISHER the publisher's tools.
"""

import fcntl
import os
import pathlib
import re
import struct
import sys
import tarfile
import tempfile
import time
import unittest

import installation
from installation import NOBODY, Installation, has_open, wait_until
from publisher import Publisher, run

PROGRAMS, PUBLISHER, HOST, APPLICATION = (
    pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4])
LIMIT_SECONDS = 20
UNCHANGED = "The update could not be installed. The version that you have is unchanged."


def files_of(version, program_name):
    return installation.files_of(version, PROGRAMS / program_name, PROGRAMS / "ovrel-installer", APPLICATION)


class UpdateTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.parent = self.folder / "user"
        self.installation = Installation(self.parent, files_of("2.3", "played-ovrel-2.3"))
        self.folder.chmod(0o755)
        self.log = self.parent / "log"
        self.publisher = Publisher(self.folder, PUBLISHER, HOST, APPLICATION)
        self.addCleanup(self.publisher.close)
        self.public_key = self.publisher.make_key()

    def publish(self, program_name, entries=()):
        return self.publisher.publish("2.4", files_of("2.4", program_name), entries)

    def edit_feed(self, pattern, replacement):
        text, count = re.subn(pattern, replacement, self.publisher.feed.read_text())
        self.assertEqual(count, 1)
        self.publisher.feed.write_text(text)

    def start_in_background(self):
        environment = {**os.environ, "HOME": str(self.parent), "XDG_STATE_HOME": str(self.parent / "state"),
                       "XDG_CONFIG_HOME": str(self.parent / "config"), "LD_LIBRARY_PATH": "/nowhere",
                       "https_proxy": self.publisher.proxy, "OVREL_PLAYED_LOG": str(self.log),
                       "OVREL_PLAYED_AUTHORITY": str(self.publisher.authority), "OVREL_PLAYED_KEY": self.public_key}
        with open(self.folder / "said", "w") as said:
            return self.installation.start(environment=environment, stderr=said)

    def start(self):
        self.start_in_background().wait(LIMIT_SECONDS)

    def lines(self):
        return self.log.read_text().splitlines() if self.log.exists() else []

    def wait_for(self, last):
        """What was logged, once this line stands there."""
        end = time.monotonic() + LIMIT_SECONDS
        while last not in self.lines() and time.monotonic() < end:
            time.sleep(0.02)
        return self.lines()

    def wait_until_only(self, *names):
        """Names beside the installation, once only these are left, or what is there after a while."""
        end = time.monotonic() + LIMIT_SECONDS
        expected = sorted(["ovrel", ".ovrel-lock", "log", *names])
        while True:
            found = sorted(path.name for path in self.parent.iterdir() if path.name not in ("state", "config"))
            if found == expected or time.monotonic() > end:
                self.assertEqual(found, expected)
                return
            time.sleep(0.02)

    def test_installs_the_new_version_and_starts_it(self):
        self.publish("played-ovrel-2.4")
        self.start()
        self.assertEqual(self.wait_for("2.4 confirmed"),
                         ["2.3 started: ", "2.3 offered: News.", "2.4 started: --relaunched-after-update=2.4",
                          "2.4 confirmed"])
        self.assertEqual(self.installation.version(), "2.4")
        self.wait_until_only()

    def test_takes_back_a_version_that_crashes_at_once(self):
        self.publish("played-ovrel-2.4-that-crashes")
        self.start()
        self.assertEqual(self.wait_for("2.3 knows that this failed: 2.4"),
                         ["2.3 started: ", "2.3 offered: News.", "2.4 started: --relaunched-after-update=2.4",
                          "2.3 started: ", "2.3 knows that this failed: 2.4"])
        self.assertEqual(self.installation.version(), "2.3")
        self.wait_until_only()

    def test_takes_back_a_version_that_never_started_well(self):
        self.installation.exchange(files_of("2.4", "played-ovrel-2.4"), starts=2)
        self.start()
        self.assertEqual(self.lines(), ["2.3 started: ", "2.3 knows that this failed: 2.4"])
        self.assertEqual(self.installation.version(), "2.3")

    def test_a_program_that_waits_for_an_installer_goes_on_as_the_new_one(self):
        with open(self.parent / ".ovrel-lock", "w") as lock:
            self.installation.own()
            # One byte of the file stands for the running programs.
            fcntl.fcntl(lock, fcntl.F_OFD_SETLK, struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, 1, 1, 0))
            program = self.start_in_background()
            self.assertTrue(wait_until(lambda: has_open(program.pid, lock.name)), "it waits for no installer")
            self.installation.exchange(files_of("2.4", "played-ovrel-2.4"), starts=0)
        program.wait(LIMIT_SECONDS)
        self.assertEqual(self.lines()[0], "2.4 started: ")
        self.assertTrue((self.parent / ".ovrel-previous").exists(), "an old version confirms nothing")

    def refuses(self, cause, *, shown=UNCHANGED):
        """The log always names the cause, with its number; some are too much for the user."""
        self.start()
        self.assertEqual(self.lines(), ["2.3 started: ", "2.3 offered: News.",
                                        f"2.3 ended: Unable to update Ovrel: {shown}"])
        said = [line for line in (self.folder / "said").read_text().splitlines() if line.startswith("Updates: ")]
        self.assertEqual(said[-1], f"Updates: {cause}")
        self.assertEqual(self.installation.version(), "2.3")
        self.wait_until_only()

    def test_refuses_a_flipped_byte(self):
        archive = self.publish("played-ovrel-2.4")
        content = bytearray(archive.read_bytes())
        content[len(content) // 2] ^= 1
        archive.write_bytes(content)
        self.refuses("The update's signature is not the publisher's. (3001)")

    def test_refuses_another_key(self):
        self.publish("played-ovrel-2.4")
        self.public_key = self.publisher.make_key("other")
        self.refuses("The update's signature is not the publisher's. (3001)")

    def test_refuses_an_archive_without_a_signature(self):
        self.publish("played-ovrel-2.4")
        self.edit_feed(r' sparkle:edSignature="[^"]*"', "")
        self.refuses("The update is not signed by its publisher. (3001)")

    def test_refuses_an_older_version_under_a_newer_number(self):
        self.publish("played-ovrel-2.4")
        archive = self.publisher.write_archive(files_of("2.2", "played-ovrel-2.3"))
        attributes = run(PUBLISHER / "publish.py", "sign", self.publisher.key, archive).strip()
        self.edit_feed(r' length="[^"]*"', "")
        self.edit_feed(r'sparkle:edSignature="[^"]*"', attributes)
        self.refuses("This update is no newer than what has been installed already. (4006)")

    def test_refuses_archives_that_reach_outside(self):
        outside = self.parent / "outside"
        for fault, entries in [
            ("a file name that is not allowed", [{"name": "../outside", "content": b"x"}]),
            ("a file name that is not allowed", [{"name": "ovrel-new/../../../outside", "content": b"x"}]),
            ("a link that leads out of the program's folder",
             [{"name": "ovrel-new/link", "kind": tarfile.SYMTYPE, "target": str(self.parent)},
              {"name": "ovrel-new/link/outside", "content": b"x"}]),
            ("more than files and folders",
             [{"name": "ovrel-new/hard", "kind": tarfile.LNKTYPE, "target": str(self.log)}]),
        ]:
            with self.subTest(entries=entries):
                self.log.unlink(missing_ok=True)
                self.publisher.feed.unlink(missing_ok=True)
                self.publish("played-ovrel-2.4", entries=entries)
                shown = f"The update's archive is refused: it holds {fault}."
                self.refuses(f"{shown} (3002)", shown=shown)
                self.assertFalse(outside.exists())

    @unittest.skipIf(NOBODY is None and not os.environ.get("CI"), "only root can play another owner")
    def test_leaves_an_installation_of_another_owner_alone(self):
        self.publish("played-ovrel-2.4")
        os.chown(self.installation.tree, 0, 0)
        self.start()
        self.assertRegex(self.lines()[-1], "^2[.]3 ended: Unable to update Ovrel: .*system")
        self.assertEqual(self.installation.version(), "2.3")
        self.assertFalse((self.parent / ".ovrel-lock").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
