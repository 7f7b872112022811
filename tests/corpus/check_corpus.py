#!/usr/bin/env python3
"""Converts a folder of real images with ovrel-cli and compares the results with independent facts.

    check_corpus.py CORPUS BIN [--only CLASS]

CORPUS holds MANIFEST.tsv (one row a file: path, format, width, height, frames, loop, delays_ms, the verdicts of other
decoders) and reference/ with renderings of some files by another decoder. BIN is a folder with ovrel-cli and
ovrel-picture-facts. Prints one line for every deviation and a table at the end; exits 1 when there is any.

A file that most other decoders accept must convert; one that all refuse must fail; between the two both are right.
"""

import argparse
import collections
import csv
import hashlib
import json
import pathlib
import re
import resource
import subprocess
import sys
import tarfile
import tempfile

ACCEPTED = {".jpg", ".jpeg", ".png", ".webp", ".gif", ".avif"}
PIXEL_DECODERS = {"pillow", "magick", "vips", "ffmpeg", "djpeg", "avifdec"}
SECONDS_FOR_ONE = 600
MEMORY_FOR_ONE = 12 << 30

MESSAGES = [
    r"Unable to read the image",
    r"The image is damaged or unsupported",
    r"Not enough memory to process the image",
    r"AVIF error: .+",
    r"Animation encoding failed: .+",
    r"Unable to read GIF frame \d+",
    r"Unable to prepare GIF frame \d+",
    r"Frame \d+: .+",
]


# What other decoders make of these is known to differ from what is right.
KNOWN_RENDERINGS = {
    "png-odd/pngsuite-basn4a16.png": "states a gamma of 1.0, which the rendering ignores",
}

# libavif's decoder refuses pictures of more than 2^28 pixels, so it cannot say anything of these results.
TOO_LARGE_FOR_LIBAVIF = {"broken/bomb-valid-20000x20000-1bit.png", "broken/giant-image.jpg"}


class Check:
    def __init__(self, corpus, programs):
        self.corpus = corpus
        self.cli = programs / "ovrel-cli"
        self.facts = programs / "ovrel-picture-facts"
        self.deviations = []
        self.table = collections.defaultdict(collections.Counter)

    def deviation(self, path, text):
        self.deviations.append(f"{path}: {text}")
        print(f"DEVIATION {path}: {text}", flush=True)

    def run(self, *command, **options):
        return subprocess.run([str(word) for word in command], capture_output=True, text=True, errors="surrogateescape",
                              **options)

    def convert(self, source, out):
        """Converts one file; returns (exit status, record or None, standard error)."""
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_FOR_ONE, MEMORY_FOR_ONE))

        done = self.run(self.cli, "--json", "--language", "en", "-s", "fast", "-o", out, source, preexec_fn=limit,
                        timeout=SECONDS_FOR_ONE)
        lines = [json.loads(line) for line in done.stdout.splitlines() if line.strip()]
        records = [line for line in lines if "source" in line]
        return done.returncode, (records[0] if records else None), done.stderr

    # One file -----------------------------------------------------------------------------------------------------

    def file(self, row):
        source = self.corpus / row["path"]
        kind = row["class"]
        if source.suffix.lower() not in ACCEPTED:
            self.table[kind]["not offered"] += 1
            return
        before = hashlib.sha256(source.read_bytes()).hexdigest()
        with tempfile.TemporaryDirectory() as name:
            out = pathlib.Path(name) / "out"
            try:
                status, record, errors = self.convert(source, out)
            except subprocess.TimeoutExpired:
                self.deviation(row["path"], f"still running after {SECONDS_FOR_ONE} s")
                return
            left = [path for path in out.rglob("*") if path.is_file()] if out.exists() else []
            if hashlib.sha256(source.read_bytes()).hexdigest() != before:
                self.deviation(row["path"], "the source has changed")
            if status == 0 and record:
                self.success(row, source, record, left)
            elif status == 1 and record:
                self.failure(row, record, left)
            else:
                self.deviation(row["path"], f"exit status {status}: {errors.strip()[-200:]}")

    def verdict(self, row):
        accepted = PIXEL_DECODERS & set(re.findall(r"\w+", row["accepted_by"]))
        rejected = PIXEL_DECODERS & set(re.findall(r"\w+", re.sub(r"\([^)]*\)", "", row["rejected_by"])))
        if not accepted:
            return "refuse"
        return "accept" if len(accepted) > len(rejected) else "either"

    def success(self, row, source, record, left):
        kind = row["class"]
        if len(left) != 1 or str(left[0]) != record["result"]:
            self.deviation(row["path"], f"results are {[str(path.name) for path in left]}")
            return
        if source.suffix.lower() == ".avif":
            if left[0].read_bytes() != source.read_bytes():
                self.deviation(row["path"], "the copy differs")
            self.table[kind]["copied"] += 1
            return
        self.table[kind]["converted"] += 1
        if self.verdict(row) == "refuse":
            self.deviation(row["path"], "converted, though every other decoder refuses it")
        if row["path"] in TOO_LARGE_FOR_LIBAVIF:
            print(f"known: {row['path']}: the result is too large for libavif's decoder")
            return
        facts = self.run(self.facts, "avif", left[0])
        if facts.returncode != 0:
            self.deviation(row["path"], f"libavif refuses the result: {facts.stderr.strip()}")
            return
        width, height, _, repetitions, *durations = map(int, facts.stdout.split())
        if row["width"] and row["height"] and (int(row["width"]), int(row["height"])) != (width, height):
            self.deviation(row["path"], f"size {width}x{height}, the manifest says {row['width']}x{row['height']}")
        self.frames(row, source, repetitions, durations)

    def frames(self, row, source, repetitions, durations):
        animated = source.suffix.lower() == ".gif" and int(row["frames"] or 1) > 1
        expected = int(row["frames"]) if animated else 1
        if len(durations) != expected:
            self.deviation(row["path"], f"{len(durations)} frames, expected {expected}")
        if not animated:
            return
        stored = [int(delay) for delay in row["delays_ms"].split(",") if delay.strip().isdigit()]
        for index, (found, delay) in enumerate(zip(durations, stored)):
            if found != (delay if delay > 0 else 100):
                self.deviation(row["path"], f"frame {index + 1} lasts {found} ms, stored are {delay}")
                break
        loop = row["loop"]
        number = re.search(r"netscape=(\d+)", loop)
        wanted = -1 if loop == "infinite" else int(number.group(1)) - 1 if number else 0 if loop == "none" else None
        if wanted is not None and repetitions != wanted:
            self.deviation(row["path"], f"repeats {repetitions}, expected {wanted} ({loop})")

    def failure(self, row, record, left):
        self.table[row["class"]]["refused"] += 1
        if left:
            self.deviation(row["path"], f"failed and left {[str(path) for path in left]}")
        if not any(re.fullmatch(message, record["error"]) for message in MESSAGES):
            self.deviation(row["path"], f"unknown message: {record['error']}")
        if self.verdict(row) == "accept":
            self.deviation(row["path"], f"{record['error']}, though accepted by {row['accepted_by']}")

    # Renderings and names -------------------------------------------------------------------------------------------

    def references(self):
        with open(self.corpus / "reference" / "REFERENCE.tsv", encoding="utf-8") as lines:
            rows = [line.rstrip("\n").split("\t") for line in lines if line.strip() and not line.startswith("#")]
        for row in rows:
            if row[0].startswith("gif/"):
                folder = self.corpus / "reference" / (pathlib.Path(row[0]).name + ".frames")
                for frame in sorted(folder.glob("*.png")):
                    self.compare(row[0], int(frame.stem), frame, 0.0)
            else:
                inks = "relative-vs-perceptual" in "\t".join(row)
                self.compare(row[0], 0, self.corpus / row[1], 3.0 if inks else 1.0)

    def compare(self, path, index, reference, tolerance):
        done = self.run(self.facts, "difference", self.corpus / path, index, reference)
        self.table["reference"]["compared"] += 1
        if done.returncode != 0:
            self.deviation(path, f"frame {index}: {done.stderr.strip()}")
            return
        *means, largest = done.stdout.split()
        if path in KNOWN_RENDERINGS:
            print(f"known: {path}: {KNOWN_RENDERINGS[path]}; mean differences {means}")
        elif max(map(float, means)) > tolerance:
            self.deviation(path, f"frame {index}: mean differences {means}, largest {largest}")

    def names(self, rows):
        """The odd names convert, each offered one exactly once, and nothing else does."""
        with tempfile.TemporaryDirectory() as name:
            with tarfile.open(self.corpus / "names.tar") as archive:
                archive.extractall(name)
            out = pathlib.Path(name) / "out"
            done = self.run(self.cli, "--json", "--language", "en", "-s", "fast", "-j", "2", "-o", out,
                            pathlib.Path(name) / "names")
            records = [json.loads(line) for line in done.stdout.splitlines()]
            records = [record for record in records if "source" in record]
            self.table["names"]["converted"] = sum(1 for record in records if record["status"] in ("converted", "copied"))
            offered = {path.relative_to(name) for path in pathlib.Path(name, "names").rglob("*") if self.offered(path, name)}
            self.table["names"]["not offered"] = len(rows) - len(offered)
            if len(records) != len(offered):
                self.deviation("names", f"{len(records)} converted, {len(offered)} offered")
            for record in records:
                if record["status"] not in ("converted", "copied"):
                    self.deviation("names", f"{record['source']}: {record.get('error')}")
            results = [path for path in out.rglob("*") if path.is_file()]
            if len(results) != len(offered):
                self.deviation("names", f"{len(results)} results for {len(offered)} sources")

    @staticmethod
    def offered(path, top):
        parts = path.relative_to(top).parts
        packages = (".app", ".bundle", ".photoslibrary")
        return (path.is_file() and not path.is_symlink() and path.suffix.lower() in ACCEPTED
                and not any(part.startswith(".") for part in parts)
                and not any(part.lower().endswith(packages) for part in parts[:-1]))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("corpus", type=pathlib.Path)
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("--only", help="one class of the manifest, or reference")
    options = parser.parse_args()
    check = Check(options.corpus.resolve(), options.programs.resolve())
    with open(check.corpus / "MANIFEST.tsv", encoding="utf-8", newline="") as manifest:
        rows = list(csv.DictReader(manifest, delimiter="\t", quoting=csv.QUOTE_NONE))
    for row in rows:
        if row["class"] not in ("names", "reference") and options.only in (None, row["class"]):
            check.file(row)
    if options.only in (None, "reference"):
        check.references()
    if options.only in (None, "names"):
        check.names([row for row in rows if row["class"] == "names"])
    for kind, counts in check.table.items():
        print(f"{kind:12} " + "  ".join(f"{name}: {count}" for name, count in counts.items()))
    print(f"{len(check.deviations)} deviations")
    return 1 if check.deviations else 0


if __name__ == "__main__":
    sys.exit(main())
