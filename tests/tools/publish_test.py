"""Tests tools/publisher/publish.py, as a program and with the system's openssl: publish_test.py PUBLISH"""

import base64
import io
import json
import os
import pathlib
import stat
import subprocess
import sys
import tarfile
import tempfile
import unittest
import xml.etree.ElementTree

PUBLISH = None
NAMESPACE = "{http://www.andymatuschak.org/xml-namespaces/sparkle}"
PUBLIC_KEY_HEADER = bytes.fromhex("302a300506032b6570032100")
PRIVATE_KEY_BYTES = 32


class PublishTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.key = self.folder / "private" / "key"
        self.key.parent.mkdir()
        self.feed = self.folder / "www" / "appcast.xml"
        self.feed.parent.mkdir()
        self.archive = self.write("ovrel.tar.xz", bytes(range(256)) * 10)
        self.russian = self.write("ru.txt", "Новое\n".encode())
        self.english = self.write("en.txt", b"New\n")
        self.output = ""

    def tearDown(self):
        """Whatever a test does, the private key is nowhere but in its file."""
        if not self.key.is_file():
            return
        text = self.key.read_text()
        lines = [line for line in text.splitlines() if line and not line.startswith("-")]
        self.assertNotIn("PRIVATE", self.output)
        seed = base64.b64decode("".join(lines))[-PRIVATE_KEY_BYTES:]
        for secret in [*lines, base64.b64encode(seed).decode(), seed.hex()]:
            self.assertNotIn(secret, self.output)
        for path in self.folder.rglob("*"):
            if path.is_file() and path != self.key and path.name != "copy of the key":
                self.assertNotIn(lines[0].encode(), path.read_bytes(), path)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path

    def run_publish(self, *arguments, **options):
        result = subprocess.run([sys.executable, "-B", PUBLISH, *map(str, arguments)], capture_output=True, text=True,
                                **{"stdin": subprocess.DEVNULL, **options})
        self.output += result.stdout + result.stderr
        return result

    def publish(self, *arguments, **options):
        result = self.run_publish(*arguments, **options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def refuse(self, *arguments, says, **options):
        """A fault in the program itself would be no refusal, so each says what it is about."""
        result = self.run_publish(*arguments, **options)
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        self.assertNotIn("Traceback", result.stderr)
        self.assertIn(says, result.stderr)

    def make_key(self):
        return self.publish("key", self.key).strip()

    def write_archive(self, *manifests, name="ovrel-2.4/manifest.json", kind=tarfile.REGTYPE, changes=None, mode=0o755):
        """`changes` are files in place of those of a good archive, None for those that it lacks."""
        files = {"bin/ovrel": b"\x7fELF program", "bin/ovrel-installer": b"\x7fELF installer",
                 "portable-installation": b"example.ovrel.Ovrel\n", "installed-files.txt": b"bin/ovrel\n"}
        entries = [(f"ovrel-2.4/{path}", content) for path, content in (files | (changes or {})).items()]
        with tarfile.open(self.archive, "w:xz", preset=0) as tar:
            for path, content in [*entries, *((name, manifest) for manifest in manifests)]:
                if content is not None:
                    entry = tarfile.TarInfo(path)
                    entry.type = kind if path == name else tarfile.REGTYPE
                    entry.mode = mode
                    entry.size = len(content)
                    tar.addfile(entry, io.BytesIO(content))

    @staticmethod
    def manifest(**changes):
        return json.dumps({"application": "example.ovrel.Ovrel", "version": "2.4", "system": "linux",
                           "architecture": "x86_64", **changes}).encode()

    def add_arguments(self, **changes):
        options = {"url": "https://ovrel.example/app/updates/ovrel.tar.xz", "version": "2.4",
                   "notes-ru": self.russian, "notes-en": self.english, "arch": "x86_64", **changes}
        return ["add", self.feed, self.key, self.archive,
                *(f"--{name}={value}" for name, value in options.items() if value is not None)]

    def add(self, **changes):
        self.write_archive(self.manifest(version=changes.get("version", "2.4"),
                                         architecture=changes.get("arch", "x86_64")))
        return self.publish(*self.add_arguments(**changes))

    def refuse_to_add(self, says, **changes):
        before = self.feed.read_bytes() if self.feed.exists() else None
        self.refuse(*self.add_arguments(**changes), says=says)
        self.assertEqual(self.feed.read_bytes() if self.feed.exists() else None, before)

    def items(self):
        return xml.etree.ElementTree.parse(self.feed).findall("channel/item")

    def is_signed(self, public, archive, signature):
        signature_file = self.write("signature", base64.b64decode(signature, validate=True))
        public_file = self.write("public.der", PUBLIC_KEY_HEADER + base64.b64decode(public, validate=True))
        result = subprocess.run(["openssl", "pkeyutl", "-verify", "-rawin", "-pubin", "-keyform", "DER", "-inkey",
                                 public_file, "-in", archive, "-sigfile", signature_file], capture_output=True)
        return result.returncode == 0


class KeyTest(PublishTest):
    def test_a_key_is_for_its_owner_alone(self):
        old = os.umask(0)
        self.addCleanup(os.umask, old)
        public = self.make_key()
        self.assertEqual(stat.S_IMODE(self.key.stat().st_mode), 0o600)
        self.assertEqual(len(base64.b64decode(public, validate=True)), 32)

    def test_two_keys_differ(self):
        first = self.make_key()
        self.key.unlink()
        self.assertNotEqual(self.make_key(), first)

    def test_a_key_is_never_replaced(self):
        self.make_key()
        before = self.key.read_bytes()
        self.refuse("key", self.key, says="exists already")
        self.assertEqual(self.key.read_bytes(), before)

    def test_no_file_is_left_where_no_key_was_made(self):
        no_openssl = {**os.environ, "PATH": str(self.folder)}
        self.refuse("key", self.key, says="openssl", env=no_openssl)
        self.assertFalse(self.key.exists())


class SignTest(PublishTest):
    def test_a_signature_is_that_of_the_archive(self):
        public = self.make_key()
        printed = self.publish("sign", self.key, self.archive)
        attributes = xml.etree.ElementTree.fromstring(f"<a xmlns:sparkle='{NAMESPACE[1:-1]}' {printed}/>").attrib
        self.assertEqual(attributes["length"], "2560")
        signature = attributes[NAMESPACE + "edSignature"]
        self.assertEqual(len(base64.b64decode(signature, validate=True)), 64)
        self.assertTrue(self.is_signed(public, self.archive, signature))
        content = bytearray(self.archive.read_bytes())
        content[100] ^= 1
        self.assertFalse(self.is_signed(public, self.write("changed", content), signature))
        self.key.unlink()
        self.assertFalse(self.is_signed(self.make_key(), self.archive, signature))

    def test_no_archive_is_not_signed(self):
        self.make_key()
        self.refuse("sign", self.key, self.folder / "missing", says="no archive")
        self.refuse("sign", self.key, self.folder, says="no archive")
        self.refuse("sign", self.key, self.write("empty", b""), says="no archive")

    def test_a_key_that_others_can_read_is_refused(self):
        self.make_key()
        for mode in (0o640, 0o604, 0o620, 0o602, 0o610):
            self.key.chmod(mode)
            self.refuse("sign", self.key, self.archive, says="Others")

    def test_a_key_is_taken_from_a_file_alone(self):
        self.make_key()
        text = self.key.read_text()
        self.refuse("sign", text, self.archive, says="no such file")
        self.refuse("sign", "".join(text.splitlines()[1:-1]), self.archive, says="no such file")
        self.refuse("sign", "-", self.archive, says="no such file")
        self.refuse("sign", "/dev/null", self.archive, says="from a file")
        read, write = os.pipe()
        with open(read, "rb") as stdin:
            with open(write, "w") as pipe:
                pipe.write(text)
            self.refuse("sign", "/dev/stdin", self.archive, says="from a file", stdin=stdin)

    def test_another_kind_of_key_is_refused(self):
        subprocess.run(["openssl", "genpkey", "-algorithm", "X25519", "-out", self.key], check=True)
        self.refuse("sign", self.key, self.archive, says="not of the kind")
        self.key.write_bytes(b"no key")
        self.refuse("sign", self.key, self.archive, says="openssl pkey failed")
        self.key.unlink()


class FeedTest(PublishTest):
    def setUp(self):
        super().setUp()
        self.public = self.make_key()
        self.write_archive(self.manifest())

    def test_a_new_feed_has_everything_of_a_release(self):
        self.add(**{"short-version": "2.4 <&> beta", "minimum-glibc": "2.31"})
        item, = self.items()
        self.assertEqual(item.findtext("title"), "Ovrel 2.4 <&> beta")
        self.assertEqual(item.findtext(NAMESPACE + "version"), "2.4")
        self.assertEqual(item.findtext(NAMESPACE + "shortVersionString"), "2.4 <&> beta")
        self.assertEqual(item.findtext(NAMESPACE + "minimumSystemVersion"), "2.31")
        self.assertEqual(item.findtext("description"), "Новое\n---en---\nNew")
        self.assertRegex(item.findtext("pubDate"), r"^[A-Z][a-z]{2}, \d\d [A-Z][a-z]{2} \d{4} \d\d:\d\d:\d\d \+0000$")
        enclosure = item.find("enclosure").attrib
        self.assertTrue(self.is_signed(self.public, self.archive, enclosure.pop(NAMESPACE + "edSignature")))
        self.assertEqual(enclosure, {"url": "https://ovrel.example/app/updates/ovrel.tar.xz",
                                     "length": str(self.archive.stat().st_size),
                                     "type": "application/octet-stream", NAMESPACE + "os": "linux-x86_64"})

    def test_the_number_is_what_people_read_unless_they_read_something_else(self):
        self.add()
        item, = self.items()
        self.assertEqual(item.findtext(NAMESPACE + "shortVersionString"), "2.4")
        self.assertIsNone(item.find(NAMESPACE + "minimumSystemVersion"))

    def test_the_newest_release_comes_first(self):
        self.add()
        self.add(version="2.5")
        self.add(version="2.5", arch="aarch64")
        versions = [(item.findtext(NAMESPACE + "version"), item.find("enclosure").get(NAMESPACE + "os"))
                    for item in self.items()]
        self.assertEqual(versions, [("2.5", "linux-aarch64"), ("2.5", "linux-x86_64"), ("2.4", "linux-x86_64")])

    def test_what_others_wrote_stays(self):
        self.feed.write_text("<?xml version='1.0'?><!-- one --><rss version='2.0' xmlns:dc='https://dc.example/'>"
                             "<channel><!-- <item> --><language>ru</language>"
                             "<item><description><![CDATA[<b>&amp;]]]]><![CDATA[></b>]]></description>"
                             "<dc:date>x</dc:date></item></channel></rss>", encoding="utf-8")
        self.add()
        text = self.feed.read_text(encoding="utf-8")
        for kept in ("<!-- one -->", "<!-- <item> -->", "<language>ru</language>", "<dc:date>x</dc:date>",
                     "<![CDATA[<b>&amp;]]]]><![CDATA[></b>]]>"):
            self.assertIn(kept, text)
        self.assertEqual([item.findtext("description") for item in self.items()],
                         ["Новое\n---en---\nNew", "<b>&amp;]]></b>"])

    def test_notes_stand_as_they_are(self):
        for index, notes in enumerate(["]]>", "a]]>b]]>]]>", "]]", ">", "<![CDATA[x]]>", "<b>&amp;</b>", "a\n\n  b",
                                       "😀 \u00a0x", "--en--", "---en---x"]):
            self.russian.write_text(notes, encoding="utf-8")
            self.english.write_text(notes + "!", encoding="utf-8")
            self.add(version=f"3.{index}")
            self.assertEqual(self.items()[0].findtext("description"), f"{notes}\n---en---\n{notes}!")

    def test_line_ends_of_other_systems_become_ours(self):
        self.russian.write_bytes("одна\r\nдве\r\n".encode())
        self.add()
        self.assertEqual(self.items()[0].findtext("description"), "одна\nдве\n---en---\nNew")

    def test_notes_that_would_be_misread_are_refused(self):
        for notes, says in [(b"", "empty"), (b" \n", "empty"), (b"a\n---en---\nb", "separates"),
                            (b"---en---", "separates"), (b"\xff", "codec"), (b"a\x00b", "characters"),
                            (b"a\x1bb", "characters")]:
            with self.subTest(notes=notes):
                self.english.write_bytes(notes)
                self.refuse_to_add(says)
        self.refuse_to_add("No such file", **{"notes-ru": self.folder / "missing"})

    def test_a_key_is_no_notes(self):
        self.refuse_to_add("is a key", **{"notes-en": self.key})

    def test_a_key_beside_the_feed_is_refused(self):
        for place in (self.feed.parent / "copy of the key", self.feed.parent / "below" / "copy of the key"):
            place.parent.mkdir(exist_ok=True)
            place.write_bytes(self.key.read_bytes())
            place.chmod(0o600)
            self.refuse("add", self.feed, place, *self.add_arguments()[3:], says="where the feed does")
        self.assertFalse(self.feed.exists())

    def test_a_release_is_named_once(self):
        self.add()
        self.refuse_to_add("already")

    def test_an_archive_that_says_something_else_is_refused(self):
        for name, value in [("application", "example.other.Program"), ("version", "2.3"), ("version", "2.4.0"),
                            ("system", "macos"), ("architecture", "aarch64"), ("version", None), ("version", 2.4)]:
            with self.subTest(name=name, value=value):
                self.write_archive(self.manifest(**{name: value}))
                self.refuse_to_add(f"that the {name} is ")
        self.write_archive(self.manifest(application="org.another.Ovrel"),
                           changes={"portable-installation": b"org.another.Ovrel\n"})
        self.publish(*self.add_arguments(application="org.another.Ovrel"))

    def test_an_archive_without_a_manifest_of_its_own_is_refused(self):
        good = self.manifest()
        for manifests, options in [([], {}), ([good, good], {}), ([good + b" " * 65_536], {}),
                                   ([good], {"name": "manifest.json"}), ([good], {"name": "../manifest.json"}),
                                   ([good], {"name": "ovrel-2.4/share/manifest.json"}),
                                   ([b""], {"kind": tarfile.SYMTYPE})]:
            with self.subTest(count=len(manifests), **options):
                self.write_archive(*manifests, **options)
                self.refuse_to_add("has not one manifest")
        for manifest, says in [(b"{", "no JSON"), (b"\xff", "no JSON"), (b"[]", "no list"), (b'"2.4"', "no list")]:
            with self.subTest(manifest=manifest):
                self.write_archive(manifest)
                self.refuse_to_add(says)

    def test_an_archive_that_would_be_the_last_update_is_refused(self):
        for name, content, says in [
                ("bin/ovrel", None, "no file bin/ovrel,"), ("bin/ovrel", b"#!/bin/sh\n", "is no program"),
                ("bin/ovrel-installer", None, "no file bin/ovrel-installer"),
                ("bin/ovrel-installer", b"", "is no program"),
                ("portable-installation", None, "no file portable-installation"),
                ("portable-installation", b"example.other.Program\n", "does not name example.ovrel.Ovrel"),
                ("installed-files.txt", None, "no file installed-files.txt"),
                ("bin/managed-by", b"apt\n", "a file bin/managed-by,"),
                ("bin/portable-installation", b"example.ovrel.Ovrel\n", "a file bin/portable-installation,")]:
            with self.subTest(name=name, content=content):
                self.write_archive(self.manifest(), changes={name: content})
                self.refuse_to_add(says)
        self.write_archive(self.manifest(), mode=0o644)
        self.refuse_to_add("is no program")

    def test_what_is_no_archive_is_refused(self):
        self.write_archive(self.manifest())
        whole = self.archive.read_bytes()
        for content in [b"no archive", whole[:len(whole) // 2], whole[:100] + b"x" + whole[101:]]:
            with self.subTest(length=len(content)):
                self.archive.write_bytes(content)
                self.refuse_to_add("cannot be read as an archive")

    def test_arguments_that_make_no_release_are_refused(self):
        for name, value, says in [
                ("version", "2.4-1", "no version"), ("version", "v2.4", "no version"), ("version", "", "no version"),
                ("version", "2..4", "no version"), ("version", "2." + "4" * 63, "no version"),
                ("version", "2.4 beta", "no version"), ("version", None, "required"),
                ("minimum-glibc", "new", "no version"), ("arch", "linux-x86_64", "no architecture"),
                ("url", "http://ovrel.example/a", "no https address"), ("url", "https:///a", "no https address"),
                ("url", "https://ovrel.example/a b", "no https address"), ("url", "a.tar.xz", "no https address"),
                ("url", None, "required"), ("notes-ru", None, "required"), ("notes-en", None, "required"),
                ("short-version", "\x01", "characters")]:
            with self.subTest(name=name, value=value):
                self.refuse_to_add(says, **{name: value})

    def test_a_file_that_is_no_feed_stays_as_it_is(self):
        for text, says in [("", "no XML"), ("<rss>", "no XML"), ("<html/>", "no feed"), ("<rss/>", "no feed"),
                           ("<rss><channel/><channel/></rss>", "no feed"),
                           ("<!DOCTYPE rss><rss><channel/></rss>", "no feed"),
                           ("<rss xmlns:sparkle='https://other.example/'><channel/></rss>", "prefix")]:
            with self.subTest(text=text):
                self.feed.write_text(text)
                self.refuse_to_add(says)

    def test_a_feed_stays_below_its_limit(self):
        self.russian.write_text("x" * 1_000_000)
        self.add()
        self.write_archive(self.manifest(version="2.5"))
        self.refuse_to_add("1048576 bytes", version="2.5")

    def test_a_feed_can_be_read_by_the_server(self):
        old = os.umask(0o022)
        self.addCleanup(os.umask, old)
        self.add()
        self.assertEqual(stat.S_IMODE(self.feed.stat().st_mode), 0o644)
        self.assertEqual([path.name for path in self.feed.parent.iterdir()], ["appcast.xml"])


if __name__ == "__main__":
    PUBLISH = sys.argv.pop(1)
    unittest.main()
