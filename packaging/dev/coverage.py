#!/usr/bin/env python3
"""Sums up what "llvm-cov export -summary-only" on standard input says of some source files.

usage: coverage.py SOURCE...

Prints how many of all their lines and how many of all their regions were run, in percent.
"""

import json
import pathlib
import sys


def main(sources):
    wanted = {pathlib.Path(source).resolve() for source in sources}
    totals = {"lines": [0, 0], "regions": [0, 0]}
    found = set()
    for file in json.load(sys.stdin)["data"][0]["files"]:
        path = pathlib.Path(file["filename"]).resolve()  # ccache has it told from the build folder
        if path in wanted:
            found.add(path)
            for kind, total in totals.items():
                total[0] += file["summary"][kind]["covered"]
                total[1] += file["summary"][kind]["count"]
    if found != wanted:
        sys.exit("Not in the program: " + ", ".join(sorted(str(path) for path in wanted - found)))
    print(*(f"{100 * covered / count:.1f}" for covered, count in totals.values()))


main(sys.argv[1:])
