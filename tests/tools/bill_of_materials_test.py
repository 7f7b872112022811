#!/usr/bin/env python3
"""Describes a folder of two bundled files, as packaging does, and reads the description."""

import copy
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from spdx_rules import complaints_about, licence_parts

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "bill_of_materials.py"


@unittest.skipUnless(shutil.which("dpkg-query") or os.environ.get("CI"), "only dpkg knows whose files are bundled")
class BillOfMaterials(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "lib").mkdir()
        (self.root / "lib" / "one.so").write_bytes(b"one")
        (self.root / "lib" / "two.so.1").write_bytes(b"two")

    def written(self, lines="lib/one.so libc6\nlib/two.so.1 libc6\n", moment="1700000000"):
        command = [sys.executable, "-B", SCRIPT, self.root, "ovrel", "2.3", moment]
        return subprocess.run(command, input=lines, check=True, capture_output=True, text=True).stdout

    def test_names_every_file_and_whose_it_is(self):
        bill = json.loads(self.written())
        self.assertEqual(bill["spdxVersion"], "SPDX-2.3")
        self.assertEqual([package["name"] for package in bill["packages"]], ["ovrel", "libc6"])
        self.assertEqual([file["fileName"] for file in bill["files"]], ["./lib/one.so", "./lib/two.so.1"])
        self.assertIn({"algorithm": "SHA256", "checksumValue": hashlib.sha256(b"one").hexdigest()},
                      bill["files"][0]["checksums"])
        version = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}\\n", "libc6"],
                                 check=True, capture_output=True, text=True).stdout.split()[0]
        self.assertEqual(bill["packages"][1]["versionInfo"], version)

    def test_names_what_is_compiled_into_a_program(self):
        (self.root / "program").write_bytes(b"program")
        bill = json.loads(self.written("lib/one.so libc6\nprogram libc6 compiled-in\nprogram dpkg compiled-in\n"))
        self.assertEqual({package["name"] for package in bill["packages"]}, {"ovrel", "libc6", "dpkg"})
        self.assertEqual([file["fileName"] for file in bill["files"]], ["./lib/one.so", "./program"])
        names = {element["SPDXID"]: element.get("name") or element["fileName"]
                 for kind in ("packages", "files") for element in bill[kind]}
        linked = [(names[relation["spdxElementId"]], names[relation["relatedSpdxElement"]])
                  for relation in bill["relationships"] if relation["relationshipType"] == "STATIC_LINK"]
        self.assertEqual(linked, [("./program", "dpkg"), ("./program", "libc6")])
        self.assertEqual({licence["licenseId"] for licence in bill["hasExtractedLicensingInfos"]},
                         {package["licenseDeclared"] for package in bill["packages"][1:]})

    def test_fails_for_a_line_that_it_does_not_know(self):
        with self.assertRaises(subprocess.CalledProcessError):
            self.written("lib/one.so libc6 beside\n")

    def test_carries_the_text_of_every_licence_that_it_names(self):
        bill = json.loads(self.written())
        texts = {licence["licenseId"]: licence["extractedText"] for licence in bill["hasExtractedLicensingInfos"]}
        for package in bill["packages"][1:]:
            self.assertIn("GNU", texts[package["licenseDeclared"]])

    def test_relates_only_what_it_describes(self):
        bill = json.loads(self.written())
        known = [element["SPDXID"] for kind in ("packages", "files") for element in bill[kind]] + ["SPDXRef-DOCUMENT"]
        self.assertEqual(len(known), len(set(known)))
        for relation in bill["relationships"]:
            self.assertLessEqual({relation["spdxElementId"], relation["relatedSpdxElement"]}, set(known))
        for name in known:
            self.assertRegex(name, re.compile(r"^SPDXRef-[A-Za-z0-9.-]+$"))
        kinds = [relation["relationshipType"] for relation in bill["relationships"]]
        self.assertEqual(kinds, ["DESCRIBES", "PACKAGE_OF", "EXPANDED_FROM_ARCHIVE", "EXPANDED_FROM_ARCHIVE"])

    def test_is_the_same_for_the_same_content_and_another_for_another(self):
        first = self.written()
        self.assertEqual(first, self.written())
        (self.root / "lib" / "one.so").write_bytes(b"another")
        self.assertNotEqual(json.loads(first)["documentNamespace"], json.loads(self.written())["documentNamespace"])

    def test_keeps_the_rules_of_spdx(self):
        (self.root / "program").write_bytes(b"program")
        lines = "lib/one.so libc6\nlib/two.so.1 libstdc++6\nprogram dpkg compiled-in\n"
        self.assertEqual(complaints_about(json.loads(self.written(lines))), [])

    def test_fails_where_two_names_become_one(self):
        for name in ["one_two.so", "one-two.so"]:
            (self.root / "lib" / name).write_bytes(b"")
        with self.assertRaises(subprocess.CalledProcessError):
            self.written("lib/one_two.so libc6\nlib/one-two.so libc6\n")

    def test_fails_for_a_package_that_nobody_knows(self):
        with self.assertRaises(subprocess.CalledProcessError):
            self.written("lib/one.so no-such-package-of-ovrel\n")

    def test_is_looked_at_by_rules_that_find_faults(self):
        sound = json.loads(self.written())
        self.assertEqual(complaints_about(sound), [])
        faults = {
            "no field": lambda bill: bill.pop("dataLicense"),
            "no time": lambda bill: bill["creationInfo"].update(created="yesterday"),
            "no creator": lambda bill: bill["creationInfo"].update(creators=["somebody"]),
            "no address": lambda bill: bill.update(documentNamespace="ovrel"),
            "an unknown field": lambda bill: bill["files"][0].update(colour="green"),
            "an empty field": lambda bill: bill["packages"][1].update(homepage=""),
            "an identifier with a letter that none has": lambda bill: bill["files"][0].update(SPDXID="SPDXRef-a_b"),
            "an identifier twice": lambda bill: bill["files"][1].update(SPDXID=bill["files"][0]["SPDXID"]),
            "an end that is nowhere": lambda bill: bill["relationships"][1].update(spdxElementId="SPDXRef-nobody"),
            "a relationship that is none": lambda bill: bill["relationships"][1].update(relationshipType="LIKES"),
            "an element on its own": lambda bill: bill["relationships"].pop(),
            "files that were not analysed": lambda bill: bill["relationships"][1].update(relationshipType="CONTAINS"),
            "analysed files": lambda bill: bill["packages"][1].update(filesAnalyzed=True),
            "a licence without a text": lambda bill: bill["hasExtractedLicensingInfos"][0].update(extractedText=""),
            "a licence that is nowhere": lambda bill: bill["hasExtractedLicensingInfos"].clear(),
            "a licence that is no expression": lambda bill: bill["packages"][0].update(licenseDeclared="MIT MIT"),
            "a licence that is not on the list": lambda bill: bill["packages"][0].update(licenseDeclared="GPLv2"),
            "no SHA1": lambda bill: bill["files"][0]["checksums"].pop(0),
            "a short checksum": lambda bill: bill["files"][0]["checksums"][1].update(checksumValue="12ab"),
            "a name from the root": lambda bill: bill["files"][0].update(fileName="/lib/one.so"),
            "a package URL with a blank":
                lambda bill: bill["packages"][1]["externalRefs"][0].update(referenceLocator="pkg:deb/debian/a b@1"),
        }
        for name, spoil in faults.items():
            with self.subTest(name):
                spoilt = copy.deepcopy(sound)
                spoil(spoilt)
                self.assertNotEqual(complaints_about(spoilt), [])

    def test_knows_expressions_of_licences(self):
        for text, named in {
            "MIT": ["MIT"], "(MIT)": ["MIT"], "MIT AND LicenseRef-a OR Zlib": ["MIT", "LicenseRef-a", "Zlib"],
            "(MIT OR Zlib) AND GPL-2.0+ WITH GCC-exception-2.0": ["MIT", "Zlib", "GPL-2.0+"],
            "": [], "MIT MIT": [], "(MIT": [], "MIT)": [], "AND": [], "MIT AND": [], "MIT WITH": [], "MIT/X11": [],
        }.items():
            self.assertEqual(licence_parts(text), named, text)


if __name__ == "__main__":
    unittest.main()
