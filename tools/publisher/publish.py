#!/usr/bin/env python3
"""Makes what the publisher's server needs for an update.

    publish.py key KEY              makes a key, and prints the public part, with which Ovrel is built
    publish.py sign KEY ARCHIVE     prints signature and length of an archive
    publish.py add FEED KEY ARCHIVE --url URL --version VERSION --notes-ru FILE --notes-en FILE
                                    signs an archive and names it in the feed, which is made when it is missing;
                                    refuses one whose own manifest says something else

KEY is a file that only its owner can read. It is never printed, and never taken from anything but that file.
"""

import argparse
import base64
import datetime
import email.utils
import json
import lzma
import os
import pathlib
import platform
import re
import stat
import subprocess
import sys
import tarfile
import tempfile
import urllib.parse
import xml.dom.minidom
import xml.etree.ElementTree
import xml.parsers.expat
import zlib

NAMESPACE = "http://www.andymatuschak.org/xml-namespaces/sparkle"
NOTES_SEPARATOR = "\n---en---\n"
FEED_LIMIT_BYTES = 1_048_576
MANIFEST_NAME = "manifest.json"
MANIFEST_LIMIT_BYTES = 65_536
# What an installation needs to be updated again: its programs, the file that makes it a portable one, and the list of
# what it has brought.
PROGRAM_NAMES = ["bin/ovrel", "bin/ovrel-installer"]
MARKER_NAME = "portable-installation"
LIST_NAME = "installed-files.txt"
# What it must not have: beside its programs the one says that a packager updates them, the other that their folder is
# the whole installation.
MISLEADING_NAMES = ["bin/managed-by", "bin/portable-installation"]
VERSION_LIMIT_CHARACTERS = 64
# What comes before the 32 bytes of an Ed25519 key in its DER form (RFC 8410, section 4).
PUBLIC_KEY_HEADER = bytes.fromhex("302a300506032b6570032100")
PUBLIC_KEY_BYTES = 32
SIGNATURE_BYTES = 64
NEW_FEED = f"""<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="{NAMESPACE}">
  <channel>
    <title>Ovrel</title>
  </channel>
</rss>
"""


class Refusal(Exception):
    """Says what is wrong, and never what was taken for the name of a key: it may be the key itself."""


def openssl(*arguments, output=subprocess.PIPE):
    result = subprocess.run(["openssl", *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=output,
                            stderr=subprocess.PIPE)
    if result.returncode != 0:
        raise Refusal(f"openssl {arguments[0]} failed. Is this an Ed25519 key, and openssl 3.0 or later?")
    return result.stdout


class Key:
    """A private key in a file, seen by openssl alone."""

    def __init__(self, path):
        try:
            facts = os.stat(path)
        except (OSError, ValueError):
            raise Refusal("There is no such file with a key.") from None
        if not stat.S_ISREG(facts.st_mode):
            raise Refusal("A key is taken from a file, and from nothing else.")
        if facts.st_mode & 0o077:
            raise Refusal("Others can read the key. After chmod 600 it may do, if nobody has read it.")
        self._path = path
        public = openssl("pkey", "-in", path, "-pubout", "-outform", "DER")
        if not public.startswith(PUBLIC_KEY_HEADER) or len(public) != len(PUBLIC_KEY_HEADER) + PUBLIC_KEY_BYTES:
            raise Refusal("The key is not of the kind Ed25519.")
        self._public = public

    @classmethod
    def make(cls, path):
        try:
            descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600)
        except (OSError, ValueError):
            raise Refusal("No key was made: the file exists already, or cannot be made.") from None
        try:
            with open(descriptor, "wb") as file:
                openssl("genpkey", "-algorithm", "ed25519", output=file)
            return cls(path)
        except BaseException:
            os.unlink(path)
            raise

    def public(self):
        return base64.b64encode(self._public[len(PUBLIC_KEY_HEADER):]).decode()

    def sign(self, archive):
        """Returns the signature, after a look whether it is right."""
        with tempfile.TemporaryDirectory() as folder:
            public = pathlib.Path(folder, "public.der")
            signature = pathlib.Path(folder, "signature")
            public.write_bytes(self._public)
            openssl("pkeyutl", "-sign", "-rawin", "-inkey", self._path, "-in", archive, "-out", signature)
            openssl("pkeyutl", "-verify", "-rawin", "-pubin", "-keyform", "DER", "-inkey", public, "-in", archive,
                    "-sigfile", signature)
            result = signature.read_bytes()
        if len(result) != SIGNATURE_BYTES:
            raise Refusal("The signature has not the size of one.")
        return base64.b64encode(result).decode()


def length_of(archive):
    if not archive.is_file() or archive.stat().st_size == 0:
        raise Refusal(f"{archive} is no archive.")
    return archive.stat().st_size


def read_manifest(archive):
    """Returns what the archive says of itself: the one manifest in its top folder."""
    def is_manifest(entry):
        parts = pathlib.PurePosixPath(entry.name).parts
        return len(parts) == 2 and parts[0] != ".." and parts[1] == MANIFEST_NAME

    try:
        with tarfile.open(archive) as tar:
            entries = [entry for entry in tar if is_manifest(entry)]
            if len(entries) != 1 or not entries[0].isreg() or entries[0].size > MANIFEST_LIMIT_BYTES:
                raise Refusal(f"{archive} has not one manifest, as archives of \"./dev package portable\" do.")
            manifest = json.loads(tar.extractfile(entries[0]).read())
    except (tarfile.TarError, EOFError, lzma.LZMAError, zlib.error) as error:
        raise Refusal(f"{archive} cannot be read as an archive: {error}") from None
    except ValueError:
        raise Refusal(f"The manifest in {archive} is no JSON.") from None
    if not isinstance(manifest, dict):
        raise Refusal(f"The manifest in {archive} is no list of names and values.")
    return manifest


def require_manifest(archive, expected):
    """Ovrel would download an archive that says something else, and then refuse it."""
    manifest = read_manifest(archive)
    for name, value in expected.items():
        if manifest.get(name) != value:
            raise Refusal(f"The feed would say that the {name} is {value!r}, {archive} says {manifest.get(name)!r}.")


def require_updatable(archive, application):
    """Ovrel would refuse an archive whose version it could not replace by the next one."""
    with tarfile.open(archive) as tar:
        entries = {"/".join(pathlib.PurePosixPath(entry.name).parts[1:]): entry for entry in tar}
        for name in MISLEADING_NAMES:
            if name in entries:
                raise Refusal(f"{archive} has a file {name}, with which Ovrel cannot be updated again.")
        files = {name: entry for name, entry in entries.items() if entry.isreg()}
        for name in [*PROGRAM_NAMES, MARKER_NAME, LIST_NAME]:
            if name not in files:
                raise Refusal(f"{archive} has no file {name}, without which Ovrel cannot be updated again.")
        for name in PROGRAM_NAMES:
            if not files[name].mode & stat.S_IXUSR or tar.extractfile(files[name]).read(4) != b"\x7fELF":
                raise Refusal(f"{name} in {archive} is no program.")
        if tar.extractfile(files[MARKER_NAME]).readline(200) != application.encode() + b"\n":
            raise Refusal(f"{MARKER_NAME} in {archive} does not name {application}.")


def read_notes(path):
    text = path.read_text(encoding="utf-8").strip()
    if not text or NOTES_SEPARATOR in f"\n{text}\n":
        raise Refusal(f"{path} is empty, or has the line that separates the languages.")
    if "PRIVATE KEY" in text:
        raise Refusal(f"{path} is a key, or talks of one. Notes are what everybody may read.")
    return text


def is_item(node):
    return node.nodeType == node.ELEMENT_NODE and node.tagName == "item"


class Feed:
    """A feed in a file. What others wrote into it stays."""

    def __init__(self, path):
        self._path = path
        text = path.read_bytes() if path.exists() else NEW_FEED.encode()
        try:
            self._document = xml.dom.minidom.parseString(text)
        except xml.parsers.expat.ExpatError as error:
            raise Refusal(f"{path} is no XML: {error}") from None
        root = self._document.documentElement
        channels = [node for node in root.childNodes if node.nodeName == "channel"]
        if self._document.doctype or root.tagName != "rss" or len(channels) != 1:
            raise Refusal(f"{path} is no feed of one channel.")
        if root.getAttribute("xmlns:sparkle") not in ("", NAMESPACE):
            raise Refusal(f"{path} uses the prefix \"sparkle\" for something else.")
        root.setAttribute("xmlns:sparkle", NAMESPACE)
        self._channel = channels[0]

    def _items(self):
        return [node for node in self._channel.childNodes if is_item(node)]

    def _element(self, name, text=None, attributes=()):
        element = self._document.createElement(name)
        for key, value in attributes:
            element.setAttribute(key, value)
        if text is not None:
            element.appendChild(self._document.createTextNode(text))
        return element

    def _description(self, text):
        """The end of such a section cannot stand in one, so it is split between two (XML 1.0, section 2.7)."""
        element = self._element("description")
        parts = text.split("]]>")
        for index, part in enumerate(parts):
            before = ">" if index > 0 else ""
            after = "]]" if index + 1 < len(parts) else ""
            element.appendChild(self._document.createCDATASection(before + part + after))
        return element

    def add(self, release):
        for item in self._items():
            enclosures = item.getElementsByTagName("enclosure")
            versions = [node.firstChild.data.strip() for node in item.getElementsByTagName("sparkle:version")
                        if node.firstChild]
            if release.version in versions and any(node.getAttribute("sparkle:os") == release.system
                                                   for node in enclosures):
                raise Refusal(f"The feed has version {release.version} for {release.system} already.")
        item = self._element("item")
        for element in release.elements(self._element, self._description):
            item.appendChild(self._document.createTextNode("\n      "))
            item.appendChild(element)
        item.appendChild(self._document.createTextNode("\n    "))
        first = next(iter(self._items()), None)
        if first:
            self._channel.insertBefore(item, first)
            self._channel.insertBefore(self._document.createTextNode("\n    "), first)
        else:
            self._channel.appendChild(self._document.createTextNode("  "))
            self._channel.appendChild(item)
            self._channel.appendChild(self._document.createTextNode("\n  "))

    def write(self, release):
        """Replaces the file once the new one has turned out to say what it should."""
        text = self._document.toxml(encoding="utf-8").replace(b"?><", b"?>\n<", 1) + b"\n"
        if len(text) > FEED_LIMIT_BYTES:
            raise Refusal(f"The feed would have more than {FEED_LIMIT_BYTES} bytes. Take old releases out.")
        try:
            item = xml.etree.ElementTree.fromstring(text).find("channel/item")
        except xml.etree.ElementTree.ParseError:
            raise Refusal("The notes or the title have characters that a feed cannot have.") from None
        if item.findtext("description") != release.notes:
            raise Refusal("The feed would not have the notes as they are.")
        new = self._path.with_name(self._path.name + ".new")
        new.write_bytes(text)
        os.replace(new, self._path)


class Release:
    """One archive as the feed tells of it."""

    def __init__(self, arguments):
        self.version = arguments.version
        self.system = f"linux-{arguments.arch}"
        self.notes = read_notes(arguments.notes_ru) + NOTES_SEPARATOR + read_notes(arguments.notes_en)
        self._shown = arguments.short_version or arguments.version
        self._minimum_glibc = arguments.minimum_glibc
        self._url = arguments.url
        self._length = length_of(arguments.archive)
        require_manifest(arguments.archive, {"application": arguments.application, "version": self.version,
                                             "system": "linux", "architecture": arguments.arch})
        require_updatable(arguments.archive, arguments.application)
        self._signature = Key(arguments.key).sign(arguments.archive)

    def elements(self, element, description):
        now = datetime.datetime.now(datetime.timezone.utc)
        yield element("title", f"Ovrel {self._shown}")
        yield element("pubDate", email.utils.format_datetime(now))
        yield element("sparkle:version", self.version)
        yield element("sparkle:shortVersionString", self._shown)
        if self._minimum_glibc:
            yield element("sparkle:minimumSystemVersion", self._minimum_glibc)
        yield description(self.notes)
        yield element("enclosure", attributes=[
            ("url", self._url), ("length", str(self._length)), ("type", "application/octet-stream"),
            ("sparkle:os", self.system), ("sparkle:edSignature", self._signature)])


def make_key(arguments):
    print(Key.make(arguments.key).public())


def sign(arguments):
    length = length_of(arguments.archive)
    print(f'sparkle:edSignature="{Key(arguments.key).sign(arguments.archive)}" length="{length}"')


def add(arguments):
    if arguments.feed.parent.resolve() in pathlib.Path(os.path.realpath(arguments.key)).parents:
        raise Refusal("The key lies where the feed does, which is what everybody may download.")
    release = Release(arguments)
    feed = Feed(arguments.feed)
    feed.add(release)
    feed.write(release)


def version_number(text):
    # Ovrel ignores what is behind a hyphen, so two such versions would be the same to it.
    is_version = re.fullmatch(r"[0-9]+([.][0-9]+)*([a-z]+[0-9]*)?", text, re.ASCII)
    if not is_version or len(text) > VERSION_LIMIT_CHARACTERS:
        raise argparse.ArgumentTypeError(f"{text!r} is no version like 2.4, 2.4.1 or 2.5b1")
    return text


def archive_address(text):
    parts = urllib.parse.urlsplit(text)
    if parts.scheme != "https" or not parts.hostname or re.search(r"\s", text):
        raise argparse.ArgumentTypeError(f"{text!r} is no https address")
    return text


def architecture(text):
    if not re.fullmatch(r"[a-z0-9_]+", text, re.ASCII):
        raise argparse.ArgumentTypeError(f"{text!r} is no architecture like x86_64 or aarch64")
    return text


def parse_arguments():
    parser = argparse.ArgumentParser(description="Makes what the publisher's server needs for an update.")
    commands = parser.add_subparsers(required=True, metavar="COMMAND")

    command = commands.add_parser("key", help="make a key and print its public part")
    command.add_argument("key", metavar="KEY", help="the file to make")
    command.set_defaults(run=make_key)

    command = commands.add_parser("sign", help="print signature and length of an archive")
    command.add_argument("key", metavar="KEY", help="made by the command key")
    command.add_argument("archive", metavar="ARCHIVE", type=pathlib.Path)
    command.set_defaults(run=sign)

    command = commands.add_parser("add", help="sign an archive and name it in the feed")
    command.add_argument("feed", metavar="FEED", type=pathlib.Path, help="made when it is missing")
    command.add_argument("key", metavar="KEY", help="made by the command key")
    command.add_argument("archive", metavar="ARCHIVE", type=pathlib.Path)
    command.add_argument("--url", required=True, type=archive_address, help="from where the archive is downloaded")
    command.add_argument("--version", required=True, type=version_number, help="that of the program in the archive")
    command.add_argument("--short-version", help="what people read (the version)")
    command.add_argument("--arch", type=architecture, default=platform.machine(),
                         help="for which the archive is built (%(default)s)")
    command.add_argument("--application", default="example.ovrel.Ovrel",
                         help="the identifier that Ovrel was built with (%(default)s)")
    command.add_argument("--minimum-glibc", type=version_number, help="the oldest C library that will do")
    command.add_argument("--notes-ru", required=True, type=pathlib.Path, metavar="FILE", help="notes in Russian")
    command.add_argument("--notes-en", required=True, type=pathlib.Path, metavar="FILE", help="notes in English")
    command.set_defaults(run=add)
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    try:
        arguments.run(arguments)
    except (Refusal, OSError, UnicodeDecodeError) as error:
        sys.exit(f"publish.py: {error}")


if __name__ == "__main__":
    main()
