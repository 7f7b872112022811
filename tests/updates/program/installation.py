"""A portable installation on the disk, and what an installer leaves beside it."""

import contextlib
import fcntl
import functools
import json
import os
import pathlib
import platform
import subprocess
import tempfile
import time

# Root's own installations are an administrator's, so that nothing there updates itself.
NOBODY = 65534 if os.geteuid() == 0 else None
AS_USER = {} if NOBODY is None else {"user": NOBODY, "group": NOBODY, "extra_groups": []}
TOKEN = "0123456789abcdef" * 2


@functools.cache
def program(path):
    """Without what only a debugger reads, most of the bytes."""
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder, "program")
        subprocess.run(["strip", "-o", stripped, path], check=True)
        return stripped.read_bytes()


def files_of(version, ovrel, installer, application):
    """An installation's files by name. `ovrel` and `installer` are the programs' paths."""
    facts = {"application": application, "version": version, "system": "linux", "architecture": platform.machine()}
    files = {
        "bin/ovrel": program(ovrel),
        "bin/ovrel-installer": program(installer),
        "manifest.json": json.dumps(facts).encode(),
        "portable-installation": application.encode() + b"\n",
    }
    names = [*files, "installed-files.txt"]
    files["installed-files.txt"] = "".join(f"{name}\n" for name in names).encode()
    return files


class Installation:
    """The folder `ovrel` in a folder of the user's."""

    def __init__(self, parent, files):
        self.parent = parent
        self.tree = parent / "ovrel"
        self.previous = parent / ".ovrel-previous"
        self.program = self.tree / "bin" / "ovrel"
        self._unpack(self.tree, files)
        self.own()

    def exchange(self, files, starts):
        """Puts version 2.4, which was started so often without success, in place as an installer does."""
        new = self.parent / ".new"
        self._unpack(new, files)
        (new / ".update-mark").write_text(TOKEN)
        (self.parent / ".ovrel-journal").write_text(
            f"ovrel update journal 1\nstate installed\ntoken {TOKEN}\nversion 2.4\n"
            f"staging .ovrel-update-{TOKEN}\ntop ovrel-2.4\nstarts {starts}\nend\n")
        self.tree.rename(self.previous)
        new.rename(self.tree)
        self.own()

    @staticmethod
    def _unpack(folder, files):
        for name, content in files.items():
            path = folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
            path.chmod(0o755 if path.parent.name == "bin" else 0o644)

    def own(self):
        """Gives everything to the user who runs the programs."""
        if NOBODY is not None:
            for each in [self.parent, *self.parent.rglob("*")]:
                os.chown(each, NOBODY, NOBODY, follow_symlinks=False)

    def start(self, *arguments, environment, program=None, **options):
        """\param program where another one than the installation's is to be started"""
        return subprocess.Popen([program or self.program, *arguments], env=environment, cwd=self.parent,
                                **AS_USER, **options)

    def version(self):
        return json.loads((self.tree / "manifest.json").read_text())["version"]

    def starts(self):
        """How many starts the journal has counted; nothing without a journal."""
        try:
            lines = (self.parent / ".ovrel-journal").read_text().splitlines()
        except FileNotFoundError:
            return None
        return int(dict(line.split(" ", 1) for line in lines if " " in line)["starts"])

    @contextlib.contextmanager
    def held(self):
        """As an update at work holds it."""
        lock = self.parent / ".ovrel-lock"
        lock.touch(mode=0o600)
        self.own()
        with lock.open("r+b") as file:
            fcntl.lockf(file, fcntl.LOCK_EX, 1, 0)
            yield

    def hidden(self):
        """The names of what updates have left beside the installation."""
        return sorted(path.name for path in self.parent.glob(".ovrel-*") if path.name != ".ovrel-lock")


def has_open(process, path):
    """Whether the process of that number has the file or folder open now."""
    for descriptor in pathlib.Path(f"/proc/{process}/fd").iterdir():
        with contextlib.suppress(FileNotFoundError):  # closed meanwhile
            if descriptor.readlink() == pathlib.Path(path):
                return True
    return False


def wait_until(condition, seconds=30):
    """Whether that came to be, if only for a moment."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.02)
    return True
