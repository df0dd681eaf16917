#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: crash_states.py [--seed N] [--only OPERATION[:STATE]] BUILD FOLDER
Records what each operation does to the disk, lays out every state in which a power cut at any moment may leave it
(disk_record.py tells which), and judges what a fresh start and a second attempt find and leave: what was acknowledged
before that moment is there, nothing is called local or bears its final name that is not right, no package is half, the
attempt succeeds. States that are alike are judged once. BUILD is a build folder; FOLDER is made anew. Every fault is told with the
state that --only takes, which leaves the folder as the second attempt has left it, and beside it, in "state", as it was."""

import collections
import random
import shutil
import sys
import time

from command_line import asked
from disk_record import Disk, entries, key, lay_out
from file_faults import BAD, Campaign, end_with_phones
from judge import Run

FIRST = "first-"  # on an empty disk
OPERATIONS = ("start", "save", "import", "pair", "download", BAD, "export", "journal",
              *(FIRST + operation for operation in ("save", "import", "download", "journal")))
LONG_CLIP_BYTES = 72 << 20
MOST_UNFLUSHED = 64 << 20


def states(disk, record, root):
    """The states of a record, each once, with what was said before."""
    said, seen = b"", set()
    for entry in [("say", "", "", 0, b""), *entries(record, root)]:
        if entry[0] == "say":
            said += entry[4]
        else:
            disk.do(*entry)
        for tree in disk.states():
            mark = said.count(b"\ndone"), key(tree)
            if mark not in seen:
                seen.add(mark)
                yield tree, said.decode()


def faults_of(files, operation, judge, tree, said):
    """What is wrong when the disk holds that."""
    for folder in (files.work, files.work.with_name("state")):
        shutil.rmtree(folder, ignore_errors=True)
        lay_out(tree, folder)
    first = Run("killed", said)
    return judge.wrong_files(files.work) or files.recovers(operation, judge, first)


def record_of(files, operation):
    record = files.home.parent / "record"
    record.unlink(missing_ok=True)
    run = files.run if operation == BAD else files.must
    run(operation, 0, VORN_FAULT_RECORD=str(record))
    return record


def most_unflushed(build, folder):
    """Bytes of a long download that a power cut would take at the worst moment."""
    with Campaign(build, folder, LONG_CLIP_BYTES) as files:
        files.work.mkdir()
        unflushed, most = collections.Counter(), 0
        for call, path, _, _, data in entries(record_of(files, "download"), str(files.work)):
            if call == "flush":
                unflushed[path] = 0
            elif call == "write" and path.endswith(".part"):
                unflushed[path] += len(data)
                most = max(most, unflushed[path])
    return most


def campaign(build, folder, operations, only, seed):
    count, faults = 0, 0
    with Campaign(build, folder) as files:
        for name in operations:
            operation = name.removeprefix(FIRST)
            start, number = time.monotonic(), 0
            _, judge = files.prepare(operation, name != operation)
            files.renew(operation)
            record = record_of(files, operation)
            disk = Disk(files.prepared / operation, random.Random(seed))
            for number, (tree, said) in enumerate(states(disk, record, str(files.work)), 1):
                if only not in (0, number):
                    continue
                for fault in faults_of(files, operation, judge, tree, said):
                    faults += 1
                    print(f"FAULT --seed {seed} --only {name}:{number}: {fault}", flush=True)
                if only:
                    break
            count += number
            print(f"{name}: {number} states, {time.monotonic() - start:.0f} s", flush=True)
    if len(operations) > 1:
        most = most_unflushed(build, folder / "long")
        print(f"long download: at most {most} bytes unflushed")
        faults += not 0 < most <= MOST_UNFLUSHED
    print(f"{len(operations)} operations, {count} states, seed {seed}, {faults} faults")
    return faults == 0


if __name__ == "__main__":
    options = asked(__doc__, seed=1, only="")
    end_with_phones()
    operation, _, state = options.only.partition(":")
    if operation not in ("", *OPERATIONS):
        sys.exit(f"the operations are {', '.join(OPERATIONS)}")
    sys.exit(0 if campaign(options.build, options.folder, [operation] if operation else OPERATIONS, int(state or 0),
                           options.seed) else 1)
