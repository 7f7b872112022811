"""A publisher of the test's own: a server, a key and a feed with one release."""

import io
import pathlib
import re
import subprocess
import sys
import tarfile

# What comes before the 32 bytes of a private Ed25519 key in its DER form (RFC 8410, section 7).
PRIVATE_KEY_HEADER = bytes.fromhex("302e020100300506032b657004220420")


def run(*command):
    return subprocess.run([sys.executable, "-B", *map(str, command)], check=True, capture_output=True, text=True).stdout


def add(archive, name, content=None, kind=tarfile.REGTYPE, target=""):
    entry = tarfile.TarInfo(name)
    entry.type = tarfile.DIRTYPE if content is None and kind == tarfile.REGTYPE else kind
    entry.mode = 0o755 if content is None or "/bin/" in name else 0o644
    entry.linkname = target
    entry.size = len(content or b"")
    archive.addfile(entry, io.BytesIO(content or b""))


class Publisher:
    """Runs until close(). `tools` is the folder of the publisher's programs."""

    def __init__(self, folder, tools, host, application):
        self.folder, self.tools, self._host, self._application = folder, tools, host, application
        self._site = folder / "site"
        (self._site / "updates").mkdir(parents=True)
        self.feed = self._site / "updates" / "appcast.xml"
        (self._site / "app_settings.txt").write_text(
            "enabled = false\nversion = 1\nupdates_enabled = true\n"
            f"update_feed_url = https://{host}/app/updates/appcast.xml\n")
        self._server = subprocess.Popen(
            [sys.executable, "-B", tools / "serve.py", self._site, folder / "certificates", "--host", host,
             "--port", "0", "--proxy-port", "0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        said = "".join(self._server.stdout.readline() for _ in range(4))
        self.proxy = re.search(r"Proxy: +(\S+)", said)[1]
        self.authority = folder / "authority.pem"
        self.authority.write_bytes(pathlib.Path(re.search(r"Trust: +(\S+)", said)[1]).read_bytes())
        self.authority.chmod(0o644)
        self.key = folder / "key"

    def close(self):
        self._server.kill()
        self._server.wait()
        self._server.stdout.close()

    def make_key(self, name="key"):
        """Returns the public part."""
        return run(self.tools / "publish.py", "key", self.folder / name).split()[-1]

    def take_public_test_key(self):
        """The key whose seed is 00 01 02 … 1f; only builds for tests believe it."""
        self.key.touch(mode=0o600)
        subprocess.run(["openssl", "pkey", "-inform", "DER", "-out", self.key],
                       input=PRIVATE_KEY_HEADER + bytes(range(32)), check=True)

    def write_archive(self, files, entries=()):
        """Puts an archive of these files, and further entries, on the server."""
        archive = self._site / "updates" / "ovrel.tar.xz"
        with tarfile.open(archive, "w:xz", preset=0) as tar:
            top = "ovrel-new"
            add(tar, top)
            add(tar, f"{top}/bin")
            for name, content in files.items():
                add(tar, f"{top}/{name}", content)
            for entry in entries:
                add(tar, **entry)
        return archive

    def publish(self, version, files, entries=()):
        """Names such an archive of this version in the feed."""
        archive = self.write_archive(files, entries)
        notes = [self.folder / "ru.txt", self.folder / "en.txt"]
        notes[0].write_text("Новое.")
        notes[1].write_text("News.")
        run(self.tools / "publish.py", "add", self.feed, self.key, archive, "--url",
            f"https://{self._host}/app/updates/ovrel.tar.xz", "--version", version,
            "--application", self._application, "--notes-ru", notes[0], "--notes-en", notes[1])
        return archive
