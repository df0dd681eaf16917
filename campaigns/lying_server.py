#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: lying_server.py [--full] [--seconds N] [--seed N] [--only START] BUILD FOLDER
A camera's server deviates from the right answer in one thing, at the pairing, the catalog, the first, a middle or the
last range of a recording. A program that pairs and downloads has to end by itself within its limits, tell a sentence of
its own, hold nothing wrong, no secret and not much memory, and succeed when it is asked again and the server is honest.
BUILD is a build folder; FOLDER is made anew. Takes a part of the lies; with --full each at every place, the connection
lost at every byte of the first 4 KiB, and servers that stall or drip until the program's limits; the order is drawn by
the seed, and none is begun after N seconds. --only takes those of all whose names begin so, and leaves what the program
had at the end."""

import concurrent.futures
import itertools
import math
import os
import queue
import random
import re
import shutil
import subprocess
import sys
import time

from camera import CODE, Camera, certificates, told_clip
from command_line import asked
from judge import WITHDRAWN, Run
from lies import CLIP, PLACES, SHORT, lies

CLIP_ID = "b0f2c9de-3b1c-4d59-9d8a-0d4f0a6a1c11"
PROJECT_ID = "7d3c1b52-8f0e-4f7a-9a55-6f1f0c2b9e01"
SLOW_DESKS = 16  # they only wait
PATIENCE_SECONDS = 100  # the program's own limits are 30 and 60
MEMORY_KIB = 64 << 10  # 24 MiB without anything, a range takes 8
CATALOG_MEMORY_KIB = 128 << 10  # a catalog may be 64 MiB


class Desk:
    """A program with a folder of its own, and the camera that lies to it."""

    def __init__(self, driver, certificates_, work):
        self.driver = driver
        self.work = work
        self.camera = Camera(certificates_)

    def share(self, clip):
        self.clip = self.camera.contents[CLIP_ID] = clip
        told = told_clip(CLIP_ID, "cam-a", "a.mov", clip, anchorMeaning="start", anchors=[
            {"source_seconds": 0.5, "reference_seconds": 1.5, "confidence": 1, "uncertainty_ms": 3}])
        take = {"takeId": "take-1", "projectId": PROJECT_ID, "projectNameAtCapture": "Night",
                "projectRevisionAtCapture": 2, "createdAt": "2026-01-31T09:30:00Z", "referenceCameraId": "cam-a",
                "timelineFPS": "25", "clips": [told]}
        self.camera.catalog = {"catalogRevision": 3, "projects": [
            {"projectId": PROJECT_ID, "name": "Night", "revision": 2, "takes": [take]}]}

    def run(self):
        try:
            done = subprocess.run([self.driver, "download", self.work, *self.camera.arguments()], capture_output=True,
                                  timeout=PATIENCE_SECONDS, env=dict(os.environ, HOME=str(self.work), LC_ALL="C.UTF-8"))
            run = Run(done.returncode, done.stdout.decode())
            run.said = done.stdout + done.stderr
        except subprocess.TimeoutExpired as late:
            run = Run("hang", (late.stdout or b"").decode())
            run.said = late.stdout or b""
        return run

    def faults(self, place, lie, told):
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir()
        self.camera.renew()
        self.share(CLIP if place in PLACES else SHORT)
        self.camera.shown = int(place == "stranger")
        self.camera.place, self.camera.lie = 0 if place == "short" else PLACES.get(place, place), lie
        first = self.run()
        self.camera.lie = None
        faults = [first.ending(), *self._untold(place, told, first), *self._left(first)]
        most = CATALOG_MEMORY_KIB if place == "catalog" else MEMORY_KIB
        memory = int((re.search(rb"^memory (\d+)$", first.said, re.M) or [0, 0])[1])
        if memory > most:
            faults.append(f"it takes {memory} KiB")
        faults += self.camera.strayed
        self.camera.renew()
        second = self.run()
        faults += self._left(second)
        # What a catalog that passed has said of a recording stands: an honest one may contradict it.
        believed = place == "catalog" and first.states[-1]["library"]["projects"]
        if second.code != 0 and not (believed and second.told):
            faults.append(f"when the server is honest it ends with {second.code} and tells {second.told}")
        if not believed and [path.name for path in self.work.rglob("*.*") if "recordings" in path.parts] != ["a.mov"]:
            faults.append("when the server is honest the recording is not there, or not alone")
        return [fault for fault in faults if fault], memory

    def _untold(self, place, told, run):
        """What it said that it should not have said."""
        if told is None:
            return [] if run.code == 0 else [f"it tells {run.told} of what does no harm"]
        if isinstance(told, re.Pattern) and not run.told:
            return []
        is_paired = run.states[-1]["library"]["projects"]
        start = "Download failed for [^:]*: " if is_paired else "Secure camera connection failed: "
        pattern = re.escape(told) if isinstance(told, str) else f"({told.pattern})"
        if run.told and re.fullmatch(start + pattern, run.told[0]) and run.told[1:] in ([], [WITHDRAWN]):
            return []
        return [f"it tells {run.told} instead of {told if isinstance(told, str) else 'a sentence that fits'}"]

    def _left(self, run):
        files = [path for path in self.work.rglob("*") if path.is_file()]
        told = b"".join([run.said, *(path.read_bytes() for path in files if path.suffix not in (".mov", ".part"))])
        faults = [f"it tells or leaves the {name}" for name, secret in [("code", CODE), *(
            ("token", token) for token in self.camera.tokens)] if secret.encode() in told]
        for path in files:
            if path.suffix == ".mov" and path.read_bytes() != self.clip:
                faults.append(f"{path.name} bears its final name and is not right")
            if path.suffix == ".part" and not self.clip.startswith(path.read_bytes()):
                faults.append(f"{path.name} is no beginning of the recording")
        return faults


def judged(desks, lies_, end=math.inf):
    """Place, name, faults and memory of each lie that begins before the end, told on as many desks at once as there
    are."""
    free = queue.SimpleQueue()
    for desk in desks:
        free.put(desk)

    def judge(place, name, lie, told):
        if time.monotonic() > end:
            return None
        desk = free.get()
        try:
            return place, name, *desk.faults(place, lie, told)
        finally:
            free.put(desk)

    with concurrent.futures.ThreadPoolExecutor(len(desks)) as pool:
        waiting = [pool.submit(judge, *lie) for lie in lies_]
        for done in concurrent.futures.as_completed(waiting):
            if done.result():
                yield done.result()


def campaign(options):
    shutil.rmtree(options.folder, ignore_errors=True)
    options.folder.mkdir(parents=True)
    folder, driver = options.folder, options.build / "campaigns/fault_driver"
    known = certificates(folder)
    desks = [Desk(driver, known, folder / f"desk-{number}") for number in range(SLOW_DESKS)]
    desks[0].share(SHORT)
    quick, slow = ([lie for lie in group if f"{lie[0]} {lie[1]}".startswith(options.only)]
                   for group in lies(desks[0].camera, options.full or options.only))
    runs, faults, most, end = 0, 0, {}, time.monotonic() + options.seconds
    if options.full:
        random.Random(options.seed).shuffle(quick)
    for place, name, found, memory in itertools.chain(judged(desks, slow), judged(desks[:os.cpu_count()], quick, end)):
        runs += 1
        kind = "catalog" if place == "catalog" else "other"
        most[kind] = max(most.get(kind, 0), memory >> 10)
        for fault in found:
            faults += 1
            print(f"FAULT --only '{place} {name}': {fault}", flush=True)
    print(f"{runs} of {len(quick) + len(slow)} lies ({len(slow)} slow), seed {options.seed}, {faults} faults, at most "
          f"{most.get('catalog', 0)} MiB of memory where the catalog lies, else {most.get('other', 0)}")
    return faults == 0 and runs > 0


if __name__ == "__main__":
    options = asked(__doc__, full=False, seconds=math.inf, seed=1, only="")
    sys.exit(0 if campaign(options) else 1)
