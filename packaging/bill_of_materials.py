#!/usr/bin/env python3
"""Writes what a package of Ovrel bundles from other projects, with versions and licences, as SPDX 2.3 in JSON.

usage: bill_of_materials.py ROOT NAME VERSION MOMENT < LIST

LIST has lines "FILE PACKAGE": a file below ROOT, and the Debian package that it comes from. With a third word,
"compiled-in", the file is a program of Ovrel's that holds code of the package. MOMENT is when this was made, in seconds
since 1970. A package's licence is the text that it lays down itself, in full, since the short names in such texts are
not those of SPDX. Prints the document; the standard is ISO/IEC 5962, at https://spdx.github.io/spdx-spec/.
"""

import datetime
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import urllib.parse

FACTS = ("Version", "source:Package", "source:Version", "Architecture", "Homepage")


def facts_of(package):
    asked = "\\t".join(f"${{{fact}}}" for fact in FACTS) + "\\n"
    printed = subprocess.run(["dpkg-query", "--show", f"--showformat={asked}", package],
                             check=True, capture_output=True, text=True).stdout
    return dict(zip(FACTS, printed.splitlines()[0].split("\t")))


def identifier(*words):
    return "SPDXRef-" + "-".join(re.sub(r"[^A-Za-z0-9.]+", "-", word) for word in words)


def licence_of(package):
    return "LicenseRef-" + re.sub(r"[^A-Za-z0-9.]+", "-", package)


def package_url(package, facts):
    name, version = urllib.parse.quote(package), urllib.parse.quote(facts["Version"], safe=":")
    return f"pkg:deb/debian/{name}@{version}?arch={facts['Architecture']}"


def described_package(package):
    facts = facts_of(package)
    return {
        "SPDXID": identifier("package", package),
        "name": package,
        "versionInfo": facts["Version"],
        "supplier": "Organization: Debian",
        "downloadLocation": "NOASSERTION",
        "sourceInfo": f"Debian source package {facts['source:Package']} {facts['source:Version']}",
        "homepage": facts["Homepage"] or "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": licence_of(package),
        "copyrightText": "NOASSERTION",
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": package_url(package, facts),
        }],
    }


def described_file(root, name):
    content = (root / name).read_bytes()
    return {
        "SPDXID": identifier("file", name),
        "fileName": f"./{name}",
        "fileTypes": ["BINARY"],
        # SPDX asks for SHA-1, which proves nothing any more; the other one does.
        "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(content, usedforsecurity=False).hexdigest()},
                      {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
        "licenseConcluded": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def licence_text(package):
    text = pathlib.Path(f"/usr/share/doc/{package}/copyright").read_text(encoding="utf-8", errors="replace")
    return {"licenseId": licence_of(package), "name": f"The licences of {package}", "extractedText": text}


def document(root, name, version, moment, owners, compiled_in):
    """owners: the package of each bundled file; compiled_in: pairs of a program and a package whose code is in it"""
    packages = sorted({*owners.values(), *(package for _, package in compiled_in)})
    programs = sorted({file for file, _ in compiled_in})
    program = {
        "SPDXID": "SPDXRef-package-program",
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "MIT",
        "licenseDeclared": "MIT",
        "copyrightText": "Copyright (c) 2026 The Ovrel developers",
    }
    # A package whose files were not analysed contains none, in the words of the standard: they come out of it.
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", program["SPDXID"])]
    relations += [(identifier("package", package), "PACKAGE_OF", program["SPDXID"]) for package in packages]
    relations += [(identifier("file", file), "EXPANDED_FROM_ARCHIVE", identifier("package", owners[file]))
                  for file in sorted(owners)]
    relations += [(identifier("file", file), "EXPANDED_FROM_ARCHIVE", program["SPDXID"]) for file in programs]
    relations += [(identifier("file", file), "STATIC_LINK", identifier("package", package))
                  for file, package in sorted(compiled_in)]
    content = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{name}-{version}",
        "packages": [program, *map(described_package, packages)],
        "files": [described_file(root, file) for file in sorted({*owners, *programs})],
        "hasExtractedLicensingInfos": [licence_text(package) for package in packages],
        "relationships": [{"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}
                          for one, kind, other in relations],
    }
    identifiers = [element["SPDXID"] for kind in ("packages", "files") for element in content[kind]]
    if len(identifiers) != len(set(identifiers)):
        sys.exit("bill_of_materials.py: two packages or files have names that SPDX cannot tell apart.")
    # The name of a document is unique, and the same for the same content.
    digest = hashlib.sha256(json.dumps(content, sort_keys=True).encode()).hexdigest()
    content["documentNamespace"] = f"https://spdx.org/spdxdocs/{name}-{version}-{digest}"
    created = datetime.datetime.fromtimestamp(moment, datetime.timezone.utc)
    content["creationInfo"] = {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                               "creators": ["Organization: The Ovrel developers"]}
    return content


def main():
    root, name, version, moment = sys.argv[1:]
    owners, compiled_in = {}, set()
    for line in sys.stdin:
        match line.split():
            case [file, package]:
                owners[file] = package
            case [file, package, "compiled-in"]:
                compiled_in.add((file, package))
            case _:
                sys.exit(f"bill_of_materials.py: no such line is known: {line}")
    described = document(pathlib.Path(root), name, version, int(moment), owners, compiled_in)
    json.dump(described, sys.stdout, ensure_ascii=False, indent=1)
    print()


if __name__ == "__main__":
    main()
