#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""mutate.py [--sample N] [--seed S] [--list] [-v] FILE|FOLDER... - do the tests notice faults?

Copies the tree to build/mutants, puts one fault at a time into a source file there, builds what
changed, and runs the relevant tests until one fails. Prints each fault that no test noticed, and
how many were noticed. Faults that do not compile, and those that leave every program the same byte
for byte, are not counted. --list only shows the faults. The original tree is not changed.
"""

import argparse
import collections
import hashlib
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build/mutants/tree"
BUILD = ROOT / "build/mutants/build"
# A fault may make a test endless.
LIMITED = f"timeout -s KILL 300 prlimit --cpu=120 --fsize={2**34} --as={2**33}".split()

# For each folder the targets to build and the commands that test it, quick ones first. The first
# folder that matches counts.
TESTS = [str(BUILD / "tests/ezossl_tests"), "--gtest_fail_fast", "--gtest_brief=1"]
# Some of these tests wait. On a busy machine one can fail without a fault, but hardly twice.
CTEST = ["ctest", "--test-dir", str(BUILD), "--repeat", "until-pass:2", "--stop-on-failure",
         "--no-tests=error", "-R"]  # fmt: skip
LIBRARY = ("Config.*:Delay.*:Direction.*:EndToEnd.*:Fft*:Math.*:Geometry.*:Lifecycle.*:Messages.*"
           ":Platform.*:*Transcript*:LibraryFile.*")  # fmt: skip
SLOW = "Plot.IsSmall*:Faults.*:Answers.*"
SUITES = {
    "tools/ezossl/serve/": (["ezossl_tests"], [[*TESTS, "--gtest_filter=EventQueue.*"],
                                               [*CTEST, "^Serve$"]]),
    "tools/": (["ezossl_tests"], [[*TESTS, f"--gtest_filter=*:-{LIBRARY}:{SLOW}"],
                                 [*TESTS, f"--gtest_filter={SLOW}"],
                                 [*CTEST, "^(Accuracy|Manual|Serve|InjectedFaults)$"]]),
    "": (["ezossl_tests", "real_time_builtin", "header_example"],
         [[*TESTS, f"--gtest_filter={LIBRARY}"], [*CTEST, "^(RealTime|HeaderExample)"]]),
}  # fmt: skip

# Each is replaced by the other.
PAIRS = [
    (" < ", " <= "), (" > ", " >= "), (" == ", " != "), (" < ", " >= "), (" > ", " <= "),
    (" && ", " || "), (" + ", " - "), (" * ", " / "), ("+=", "-="), ("std::min", "std::max"),
    ("true", "false"),
]  # fmt: skip

# Pattern and replacement. The last one applies inside strings, the others outside of them; none in
# comments.
OPERATORS = [(rf"(?<!\w){re.escape(old)}(?!\w)" if old[0].isalpha() else re.escape(old), new)
             for pair in PAIRS for old, new in (pair, pair[::-1])]  # fmt: skip
OPERATORS += [
    (r"!(?=\w)", ""), (r" % ", " / "),
    (r"(?<![\w.])(\d+)(?=[,;)\]\s}])", lambda m: str(int(m[1]) + 1)),
    (r"(?<![\w.])([1-9]\d*)(?=[,;)\]\s}])", lambda m: str(int(m[1]) - 1)),
    (r"(?<![\w.])(\d+\.\d+)(?=f?\b)", lambda m: str(float(m[1]) * 1.1 or 1.0)),
    (r"\b(if|while) \((.*)\)(?= \{$|$)", r"\1 (!(\2))"),
    (r"\b(if|while) \((.*)\)(?= \{$|$)", r"\1 (false)"),
    (r"^(\s+)(?!return|throw|const |constexpr |static |case |using |break|default)"
     r"[\w:>.\[\]*()-]+( [+\-*/|&]?= |\(|\+\+|\.).*;$", r"\1;"),
    (r"^(\s+)return;$", r"\1;"),
    (r'(?<!include )"(?=[^"]*\w)', r'"~'),
]  # fmt: skip
TEXT = OPERATORS[-1][0]


def masked(line):
    """The line with strings and comments replaced by blanks of the same length."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', line)
    return re.sub(r"//.*", lambda m: " " * len(m[0]), line)


def faults_of(path):
    """Line number, line before, line after."""
    inside_comment = False
    for number, line in enumerate((ROOT / path).read_text().split("\n")):
        inside_comment = inside_comment or line.lstrip().startswith("/*")
        skipped = inside_comment or line.startswith("#") or "static_assert" in line
        inside_comment = inside_comment and "*/" not in line
        if skipped:
            continue
        plain = masked(line)
        end = len(plain.rstrip()) if "//" in line else len(line)  # of the code
        for pattern, replacement in OPERATORS:
            for place in re.finditer(pattern, line if pattern == TEXT else plain):
                match = re.compile(pattern).match(line, place.start())
                closes = pattern == TEXT and line[: place.start()].count('"') % 2
                if match and not closes and place.start() < end:
                    changed = replacement(match) if callable(replacement) \
                        else match.expand(replacement)
                    yield number, line, line[: match.start()] + changed + line[match.end():]


def tracked(*names):
    """The files among the files and folders that git knows."""
    return subprocess.run(["git", "ls-files", "--", *names], cwd=ROOT, check=True, text=True,
                          stdout=subprocess.PIPE).stdout.splitlines()  # fmt: skip


def copy_tree():
    """Copies the files that git tracks, as they are now; unchanged files keep their time."""
    for name in tracked():
        source, target = ROOT / name, COPY / name
        if not target.exists() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


def succeeds(*command):
    return subprocess.run(command, cwd=COPY, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0  # fmt: skip


def builds(targets):
    return succeeds("cmake", "--build", str(BUILD), "-j", "2", "--target", *targets)


def passes(tests):
    return all(succeeds(*LIMITED, *command) for command in tests)


def programs():
    """The digest of each program and shared library that is built."""
    return {file: hashlib.sha1(file.read_bytes()).digest() for file in BUILD.rglob("*")
            if file.is_file() and os.access(file, os.X_OK)}  # fmt: skip


def outcome(path, fault, suite, unchanged):
    """The fate of one fault: noticed, survived, no effect, or not compiled. Restores the copy.

    unchanged: the programs without a fault.
    """
    number, before, after = fault
    targets, tests = suite
    file = COPY / path
    whole = file.read_text()
    lines = whole.split("\n")
    assert lines[number] == before
    file.write_text("\n".join([*lines[:number], after, *lines[number + 1:]]))
    try:
        if not builds(targets):
            return "not compiled"
        if programs() == unchanged:
            return "no effect"
        return "survived" if passes(tests) else "noticed"
    finally:
        file.write_text(whole)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split(" - ")[1].split("\n")[0])
    parser.add_argument("names", nargs="+", metavar="FILE|FOLDER")
    parser.add_argument("--sample", type=int, help="number of faults, chosen at random")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--list", action="store_true", help="show the faults and exit")
    parser.add_argument("-v", "--verbose", action="store_true", help="show the result of each")
    arguments = parser.parse_args()
    faults = [(path, fault) for path in tracked(*arguments.names)
              if path.endswith((".cpp", ".c", ".h")) for fault in faults_of(path)]  # fmt: skip
    random.Random(arguments.seed).shuffle(faults)
    if arguments.list:
        for path, (number, _, after) in faults[: arguments.sample]:
            print(f"{path}:{number + 1}: {after.strip()}")
        return
    copy_tree()
    os.environ["MALLOC_PERTURB_"] = "165"  # overwrites freed memory, so that its use shows
    subprocess.run(["cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                    "-DCMAKE_CXX_FLAGS=-O1", "-DCMAKE_C_FLAGS=-O1"], check=True,
                   stdout=subprocess.DEVNULL)  # fmt: skip
    suites = {path: next(SUITES[folder] for folder in SUITES if path.startswith(folder))
              for path, _ in faults}  # fmt: skip
    for targets, tests in {id(suite): suite for suite in suites.values()}.values():
        if not builds(targets) or not passes(tests):
            sys.exit("the tests fail without a fault; build and run them in " + str(BUILD))
    unchanged = programs()
    counts = collections.Counter()
    for path, fault in faults:
        if counts["noticed"] + counts["survived"] == arguments.sample:
            break
        result = outcome(path, fault, suites[path], unchanged)
        counts[result] += 1
        number, before, after = fault
        if arguments.verbose or result == "survived":
            print(f"{path}:{number + 1}: {result}\n-{before}\n+{after}", flush=True)
    tried = counts["noticed"] + counts["survived"]
    percent = 100 * counts["noticed"] / max(tried, 1)
    print(f"{counts['noticed']} of {tried} faults noticed ({percent:.0f} %); "
          f"{counts['not compiled']} more did not compile, "
          f"{counts['no effect']} have no effect")  # fmt: skip


main()
