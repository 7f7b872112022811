#!/usr/bin/env python3
"""Looks at what a desktop and shells are told of Ovrel.

usage: desktop_files_test.py FOLDER-OF-PROGRAMS FOLDER-OF-DESKTOP-FILES APPLICATION-ID
"""

import configparser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

PROGRAMS, DESKTOP_FILES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
APPLICATION_ID = sys.argv[3]
PROJECT = pathlib.Path(__file__).resolve().parents[2]
COMPLETIONS = PROJECT / "packaging" / "desktop" / "completions"
LANGUAGE = "{http://www.w3.org/XML/1998/namespace}lang"


def said(*command, **options):
    """What a command prints; an error when it fails."""
    environment = {**os.environ, "QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8"}
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, env=environment, **options)
    if run.returncode:
        raise AssertionError(f"{command[0]} ended with {run.returncode}: {run.stdout}")
    return run.stdout


def options_of(program):
    """Long options that a program's help names."""
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]+", said(PROGRAMS / program, "--help")))


def entry(name):
    parser = configparser.ConfigParser(interpolation=None, delimiters="=")
    parser.optionxform = str
    parser.read(DESKTOP_FILES / name)
    return parser


class DesktopEntry(unittest.TestCase):
    path = DESKTOP_FILES / "applications" / f"{APPLICATION_ID}.desktop"

    @unittest.skipUnless(shutil.which("desktop-file-validate") or os.environ.get("CI"), "desktop-file-utils is missing")
    def test_is_valid(self):
        self.assertEqual(said("desktop-file-validate", self.path), "")

    def test_knows_the_class_of_the_window_under_x11(self):
        self.assertEqual(entry(self.path)["Desktop Entry"]["StartupWMClass"], "Ovrel")

    def test_opens_images_and_folders(self):
        group = entry(self.path)["Desktop Entry"]
        self.assertEqual(group["Exec"], "ovrel %F")
        self.assertEqual(set(group["MimeType"].split(";")) - {""},
                         {"image/jpeg", "image/png", "image/webp", "image/gif", "image/avif", "inode/directory"})


class Metainfo(unittest.TestCase):
    path = DESKTOP_FILES / "metainfo" / f"{APPLICATION_ID}.metainfo.xml"

    @unittest.skipUnless(shutil.which("appstreamcli") or os.environ.get("CI"), "appstream is missing")
    def test_is_valid(self):
        self.assertIn("Validation was successful", said("appstreamcli", "validate", "--no-net", "--no-color", self.path))

    def test_names_the_desktop_entry(self):
        component = ElementTree.parse(self.path).getroot()
        self.assertEqual(component.findtext("id"), APPLICATION_ID)
        self.assertEqual(component.findtext("launchable"), f"{APPLICATION_ID}.desktop")

    def test_tells_of_this_version_first_and_of_older_ones_below(self):
        releases = ElementTree.parse(self.path).getroot().findall("releases/release")
        versions = [release.get("version") for release in releases]
        self.assertEqual(versions[0], said(PROGRAMS / "ovrel-cli", "--version").split()[1])
        numbers = [tuple(map(int, version.split("."))) for version in versions]
        self.assertEqual(numbers, sorted(set(numbers), reverse=True))
        for release in releases:
            self.assertIsNotNone(release.find("description/p"), release.get("version"))

    def test_tells_of_the_same_release_as_the_list_of_changes(self):
        release = ElementTree.parse(self.path).getroot().find("releases/release")
        headings = re.findall(r"^## (.+)$", (PROJECT / "CHANGELOG.md").read_text(), re.MULTILINE)
        self.assertEqual(headings[0], f"{release.get('version')} ({release.get('date')})")

    def test_says_everything_in_both_languages(self):
        spoken = {"summary", "developer_name", "caption", "p", "li", "keyword"}
        seen = set()
        for texts in ElementTree.parse(self.path).getroot().iter():
            for tag in {child.tag for child in texts} & spoken:
                languages = [child.get(LANGUAGE) for child in texts.iterfind(tag)]
                self.assertEqual(languages.count(None), languages.count("ru"), f"{texts.tag} {tag}")
                seen.add(tag)
        self.assertEqual(seen, spoken)

    def test_shows_its_pictures_in_both_languages(self):
        for screenshot in ElementTree.parse(self.path).getroot().iterfind("screenshots/screenshot"):
            names = {image.get(LANGUAGE): image.text.rsplit("/", 1)[1] for image in screenshot.iterfind("image")}
            self.assertEqual(names, {None: names[None], "ru": names[None].replace(".png", ".ru.png")})

    def test_shows_pictures_that_are_there(self):
        for image in ElementTree.parse(self.path).getroot().iterfind("screenshots/screenshot/image"):
            picture = PROJECT / "docs" / "images" / image.text.rsplit("/", 1)[1]
            header = picture.read_bytes()[:24]
            self.assertEqual((int(image.get("width")), int(image.get("height"))),
                             (int.from_bytes(header[16:20], "big"), int.from_bytes(header[20:24], "big")), picture)


class Documents(unittest.TestCase):
    def test_for_users_name_no_version_that_would_be_an_old_one_some_day(self):
        version = said(PROGRAMS / "ovrel-cli", "--version").split()[1]
        named = re.compile(rf"(?<![\d.]){re.escape(version)}(?!\.?\d)")
        documents = [PROJECT / "README.md", *PROJECT.glob("docs/guide.*.md"), *PROJECT.glob("docs/*.1")]
        self.assertEqual(len(documents), 5)
        self.assertIsNotNone(named.search(f"ovrel-{version}-linux"))
        for document in documents:
            self.assertIsNone(named.search(document.read_text()), document)


class Icons(unittest.TestCase):
    def test_are_as_large_as_they_say(self):
        for size in (16, 22, 24, 32, 48, 64, 128, 256, 512):
            header = (DESKTOP_FILES / f"{size}.png").read_bytes()[:24]
            self.assertEqual(header[:8], b"\x89PNG\r\n\x1a\n")
            self.assertEqual([int.from_bytes(header[at:at + 4], "big") for at in (16, 20)], [size, size])


class ServiceMenus(unittest.TestCase):
    menus = {f"kio/servicemenus/{APPLICATION_ID}.desktop": "Desktop Action convert",
             f"nemo/actions/{APPLICATION_ID}.nemo_action": "Nemo Action",
             f"file-manager/actions/{APPLICATION_ID}.desktop": "Desktop Entry"}

    def test_say_the_same_in_every_file_manager(self):
        for name, group in self.menus.items():
            with self.subTest(name):
                self.assertEqual(entry(name)[group]["Name"], "Convert to AVIF")
                self.assertEqual(entry(name)[group]["Name[ru]"], "Преобразовать в AVIF")
                self.assertIn("Exec=ovrel %F\n", (DESKTOP_FILES / name).read_text())


class Completions(unittest.TestCase):
    def test_know_every_option_and_no_other(self):
        written = {"bash": r"(?<![\w-])--[a-z][a-z-]+", "zsh": r"(?<![\w-])--[a-z][a-z-]+", "fish": r"(?<= -l )[a-z-]+"}
        for program in ("ovrel", "ovrel-cli"):
            known = options_of(program) - {"--help-all"}  # Qt's own, of Qt's options
            for shell, pattern in written.items():
                with self.subTest(f"{program} in {shell}"):
                    found = re.findall(pattern, (COMPLETIONS / f"{program}.{shell}").read_text())
                    self.assertEqual({"--" + name.removeprefix("--") for name in found}, known)

    def completed(self, program, *words, folder="."):
        """What bash offers for the last word."""
        script = f"""
            source {COMPLETIONS / program}.bash
            compopt() {{ :; }}
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
            _{program.replace("-", "_")}
            printf '%s\\n' "${{COMPREPLY[@]}}"
        """
        return set(said("bash", "-c", script, "bash", program, *words, cwd=folder).split("\n")) - {""}

    def test_offer_options_values_and_what_can_be_converted(self):
        self.assertEqual(self.completed("ovrel-cli", "--sp"), {"--speed"})
        self.assertEqual(self.completed("ovrel-cli", "--speed", ""), {"fast", "balanced", "thorough"})
        self.assertEqual(self.completed("ovrel-cli", "-q", ""), set())
        self.assertEqual(self.completed("ovrel", "--v"), {"--version"})
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "a folder").mkdir()
            for name in ("my dawn.JPG", "notes.txt"):
                (pathlib.Path(folder) / name).touch()
            for program in ("ovrel", "ovrel-cli"):
                self.assertEqual(self.completed(program, "", folder=folder), {"a folder", "my dawn.JPG"})
            self.assertEqual(self.completed("ovrel-cli", "-o", "", folder=folder), {"a folder"})

    def test_offer_values_behind_an_equals_sign_which_is_a_word_to_bash(self):
        self.assertEqual(self.completed("ovrel-cli", "--mode", "="), {"efficient", "system"})
        self.assertEqual(self.completed("ovrel-cli", "--mode", "=", "s"), {"system"})
        self.assertEqual(self.completed("ovrel-cli", "--quality", "="), set())
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "results").mkdir()
            (pathlib.Path(folder) / "dawn.jpg").touch()
            self.assertEqual(self.completed("ovrel-cli", "--output", "=", folder=folder), {"results"})
            self.assertEqual(self.completed("ovrel-cli", "--output", "=", "r", folder=folder), {"results"})

    def test_offer_no_file_that_looks_like_an_option(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "-dawn.jpg").touch()
            for program in ("ovrel", "ovrel-cli"):
                self.assertEqual(self.completed(program, "", folder=folder), {"./-dawn.jpg"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
