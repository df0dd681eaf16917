#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: file_faults.py [--full] [--seconds N] [--seed N] [--only OPERATION[:NUMBER:KIND]] BUILD FOLDER
Lets every file call of every operation fail, one at a time, and judges what the program says and leaves: it neither
crashes nor hangs, tells why it has not come to its end, loses nothing that it has acknowledged, calls nothing local or
whole that is not, writes nothing elsewhere, and does it all when it is asked again. BUILD is a build folder; FOLDER is
made anew. Each call fails in one of five ways, which take turns; with --full in each of the five, in an order that is
drawn by the seed, until N seconds are over. Every fault is told with the point that --only takes, which shows the calls
and leaves the folder to be looked at."""

import collections
import itertools
import math
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import threading
import time

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tests/journey"))
from command_line import asked  # noqa: E402
from judge import MISMATCH, Judge, Run, packages  # noqa: E402
from phones import Phones  # noqa: E402

KINDS = ("space", "io", "permission", "interrupted", "short")
MOVING = ("read", "pread", "write", "pwrite", "writev")  # the calls that can do less than they are asked for
CAMERA = "cam-a"
CLIP_BYTES = 300_000
PATIENCE_SECONDS = 60

# What each operation finds: what has been done there before.
OPERATIONS = {
    "start": (),
    "save": ("save",),
    "import": ("save",),
    "pair": ("save",),
    "download": ("save", "pair"),
    "export": ("import",),
    "copies": ("import",),
    "journal": ("journal",),
}
# The partial recording that it finds is as long as the recording, and has other bytes.
BAD = "bad"
# Each run of it makes movies: one in so many of its calls is let fail, all of them in the full campaign.
COPIES_STRIDE = 5


class Campaign:
    patience_seconds = PATIENCE_SECONDS
    # Where the phone is, and what starts a program there.
    phone_options = ("--address", "127.0.0.2", "--port", "0", "--preview-port", "0")
    phone_side = ()

    def __init__(self, build, folder, clip_bytes=CLIP_BYTES):
        self.clip_bytes = clip_bytes
        self.driver = build / "campaigns/fault_driver"
        self.shim = build / "campaigns/libfile_faults.so"
        self.rig = build / "bin/vorn-rig"
        self.prepared = folder / "prepared"
        self.work = folder / "work"  # always the same path, since packages name it
        self.log = folder / "calls"
        self.home = folder / "home"
        self.source = self.prepared / "source"
        shutil.rmtree(folder, ignore_errors=True)
        self.home.mkdir(parents=True)
        self.prepared.mkdir()

    def __enter__(self):
        subprocess.run([self.rig, "take", "--out", self.source, "--cameras", "2", "--seconds", "4", "--size", "320x180",
                        "--fps", "10"], check=True, stdout=subprocess.DEVNULL)
        control = self.home.parent / "control"
        self.server = subprocess.Popen(
            [*self.phone_side, self.rig, "phones", "--count", "1", *self.phone_options, "--desktop", "none", "--transfer",
             "approve", "--clips", "2", "--clip-bytes", str(self.clip_bytes), "--control", control],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        while self.server.stdout.readline().strip() != b"ready":
            if self.server.poll() is not None:
                sys.exit("the simulated phone did not start")
        # What else it says goes to nobody, but must not fill the pipe.
        threading.Thread(target=self.server.stdout.read, daemon=True).start()
        self.phones = Phones(control)
        self.phones.do(f"{CAMERA} server on")
        return self

    def __exit__(self, *error):
        self.server.terminate()
        self.server.wait()

    def command(self, operation):
        """What does the operation on the working folder, and in which environment."""
        arguments = []
        operation = "download" if operation == BAD else operation
        if operation in ("pair", "download"):
            self.phones.do(f"{CAMERA} code")
            shown = self.phones.state()["phones"][CAMERA]["transfer"]
            arguments = [shown[key] for key in ("catalogURL", "fingerprint", "sessionId", "code")]
        environment = dict(os.environ, HOME=str(self.home), XDG_DATA_HOME=str(self.home), LC_ALL="C.UTF-8")
        return [self.driver, operation, self.work, *arguments], environment

    def watched(self, point=0, kind=""):
        """The environment in which the call of that number fails."""
        return {"LD_PRELOAD": str(self.shim), "VORN_FAULT_ROOT": str(self.work), "VORN_FAULT_LOG": str(self.log),
                "VORN_FAULT_POINT": str(point), "VORN_FAULT_KIND": kind}

    def run(self, operation, point=0, kind="", **more):
        """The operation on the working folder as it is, where the call of that number fails."""
        command, environment = self.command(operation)
        watched = point is not None
        if watched:
            self.log.unlink(missing_ok=True)
            environment |= self.watched(point, kind) | more
        try:
            done = subprocess.run(command, env=environment, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                  timeout=self.patience_seconds)
            code, output = done.returncode, done.stdout
        except subprocess.TimeoutExpired as late:
            code, output = "hang", (late.stdout or b"").decode()
        return Run(code, output, self.log.read_text().splitlines() if watched else ())

    def must(self, operation, point=None, **more):
        run = self.run(operation, point, **more)
        if run.code != 0:
            sys.exit(f"{operation} ends with {run.code} where nothing fails, and tells {run.told}")
        return run

    def prepare(self, operation, is_first=False):
        """Makes the folder that the operation finds, nothing but what it reads for the first of all. Gives its calls and
        who judges it."""
        place = self.prepared / operation
        for folder in (place, self.work):
            shutil.rmtree(folder, ignore_errors=True)
        (self.work / "export").mkdir(parents=True)
        shutil.copytree(self.source, self.work / "source")
        for before in () if is_first else OPERATIONS["download" if operation == BAD else operation]:
            self.must(before)
        if operation in ("download", BAD) and not is_first:
            self.leave_partial(place, operation)
        shutil.copytree(self.work, place)
        started = self.must("journal" if operation == "journal" else "start").states[0]
        self.renew(operation)
        if operation == BAD:
            self.run(operation)  # is told, and empties it
        calls = self.must(operation, 0).calls
        return calls, Judge(place, started, self.work)

    def leave_partial(self, place, operation):
        """A download that was cut short: half of one recording. Or one that has gone wrong: all of it, in zeros."""
        shutil.copytree(self.work, place)
        self.must("download")
        whole = min(path for path in (self.work / "recordings").rglob("*") if path.is_file())
        part = place / whole.relative_to(self.work).with_name(whole.name + ".part")
        part.parent.mkdir(parents=True)
        part.write_bytes(bytes(self.clip_bytes) if operation == BAD else whole.read_bytes()[:self.clip_bytes // 2])
        shutil.rmtree(self.work)
        shutil.move(place, self.work)

    def renew(self, operation):
        shutil.rmtree(self.work)
        shutil.copytree(self.prepared / operation, self.work)

    def faults(self, operation, judge, point, kind):
        """What is wrong when that call fails so, and whether it has been reached."""
        self.renew(operation)
        first = self.run(operation, point, kind)
        failed = [call for call in first.calls if " failed " in call]
        faults = judge.faults(self.work, first, failed)
        if not failed:
            faults.append("the call was not reached")
        if faults:
            return faults
        return self.recovers(operation, judge, first, failed)

    def recovers(self, operation, judge, first, failed=()):
        """What is wrong when the operation is done again and nothing fails."""
        for package in packages(self.work):
            shutil.rmtree(package)  # two of one second would have one name
        was_damaged = judge.has_damaged_partial(self.work)
        second = self.run(operation, None)
        if was_damaged and second.code == 1 and MISMATCH in "".join(second.told):
            first, second = Run("killed", first.output + second.output), self.run(operation, None)
        return judge.faults_later(self.work, first, second, failed)


def end_with_phones():
    """Lets a signal that ends the campaign end its phone, too."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended before its time"))


def kinds_of(call, point, is_full):
    """In which ways the call is let fail."""
    possible = KINDS if call.split()[1].removesuffix("64") in MOVING else KINDS[:-1]
    return possible if is_full else (possible[point % len(possible)],)


def points_of(operation, calls, is_full):
    """The numbers of the calls that are let fail. Where they are not all, or movies are made, a row of calls that are
    alike, such as the reads of a movie's headers, is told by its first, its middle and its last."""
    points = []
    for _, row in itertools.groupby(range(1, len(calls) + 1), lambda point: calls[point - 1].split(maxsplit=1)[1]):
        row = list(row)
        is_whole = len(row) <= 3 or (is_full and operation != "copies")
        points += row if is_whole else [row[0], row[len(row) // 2], row[-1]]
    return points if is_full or operation != "copies" else points[::COPIES_STRIDE]


def campaign(build, folder, operations, options):
    faults, failures, end = 0, collections.Counter(), time.monotonic() + options.seconds
    with Campaign(build, folder) as files:
        prepared = {operation: files.prepare(operation) for operation in operations}
        points = [(operation, point, kind) for operation, (calls, _) in prepared.items()
                  for point in points_of(operation, calls, options.full)
                  for kind in kinds_of(calls[point - 1], point, options.full)]
        if options.full:
            random.Random(options.seed).shuffle(points)
        for operation, point, kind in points:
            if time.monotonic() > end:
                break
            calls, judge = prepared[operation]
            failures[kind] += 1
            for fault in files.faults(operation, judge, point, kind):
                faults += 1
                print(f"FAULT --only {operation}:{point}:{kind} ({calls[point - 1]}): {fault}", flush=True)
    print(f"{len(operations)} operations, {sum(len(calls) for calls, _ in prepared.values())} file calls, "
          f"{failures.total()} of {len(points)} failures (" + ", ".join(f"{kind} {failures[kind]}" for kind in KINDS)
          + f"), seed {options.seed}, {faults} faults")
    return faults == 0


def one_point(build, folder, operation, number, kind):
    with Campaign(build, folder) as files:
        calls, judge = files.prepare(operation)
        found = files.faults(operation, judge, int(number), kind)
        print("\n".join(files.log.read_text().splitlines()))
        print("\n".join(found) or "nothing is wrong")
    return not found


if __name__ == "__main__":
    options = asked(__doc__, full=False, seconds=math.inf, seed=1, only="")
    end_with_phones()
    places = options.build, options.folder
    operation, _, point = options.only.partition(":")
    if operation not in ("", *OPERATIONS):
        sys.exit(f"the operations are {', '.join(OPERATIONS)}")
    good = one_point(*places, operation, *point.split(":")) if point else campaign(
        *places, [operation] if operation else OPERATIONS, options)
    sys.exit(0 if good else 1)
