#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: scripts/lab scripts/lib/virtual-desktop HOME campaigns/start_kills.py [--kills N] [--seed N] BUILD
Kills the real program N times (50) at random instants of its start and soon after, in turns on an empty disk and on a
library. After each, two starts at once must agree: one works and has answered the other, library and identity are as
they were, and nothing is left of what was killed."""

import argparse
import os
import pathlib
import random
import shutil
import subprocess
import sys
import time

from judge import KEPT, TEMPORARY

PATIENCE_SECONDS = 30
LONGEST_SECONDS = 1.0  # the first picture comes after a tenth of a second


def end(process):
    process.kill()
    process.wait(PATIENCE_SECONDS)


def one_of_two(start):
    """What is wrong with two starts at once; empty when nothing is. None runs afterwards."""
    both, deadline = [start(), start()], time.monotonic() + PATIENCE_SECONDS
    while all(process.poll() is None for process in both) and time.monotonic() < deadline:
        time.sleep(0.01)
    codes = sorted((process.poll() for process in both), key=lambda code: code is None)
    for process in both:
        end(process)
    return "" if codes == [0, None] else f"of two starts after it, they end with {codes}"


def faults_of(start, data, seconds):
    """What is wrong after one kill."""
    library, identity = data / "library.json", data / "collector-id.txt"

    def state():
        return [path.read_bytes() if path.exists() else None for path in (library, identity)]
    began = state()
    process = start()
    time.sleep(seconds)
    end(process)
    left = state()
    faults = [one_of_two(start)]
    faults += ["the library is another"] if not began[0] == left[0] == state()[0] else []
    faults += ["the identity is another"] if began[1] not in (None, left[1]) or left[1] not in (None, state()[1]) else []
    faults += [f"left behind: {path.name}" for pattern in (TEMPORARY, KEPT) for path in data.rglob(pattern)]
    return [fault for fault in faults if fault]


def campaign(build, kills, seed):
    data, dice, faults = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "VORN", random.Random(seed), 0
    saved = pathlib.Path(os.environ["HOME"]) / "saved"
    shutil.rmtree(saved, ignore_errors=True)
    saved.mkdir()
    subprocess.run([build / "campaigns/fault_driver", "save", saved], check=True, stdout=subprocess.DEVNULL)

    def start():
        return subprocess.Popen([build / "bin/vorn-desktop"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
    for number in range(kills):
        shutil.rmtree(data, ignore_errors=True)
        if number % 2:
            shutil.copytree(saved / "storage", data)
        seconds = dice.uniform(0, LONGEST_SECONDS)
        for fault in faults_of(start, data, seconds):
            faults += 1
            print(f"FAULT after {seconds:.3f} s, {'on a library' if number % 2 else 'on an empty disk'}: {fault}", flush=True)
    print(f"{kills} kills of the program's start, seed {seed}, {faults} faults")
    return faults == 0


if __name__ == "__main__":
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--kills", type=int, default=50)
    parser.add_argument("--seed", type=int, default=random.randrange(10 ** 6))
    parser.add_argument("build", type=pathlib.Path)
    options = parser.parse_args()
    sys.exit(0 if campaign(options.build.resolve(), options.kills, options.seed) else 1)
