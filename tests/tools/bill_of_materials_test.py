#!/usr/bin/env python3
"""Describes a folder of two bundled files, as packaging does, and reads the description."""

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
        self.assertEqual(sum(relation["relationshipType"] == "CONTAINS" for relation in bill["relationships"]), 3)

    def test_is_the_same_for_the_same_content_and_another_for_another(self):
        first = self.written()
        self.assertEqual(first, self.written())
        (self.root / "lib" / "one.so").write_bytes(b"another")
        self.assertNotEqual(json.loads(first)["documentNamespace"], json.loads(self.written())["documentNamespace"])

    def test_fails_for_a_package_that_nobody_knows(self):
        with self.assertRaises(subprocess.CalledProcessError):
            self.written("lib/one.so no-such-package-of-ovrel\n")


if __name__ == "__main__":
    unittest.main()
