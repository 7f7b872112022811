#!/usr/bin/env python3
"""Runs clang-tidy on the source files that are named on standard input, each ended by a NUL.

usage: static_analysis.py BUILD-FOLDER [ARGUMENT OF CLANG-TIDY...]

A file in which nothing was found is not looked at again until it, a header of the project that it includes, the way it
is compiled, the checks or the libraries change: what was found clean is remembered below $XDG_CACHE_HOME.
"""

import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

# Of compile commands: what says where the results go, and the word after it.
OUTPUT_OPTIONS = {"-o", "-MF", "-MT", "-MQ"}
# What guards the code that a compiler makes and says nothing of the code that it reads.
GUARDS = ("-fstack-", "-fcf-protection", "-mbranch-protection", "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE",
          "-D_GLIBCXX_ASSERTIONS")


def output_of(*command, cwd=None):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True).stdout


def libraries():
    """The versions of everything whose headers may be included, and of what looks at them."""
    try:
        packages = output_of("dpkg-query", "--show", "--showformat=${Package} ${Version}\n")
    except (OSError, subprocess.CalledProcessError):
        return None  # nothing can be remembered where nobody knows
    names = [line for line in packages.splitlines() if b"-dev" in line or b"clang" in line]
    return b"\n".join(sorted(names))


class Analysis:
    def __init__(self, build, arguments):
        self.root = pathlib.Path.cwd()
        self.command = ["clang-tidy", "--quiet", "-p", build, *arguments]
        commands = json.loads((pathlib.Path(build) / "compile_commands.json").read_text())
        self.commands = {entry["file"]: entry for entry in commands}
        cache = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
        self.clean = pathlib.Path(cache) / "ovrel" / "static-analysis"
        self.libraries = libraries()

    def key_of(self, file):
        """A name for everything that decides what is found in a file; None when that is not known."""
        entry = self.commands.get(str(self.root / file))
        if entry is None or self.libraries is None:
            return None
        words = [word for word in shlex.split(entry["command"])
                 if not word.endswith("/ccache") and not word.startswith(GUARDS)]
        kept = [word for before, word in zip([""] + words, words)
                if before not in OUTPUT_OPTIONS and word not in OUTPUT_OPTIONS | {"-c", "-MD"}]
        try:
            rule = output_of(*kept, "-MM", cwd=entry["directory"]).decode()
        except subprocess.CalledProcessError:
            return None
        included = sorted({(pathlib.Path(entry["directory"]) / name).resolve()
                           for name in rule.replace("\\\n", " ").split(":", 1)[1].split()})
        configurations = [parent / ".clang-tidy" for parent in (self.root / file).parents
                          if (parent / ".clang-tidy").exists()]
        digest = hashlib.sha256(self.libraries)
        for text in [*self.command[1:], *kept]:
            digest.update(text.replace(str(self.root), "").encode() + b"\0")
        for path in [*configurations, *included]:
            content = path.read_bytes()
            digest.update(f"{os.path.relpath(path, self.root)} {len(content)}\0".encode() + content)
        return digest.hexdigest()

    def examine(self, file):
        """What clang-tidy says of a file and whether it failed; None where it was found clean before."""
        key = self.key_of(file)
        if key and (self.clean / key).exists():
            return None
        run = subprocess.run([*self.command, file], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        said = "".join(line for line in run.stderr.splitlines(keepends=True) if "generated" not in line)
        if key and run.returncode == 0 and not run.stdout and not said:
            self.clean.mkdir(parents=True, exist_ok=True)
            (self.clean / key).touch()
        return run.stdout + said, run.returncode


def main():
    build, *arguments = sys.argv[1:]
    files = sorted(name for name in sys.stdin.read().split("\0") if name)
    analysis = Analysis(build, arguments)
    examined = failed = 0
    with ThreadPoolExecutor(os.cpu_count()) as workers:
        for result in workers.map(analysis.examine, files):
            if result is None:
                continue
            said, status = result
            examined += 1
            failed += status != 0
            if said:
                print(said, end="", flush=True)
    print(f"{examined} files examined, {len(files) - examined} known to be clean, findings in {failed}.")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
