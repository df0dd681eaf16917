#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: mutants.py [--file TEXT] [--line N] [--minutes N] [--seed N] FOLDER
       mutants.py --check
Takes the checks of mutants.txt away, turns them round or moves them by one, one at a time, and sees whether a test
notices. Works in a copy of the tree in FOLDER, which is kept for the next time. The order is drawn by the seed; after
N minutes (60) it stops. --file takes those in files whose name has the text, --line the one of that line of the list.
Prints the mutants that no test notices, those that do not build, and how many of each there were. --check only looks
whether each mutant's text still stands where the list has it, and its tests exist."""

import argparse
import collections
import dataclasses
import fcntl
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
LIST = pathlib.Path(__file__).with_name("mutants.txt")
# For the tests of one mutant. Who waits for ever, or takes memory without end, has noticed.
PATIENCE_SECONDS = 90
MEMORY_BYTES = 4 << 30
LEAST_SHARE = 0.95  # of the mutants has to be noticed
# The superuser needs no names of its own for it, in which it could not act for others, as some tests have to.
ALONE = (["unshare", "--net", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"] if os.geteuid() == 0
         else ["scripts/lab"])
# Most of a mutant's time is the compiler's. Warnings would tell of what is not used any more.
FLAGS = "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DNDEBUG -w"


@dataclasses.dataclass
class Mutant:
    line: int  # in the list
    file: str
    tests: tuple
    text: str
    other: str
    reason: str = ""  # why no test can notice

    def __str__(self):
        return f"{self.line} ({self.file}): {self.text} => {self.other}"

    def places(self, source):
        """Where the text stands, blanks and line ends being alike."""
        pattern = r"\s+".join(map(re.escape, self.text.split()))
        return [match.span() for match in re.finditer(pattern, source)]

    def apply(self, source):
        (begin, end), = self.places(source)
        return source[:begin] + self.other + source[end:]


def read_list():
    mutants, file, tests = [], "", ()
    for number, line in enumerate(LIST.read_text().splitlines(), 1):
        line = line.strip()
        if not line or line.startswith("#"):
            continue
        if head := re.fullmatch(r"\[(\S+): (.+)\]", line):
            file, tests = head[1], tuple(head[2].split())
        elif line.startswith("because "):
            mutants[-1].reason = line
        elif parts := re.fullmatch(r"(.+?) =>(?: (.*))?", line):
            mutants.append(Mutant(number, file, tests, parts[1], parts[2] or ""))
        else:
            sys.exit(f"{LIST.name}, line {number}: no mutant")
    return mutants


def faults_of(mutants):
    """What of the list is not so any more."""
    programs = {path.stem for path in ROOT.glob("tests/*/*_test.cpp")}
    faults = [f"{mutant.tests} are no tests" for mutant in mutants if not programs.issuperset(mutant.tests)]
    for mutant in mutants:
        path = ROOT / mutant.file
        count = len(mutant.places(path.read_text())) if path.exists() else 0
        if count != 1:
            faults.append(f"{LIST.name}, line {mutant}: stands there {count} times")
    return faults


class Tree:
    """A copy of the tree with a build folder of its own."""

    def __init__(self, folder, log):
        self.folder = folder / "tree"
        self.log = log
        self.passed = set()  # tests that pass where nothing is changed
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                                check=True, stdout=subprocess.PIPE, text=True).stdout
        for name in filter(None, listed.split("\0")):
            self.restore(name)
        if not (self.folder / "build/release/build.ninja").exists():
            self.run("cmake", "--preset", "release", FLAGS)

    def restore(self, name):
        """The file as it is in the real tree; untouched when it is so already, for the sake of the build."""
        source, copy = ROOT / name, self.folder / name
        if not source.exists():
            copy.unlink(missing_ok=True)
        elif not copy.exists() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(source.read_bytes())
            copy.chmod(source.stat().st_mode)

    def run(self, *command, seconds=None):
        """Whether the command ends well, and in time."""
        print("$", *command, file=self.log, flush=True)
        process = subprocess.Popen(command, cwd=self.folder, stdout=self.log, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        try:
            return process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()

    def build(self, tests):
        return self.run("cmake", "--build", "build/release", "--parallel", str(os.cpu_count()), "--target", *tests)

    def test(self, tests):
        """In a network of its own: a check that is away may be one of where to connect to."""
        return self.run("prlimit", f"--as={MEMORY_BYTES}", *ALONE, "ctest", "--test-dir", "build/release",
                        "--stop-on-failure", "-R", f"^({'|'.join(tests)})$", seconds=PATIENCE_SECONDS)

    def require_sound(self, tests):
        fresh = [test for test in tests if test not in self.passed]
        if fresh and not (self.build(fresh) and self.test(fresh)):
            sys.exit(f"{' '.join(fresh)}: do not pass where nothing is changed, see {self.log.name}")
        self.passed.update(fresh)

    def fate(self, mutant):
        self.require_sound(mutant.tests)
        source = (ROOT / mutant.file).read_text()
        print(f"== {mutant}", file=self.log, flush=True)
        try:
            (self.folder / mutant.file).write_text(mutant.apply(source))
            if not self.build(mutant.tests):
                return "does not build"
            return "survives" if self.test(mutant.tests) else "killed"
        finally:
            self.restore(mutant.file)


def campaign(mutants, folder, minutes, seed):
    end = time.monotonic() + 60 * minutes
    explained = sum(bool(mutant.reason) for mutant in mutants)
    chosen = [mutant for mutant in mutants if not mutant.reason or len(mutants) == 1]
    random.Random(seed).shuffle(chosen)
    fates = collections.Counter()
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="utf-8") as lock, open(folder / "log", "w", encoding="utf-8") as log:
        fcntl.flock(lock, fcntl.LOCK_EX)  # two in one tree would each find the other's changes
        tree = Tree(folder, log)
        for mutant in chosen:
            if time.monotonic() > end:
                break
            fate = tree.fate(mutant)
            fates[fate] += 1
            if fate != "killed" or len(chosen) == 1:
                print(f"{fate}: {mutant}", flush=True)
    print(f"{fates.total()} of {len(chosen)} mutants: {fates['killed']} killed, {fates['survives']} survive, "
          f"{fates['does not build']} do not build; {explained} more are explained; seed {seed}")
    return not fates["does not build"] and fates["killed"] >= LEAST_SHARE * fates.total()


if __name__ == "__main__":
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--file", default="")
    parser.add_argument("--line", type=int)
    parser.add_argument("--minutes", type=float, default=60)
    parser.add_argument("--seed", type=int, default=random.randrange(10_000))
    parser.add_argument("folder", type=pathlib.Path, nargs="?")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended before its time"))  # restores what is changed
    everything = read_list()
    if wrong := faults_of(everything):
        sys.exit("\n".join(wrong))
    if options.check:
        sys.exit(0)
    if options.folder is None:
        parser.error("FOLDER is missing")
    wanted = [mutant for mutant in everything
              if options.file in mutant.file and options.line in (None, mutant.line)]
    sys.exit(0 if campaign(wanted, options.folder.resolve(), options.minutes, options.seed) else 1)
