#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: unshare --user --map-root-user --mount full_disk.py [--full] [--only NAME[:KIND:LEVEL]] BUILD FOLDER
Does every operation on a disk that has no room for it: a file system of its own lies under the folder, or under that of
the library, the recordings or the packages, on which so many pages (4 KiB, its smallest step) or so many files are left.
What is said and left is judged as the file faults are, and each sentence has to tell of the room; then there is room,
and it has to come to its end. BUILD is a build folder; FOLDER is made anew. Takes the last level without room enough, and
one half way to it; with --full all of them. Every fault is told with the level that --only takes."""

import json
import os
import re
import shutil
import subprocess
import sys
import time

from command_line import asked
from file_faults import OPERATIONS, Campaign, end_with_phones

# What is done, the folder that is full, and whether it is the first thing ever done.
CASES = {
    "first start": ("start", ".", True),
    "first save": ("save", "storage", True),
    "save": ("save", "storage", False),
    "import": ("import", "storage", False),
    "pair": ("pair", "storage", False),
    "download": ("download", ".", False),
    "download, recordings": ("download", "recordings", False),
    "download, library": ("download", "storage", False),
    "export": ("export", "export", False),
    "copies": ("copies", "export", False),
    "first journal": ("journal", "storage", True),
    "journal": ("journal", "storage", False),
}
# Lets the library take several pages, which a save then finds.
LONG_NAME = "Camera " * 3000
OPERATIONS["save"] = ("import",)
# What a mount is told, and how much it says of itself.
KINDS = {"size": lambda told: (told.f_blocks - told.f_bfree, told.f_frsize),
         "nr_inodes": lambda told: (told.f_files - told.f_ffree, 1)}
ROOM = "size=256m,nr_inodes=100000"
TOLD = re.compile(r"No space left on device|has \d+\.\d GB left|^Could not persist this Mac's collector identity;")
# Between the end and the most of it: old and new of what is replaced.
MOST_ON_THE_WAY = 16
# Editing copies take many, and most of these are seen to be too few before the first is taken.
COPIES_STEP = 64


class SmallDisk(Campaign):
    """A campaign where `place` of the working folder is a file system of its own."""

    def __init__(self, build, folder):
        super().__init__(build, folder)
        self.disk = self.filler = None

    def __enter__(self):
        super().__enter__()
        manifest = self.source / "manifest.json"
        told = json.loads(manifest.read_text())
        for clip in told["clips"]:
            clip["deviceName"] = LONG_NAME
        manifest.write_text(json.dumps(told))
        return self

    def __exit__(self, *error):
        self.release()
        super().__exit__(*error)

    def release(self):
        if self.disk:
            os.close(self.filler)
            subprocess.run(["umount", self.disk], check=True)
        self.disk = None

    def renew_on(self, place, operation):
        self.release()
        shutil.rmtree(self.work)
        disk = self.work / place
        disk.mkdir(parents=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", ROOM, "none", disk], check=True)
        self.disk = disk
        # Never empty: a limit of 0 is none.
        self.filler = os.open(disk, os.O_TMPFILE | os.O_RDWR)
        os.write(self.filler, bytes(1))
        shutil.copytree(self.prepared / operation, self.work, dirs_exist_ok=True)

    def limit(self, options):
        subprocess.run(["mount", "-o", f"remount,{options}", self.disk], check=True)

    def leave(self, kind, level):
        """So much of it is free."""
        used, unit = KINDS[kind](os.statvfs(self.disk))
        self.limit(f"{kind}={(used + level) * unit}")

    def faults_at(self, operation, judge, place, kind, level):
        """What is wrong on that level, and whether there was room enough."""
        self.renew_on(place, operation)
        self.leave(kind, level)
        first = self.run(operation, None)
        faults = judge.faults(self.work, first, ())
        faults += [f"it tells {sentence}" for sentence in first.told if not TOLD.search(sentence)]
        self.limit(ROOM)
        return faults or self.recovers(operation, judge, first), first.code == 0


class Search:
    """The levels of one kind that are tried in one case, what came of each, and how much it needs."""

    def __init__(self, files, name, kind, judge, used):
        self.files, self.name, self.kind, self.judge = files, name, kind, judge
        self.used = used
        self.faults = {}
        self.needed = None

    def is_enough(self, level):
        operation, place, _ = CASES[self.name]
        self.faults[level], enough = self.files.faults_at(operation, self.judge, place, self.kind, level)
        if enough and level < max(1, self.used):
            self.faults[level].append("it does with less than it uses, or needs no room")
        return enough

    def run(self, is_full):
        """It needs what is used in the end, or more on the way there: how much hangs on how soon what is replaced is given
        back by another thread."""
        step = COPIES_STEP if self.name == "copies" else 1
        least, most = max(0, self.used - 1), self.used + MOST_ON_THE_WAY
        for level in [*range(0, least, step), *range(max(0, least - step), least)] if is_full else [least // 2]:
            self.is_enough(level)
        self.needed = next((level for level in range(least, most) if self.is_enough(level)), most)
        for level in range(self.needed + 1, most + 1) if is_full else ():
            self.is_enough(level)
        if self.needed == most:
            self.faults[least].append(f"{most} are not enough")


def used_by(files, name):
    """What it uses in the end of each kind."""
    operation, place, _ = CASES[name]
    files.renew_on(place, operation)

    def used():
        return [count(os.statvfs(files.disk))[0] for count in KINDS.values()]
    before = used()
    files.must(operation)
    return [after - then for after, then in zip(used(), before)]


def campaign(build, folder, names, is_full):
    runs, faults = 0, 0
    with SmallDisk(build, folder) as files:
        for name in names:
            start, needed = time.monotonic(), []
            files.release()
            _, judge = files.prepare(CASES[name][0], CASES[name][2])
            for kind, used in zip(KINDS, used_by(files, name)):
                search = Search(files, name, kind, judge, used)
                search.run(is_full)
                needed.append(search.needed)
                runs += len(search.faults)
                for level, fault in ((level, fault) for level, found in search.faults.items() for fault in found):
                    faults += 1
                    print(f"FAULT --only '{name}:{kind}:{level}': {fault}", flush=True)
            print(f"{name}: needs {needed[0]} pages and {needed[1]} files, {time.monotonic() - start:.0f} s", flush=True)
    print(f"{len(names)} operations on {runs} full disks, {faults} faults")
    return faults == 0


def one_level(build, folder, name, kind, level):
    operation, place, is_first = CASES[name]
    with SmallDisk(build, folder) as files:
        _, judge = files.prepare(operation, is_first)
        found, is_enough = files.faults_at(operation, judge, place, kind, int(level))
        print("\n".join(found) or f"nothing is wrong, and it was {'enough' if is_enough else 'too little'}")
    return not found


if __name__ == "__main__":
    options = asked(__doc__, full=False, only="")
    end_with_phones()
    places = options.build, options.folder
    name, _, level = options.only.partition(":")
    good = one_level(*places, name, *level.split(":")) if level else campaign(
        *places, [name] if name else CASES, options.full)
    sys.exit(0 if good else 1)
