#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: kills.py [--kills N] [--seconds SECONDS] [--seed N] [--only ROUND] BUILD FOLDER
Kills (SIGKILL) every operation at any instant, N times (100) or for so many SECONDS, whichever ends first, and judges what
is left, and what a fresh start and another attempt find and leave, as the file faults do; what had come of a recording
must not be fetched again. A round is one to three kills of one operation on one folder, each of them after a random
time, before a random call that opens or changes a file, or in the middle of a write. BUILD is a build folder; FOLDER is made
anew. Every fault is told with its round, which --only takes again with the same seed; what falls at which instant is
the same only where a call was chosen."""

import collections
import itertools
import math
import random
import shutil
import subprocess
import sys
import time

from command_line import asked
from file_faults import BAD, MOVING, OPERATIONS, PATIENCE_SECONDS, Campaign, end_with_phones
from judge import MISMATCH, Run, packages

KILLED = (*OPERATIONS, BAD)
CLIP_BYTES = 10_000_000  # two ranges
LOOKS = ("stat", "lstat", "fstat", "statx", "statvfs", "access", "opendir", "readlink", "flock", "read", "pread")


class Prepared:
    """An operation, what judges it, and when and where it can be killed."""

    def __init__(self, files, operation):
        self.operation = operation
        calls, self.judge = files.prepare(operation)
        files.renew(operation)
        if operation == BAD:  # calls of the run that empties it
            calls = files.run(operation).calls
        names = [call.split()[1].removesuffix("64") for call in calls]
        self.changes = [number for number, name in enumerate(names, 1) if name not in LOOKS]
        self.writes = [number for number in self.changes if names[number - 1] in MOVING]
        files.renew(operation)
        start = time.monotonic()
        files.run(operation, None)
        self.seconds = time.monotonic() - start

    def instant(self, dice):
        """When or where to kill it: seconds, point, kind. A little longer than it takes, so that its end is hit."""
        ways = [(dice.uniform(0, self.seconds * 1.1), None, "")] * 2
        if self.changes:
            ways.append((PATIENCE_SECONDS, dice.choice(self.changes), "kill"))
        if self.writes:
            ways.append((PATIENCE_SECONDS, dice.choice(self.writes), "torn"))
        return dice.choice(ways)


def killed(files, operation, seconds, point, kind):
    """The operation until then. Its code is "killed", or what it has ended with by itself before."""
    command, environment = files.command(operation)
    files.log.unlink(missing_ok=True)
    files.log.touch()
    with subprocess.Popen(command, env=environment | files.watched(point or 0, kind), stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True) as process:
        try:
            output, _ = process.communicate(timeout=seconds)
        except subprocess.TimeoutExpired:
            process.kill()
            output, _ = process.communicate(timeout=PATIENCE_SECONDS)
    output = output[:output.rfind("\n") + 1]
    return Run("killed" if process.returncode == -9 else process.returncode, output,
               files.log.read_text().splitlines())


def bytes_of(folder):
    return sum(path.stat().st_size for path in folder.rglob("*") if path.is_file())


def faults_of(files, prepared, dice):
    """What is wrong after one round, and how often it was killed in it."""
    operation, judge = prepared.operation, prepared.judge
    files.renew(operation)
    before, kills = Run("killed", ""), 0
    for _ in range(dice.choice((1, 1, 2, 3))):
        for package in packages(files.work):
            shutil.rmtree(package)
        kept = bytes_of(files.work / "recordings")
        was_damaged = judge.has_damaged_partial(files.work)
        run = killed(files, operation, *prepared.instant(dice))
        faults = judge.faults(files.work, run, ())
        if run.code == "killed":
            kills += 1
        elif run.code != 0 and not (was_damaged and MISMATCH in "".join(run.told)):
            faults.append(f"it ends with {run.code} and tells {run.told}")
        if bytes_of(files.work / "recordings") < kept and not was_damaged:
            faults.append("what had come of a recording is gone")
        if faults:
            return faults, kills
        before = Run("killed", before.output + run.output)
    return files.recovers(operation, judge, before), kills


def campaign(build, folder, wanted, seconds, seed, only):
    kills, faults = collections.Counter(), 0
    with Campaign(build, folder, CLIP_BYTES) as files:
        operations = [Prepared(files, operation) for operation in KILLED]
        start = time.monotonic()
        for number in [only] if only else itertools.count(1):
            dice = random.Random(f"{seed} {number}")
            prepared = operations[number % len(operations)]
            found, count = faults_of(files, prepared, dice)
            kills[prepared.operation] += count
            for fault in found:
                faults += 1
                print(f"FAULT --seed {seed} --only {number} ({prepared.operation}): {fault}", flush=True)
            if kills.total() >= wanted or time.monotonic() - start > seconds:
                break
    print(", ".join(f"{operation} {count}" for operation, count in kills.items()))
    print(f"{kills.total()} kills, {number} rounds, seed {seed}, {time.monotonic() - start:.0f} s, {faults} faults")
    return faults == 0


if __name__ == "__main__":
    options = asked(__doc__, kills=100, seconds=math.inf, seed=random.randrange(10 ** 6), only=0)
    end_with_phones()
    sys.exit(0 if campaign(options.build, options.folder, options.kills, options.seconds, options.seed,
                           options.only) else 1)
