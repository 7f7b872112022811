#!/usr/bin/env python3
"""Looks whether a document is SPDX 2.3 in JSON: what has to be there, and what may not contradict something else.

usage: spdx_rules.py DOCUMENT

Clauses are those of ISO/IEC 5962 as of SPDX 2.3. Fields that packaging does not write are refused, so that nothing is
written that nobody looks at.
"""

import datetime
import json
import re
import sys
import urllib.parse

IDENTIFIER = r"SPDXRef-[A-Za-z0-9.-]+"
LICENCE_REFERENCE = r"LicenseRef-[A-Za-z0-9.-]+"
# Clauses 7.5, 7.6, 6.8.
ACTOR = r"(Person|Organization): [^()]+(\([^()]*\))?"
CREATOR = rf"{ACTOR}|Tool: \S+-\S+"
# Annex D: a name, a name and a value of a package URL.
PACKAGE_URL = r"pkg:[a-z]+(/[A-Za-z0-9.%_~-]+)+@[A-Za-z0-9.%_~:-]+(\?[a-z]+=[A-Za-z0-9._-]+)?"
LISTED_LICENCES = {"MIT"}  # of those on the list (Annex A) the ones that packaging names

# Fields by what they are: obligatory, and further ones.
FIELDS = {
    "document": ({"spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo"},
                 {"packages", "files", "relationships", "hasExtractedLicensingInfos"}),
    "creationInfo": ({"created", "creators"}, set()),
    "package": ({"SPDXID", "name", "downloadLocation"},
                {"versionInfo", "supplier", "sourceInfo", "homepage", "filesAnalyzed", "licenseConcluded",
                 "licenseDeclared", "copyrightText", "externalRefs"}),
    "externalRef": ({"referenceCategory", "referenceType", "referenceLocator"}, set()),
    "file": ({"SPDXID", "fileName", "checksums"}, {"fileTypes", "licenseConcluded", "copyrightText"}),
    "checksum": ({"algorithm", "checksumValue"}, set()),
    "licence": ({"licenseId", "extractedText"}, {"name"}),
    "relationship": ({"spdxElementId", "relationshipType", "relatedSpdxElement"}, set()),
}

# Clause 11.1, as far as packaging has a use for them.
RELATIONSHIPS = {"DESCRIBES", "CONTAINS", "PACKAGE_OF", "EXPANDED_FROM_ARCHIVE", "STATIC_LINK", "DYNAMIC_LINK"}
CHECKSUM_DIGITS = {"SHA1": 40, "SHA256": 64}


def licence_parts(expression):
    """The licences that an expression of Annex D.4 names; nothing where it is none."""
    words = re.findall(r"\(|\)|[^\s()]+", expression)
    place = 0
    named = []

    def take(wanted):
        nonlocal place
        found = place < len(words) and bool(wanted(words[place]))
        place += found
        return found

    def term():
        if take("(".__eq__):
            return either() and take(")".__eq__)
        if not take(lambda word: re.fullmatch(r"[A-Za-z0-9.-]+\+?", word) and word not in ("AND", "OR", "WITH")):
            return False
        named.append(words[place - 1])
        return not take("WITH".__eq__) or take(lambda word: re.fullmatch(r"[A-Za-z0-9.-]+", word))

    def both():
        return term() and (not take("AND".__eq__) or both())

    def either():
        return both() and (not take("OR".__eq__) or either())

    return named if either() and place == len(words) else []


class Rules:
    """Collects what is wrong with a document."""

    def __init__(self, document):
        self.complaints = []
        self._document = document
        self._require_fields("document", document, "the document")
        self._look_at_head()
        self._identifiers = self._collected_identifiers()
        self._licences = self._collected_licences()
        for package in document.get("packages", []):
            self._look_at_package(package)
        for file in document.get("files", []):
            self._look_at_file(file)
        for relationship in document.get("relationships", []):
            self._look_at_relationship(relationship)
        self._look_whether_all_is_described()

    def _require(self, condition, complaint):
        if not condition:
            self.complaints.append(complaint)

    def _require_match(self, pattern, text, what):
        self._require(isinstance(text, str) and re.fullmatch(pattern, text), f"{what} is {text!r}")

    def _require_fields(self, kind, value, what):
        obligatory, further = FIELDS[kind]
        self._require(value.keys() >= obligatory, f"{what} lacks {sorted(obligatory - value.keys())}")
        self._require(value.keys() <= obligatory | further,
                      f"{what} has {sorted(value.keys() - obligatory - further)}")
        for name, field in value.items():
            self._require(field not in ("", [], None), f"{name} of {what} is empty")

    def _look_at_head(self):
        document = self._document
        self._require(document.get("spdxVersion") == "SPDX-2.3", "another version of SPDX")
        self._require(document.get("dataLicense") == "CC0-1.0", "another licence of the document itself")
        self._require(document.get("SPDXID") == "SPDXRef-DOCUMENT", "another identifier of the document")
        namespace = urllib.parse.urlsplit(document.get("documentNamespace", ""))
        self._require(namespace.scheme and namespace.netloc and not namespace.fragment
                      and re.fullmatch(r"[!-~]+", document["documentNamespace"]), "the namespace is no address")
        creation = document.get("creationInfo", {})
        self._require_fields("creationInfo", creation, "creationInfo")
        try:
            datetime.datetime.strptime(creation.get("created", ""), "%Y-%m-%dT%H:%M:%SZ")
        except ValueError:
            self.complaints.append(f"created is {creation.get('created')!r}")
        for creator in creation.get("creators", []):
            self._require_match(CREATOR, creator, "a creator")

    def _collected_identifiers(self):
        found = [self._document.get("SPDXID")]
        for kind in ("packages", "files"):
            found += [element.get("SPDXID") for element in self._document.get(kind, [])]
        for identifier in found:
            self._require_match(IDENTIFIER, identifier, "an identifier")
            self._require(found.count(identifier) == 1, f"{identifier} is there twice")
        return set(found)

    def _collected_licences(self):
        licences = self._document.get("hasExtractedLicensingInfos", [])
        found = [licence.get("licenseId") for licence in licences]
        for licence in licences:
            self._require_fields("licence", licence, f"the licence {licence.get('licenseId')}")
            self._require_match(LICENCE_REFERENCE, licence.get("licenseId"), "the name of a licence")
            self._require(found.count(licence.get("licenseId")) == 1, f"{licence.get('licenseId')} is there twice")
        return set(found)

    def _look_at_licence(self, expression, what):
        if expression in ("NOASSERTION", "NONE"):
            return
        named = licence_parts(expression)
        self._require(named, f"{what} has the licence {expression!r}, which is no expression")
        for licence in named:
            self._require(licence in self._licences or licence in LISTED_LICENCES,
                          f"{what} has the licence {licence}, which is nowhere explained")

    def _look_at_package(self, package):
        what = f"the package {package.get('name')}"
        self._require_fields("package", package, what)
        for field in ("licenseConcluded", "licenseDeclared"):
            self._look_at_licence(package.get(field, "NOASSERTION"), what)
        self._require_match(rf"NOASSERTION|{ACTOR}", package.get("supplier", "NOASSERTION"), f"the supplier of {what}")
        for field in ("downloadLocation", "homepage"):
            self._require_match(r"NOASSERTION|NONE|[a-z][a-z0-9+.-]*://[!-~]+", package.get(field, "NONE"),
                                f"{field} of {what}")
        # Clause 7.9: with files there would have to be a code over all of them.
        self._require(package.get("filesAnalyzed") is False, f"{what} says that its files were analysed")
        for reference in package.get("externalRefs", []):
            self._require_fields("externalRef", reference, f"a reference of {what}")
            self._require(reference.get("referenceCategory") == "PACKAGE-MANAGER"
                          and reference.get("referenceType") == "purl", f"{what} refers to {reference}")
            self._require_match(PACKAGE_URL, reference.get("referenceLocator"), f"the package URL of {what}")

    def _look_at_file(self, file):
        what = f"the file {file.get('fileName')}"
        self._require_fields("file", file, what)
        self._require_match(r"\./[^/].*", file.get("fileName"), "the name of a file")
        self._require(set(file.get("fileTypes", [])) <= {"BINARY"}, f"{what} is of the types {file.get('fileTypes')}")
        self._look_at_licence(file.get("licenseConcluded", "NOASSERTION"), what)
        sums = {checksum.get("algorithm"): checksum.get("checksumValue") for checksum in file.get("checksums", [])}
        self._require("SHA1" in sums, f"{what} has no SHA1")  # Clause 8.4
        self._require(len(sums) == len(file.get("checksums", [])), f"{what} has a checksum twice")
        for checksum in file.get("checksums", []):
            self._require_fields("checksum", checksum, f"a checksum of {what}")
        for algorithm, value in sums.items():
            self._require_match(rf"[0-9a-f]{{{CHECKSUM_DIGITS.get(algorithm, 0)}}}", value, f"{algorithm} of {what}")

    def _look_at_relationship(self, relationship):
        self._require_fields("relationship", relationship, f"the relationship {relationship}")
        one, kind, other = (relationship.get(field)
                            for field in ("spdxElementId", "relationshipType", "relatedSpdxElement"))
        for end in (one, other):
            self._require(end in self._identifiers, f"{end} is related and not described")
        self._require(kind in RELATIONSHIPS, f"no relationship is called {kind}")
        # Clause 7.8: a package whose files were not analysed contains none.
        unanalysed = {package.get("SPDXID") for package in self._document.get("packages", [])
                      if package.get("filesAnalyzed") is False}
        self._require(kind != "CONTAINS" or one not in unanalysed, f"{one} contains {other}, and was not analysed")

    def _look_whether_all_is_described(self):
        related = {relationship.get(end) for relationship in self._document.get("relationships", [])
                   for end in ("spdxElementId", "relatedSpdxElement")}
        for identifier in sorted(filter(None, self._identifiers - related)):
            self.complaints.append(f"{identifier} is related to nothing")
        self._require(any(relationship.get("spdxElementId") == "SPDXRef-DOCUMENT"
                          and relationship.get("relationshipType") == "DESCRIBES"
                          for relationship in self._document.get("relationships", [])), "nothing is described")


def complaints_about(document):
    return Rules(document).complaints


def main():
    [path] = sys.argv[1:]
    with open(path, encoding="utf-8") as stream:
        complaints = complaints_about(json.load(stream))
    for complaint in complaints:
        print(f"{path}: {complaint}", file=sys.stderr)
    sys.exit(1 if complaints else 0)


if __name__ == "__main__":
    main()
