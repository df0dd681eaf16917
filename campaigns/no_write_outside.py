#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: unshare --user --map-root-user --mount no_write_outside.py [--full] [--seed N] [--only START] BUILD FOLDER
Catalogs and manifests with names and ids that lead elsewhere, and links where the program is to write, are met twice: by
a program that may write everywhere, and by one for which all is read-only but the folders of its library, its
recordings and its packages. Both must say and leave the same, and what lies beside the folders and behind the links
must stay as it is. BUILD is a build folder; FOLDER is made anew. Takes a part of the cases; with --full all, and a million
names through the rules for a recording's place. --only takes the cases whose names begin so."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

from camera import Camera, certificates, told_clip
from command_line import asked
from judge import Run, digest

CLIP_ID = "b0f2c9de-3b1c-4d59-9d8a-0d4f0a6a1c11"
PROJECT_ID = "7d3c1b52-8f0e-4f7a-9a55-6f1f0c2b9e01"
CONTENT = bytes(range(256)) * 8
PATIENCE_SECONDS = 60
ROOTS = ("storage", "recordings", "export")
NAMES = ("../../victim", "../../../victim", "..", ".", "../../victim/kept", "..\\..\\victim", "/VICTIM/kept",
         "a/../../../victim/kept", "a\0/../b", "%2e%2e%2fvictim", "．．／victim", "..\u0338/x", "\U000111C2/../..", "\ud800", "\u202e..", "~root", "$HOME", "-rf",
         "a\nb", "x" * 255, "é" * 127, "x" * 251, "x" * 300, "A.MOV", "a.mov.part", "", " ", "library.json", "\u2025/\u2215x")
NAMES_DRAWN = 1_000_000
ALWAYS = 2  # of the names
PART = 17  # of the cases of the others one in so many is taken


class World:
    """What a program finds: its folders, recordings to import, and what is none of its business."""

    def __init__(self, build, folder):
        self.build, self.work = build, folder / "work"
        self.driver = build / "campaigns/fault_driver"
        self.victim = self.work / "victim"
        self.pristine = folder / "pristine"
        shutil.rmtree(folder, ignore_errors=True)
        self.pristine.mkdir(parents=True)
        subprocess.run([build / "bin/vorn-rig", "take", "--out", self.pristine / "source", "--cameras", "2", "--seconds", "4",
                        "--size", "320x180", "--fps", "10"], check=True, stdout=subprocess.DEVNULL)
        for place in (*ROOTS, "victim/folder"):
            (self.pristine / place).mkdir(parents=True)
        for name in ("kept", "timeline.fcpxml", "library.json", "a.mov", "a.mov.part", "folder/1-cam-a.mov"):
            (self.pristine / "victim" / name).write_bytes(b"somebody else's")
        self.camera = Camera(certificates(folder))

    def renew(self):
        shutil.rmtree(self.work, ignore_errors=True)
        shutil.copytree(self.pristine, self.work, symlinks=True)

    def share(self, **told):
        """One recording, with these values in place of harmless ones."""
        self.camera.renew()
        clip_id = told.get("clipId", CLIP_ID)
        self.camera.contents = {clip_id: CONTENT}
        clip = told_clip(clip_id, told.get("cameraId", "cam-a"), told.get("fileName", "a.mov"), CONTENT)
        project = told.get("projectId", PROJECT_ID)
        take = {"takeId": told.get("takeId", "take-1"), "projectId": project, "createdAt": "2026-01-31T09:30:00Z",
                "timelineFPS": "25", "clips": [clip]}
        self.camera.catalog = {"catalogRevision": 3, "projects": [
            {"projectId": project, "name": told.get("name", "Night"), "revision": 2, "takes": [take]}]}
        return [["download", *self.camera.arguments()]]

    def tell(self, **told):
        """A manifest with these values in place of those of the take or of its first recording."""
        path = self.work / "source/manifest.json"
        manifest = json.loads(path.read_text())
        for key, value in told.items():
            (manifest if key in manifest else manifest["clips"][0])[key] = value
        if "cameraId" in told:
            manifest["referenceCameraId"] = told["cameraId"]
        path.write_text(json.dumps(manifest))
        return [["import"], ["export" if told and "cameraId" not in told else "copies"]]

    def outcome(self, case, is_confined):
        """What came of it, with the times of names left out, and what else was changed."""
        self.renew()
        steps, runs = case(self), []
        before = self.beside()
        confined = ["unshare", "--mount", pathlib.Path(__file__).with_name("read_only.py"),
                    *(self.work / root for root in ROOTS), "--"] if is_confined else []
        for operation, *arguments in steps:
            done = subprocess.run([*confined, self.driver, operation, self.work, *arguments], capture_output=True,
                                  timeout=PATIENCE_SECONDS, env=dict(os.environ, HOME=str(self.work), LC_ALL="C.UTF-8"))
            run = Run(done.returncode, done.stdout.decode(errors="replace"))
            runs.append((run.code, run.told))
        names = [str(path.relative_to(self.work)) for root in ROOTS for path in sorted((self.work / root).rglob("*"))]
        return re.sub(r"\d{8}-\d{6}(-\d{3})?|[0-9a-f]{32}", "TIME", repr((runs, names))), before != self.beside()

    def beside(self):
        """All that is not the program's."""
        roots = tuple(self.work / root for root in ROOTS)
        return {path: path.is_file() and digest(path) for path in self.work.parent.rglob("*")
                if not any(path.is_relative_to(root) for root in roots)}


def named(kind, **told):
    def case(world):
        return getattr(world, kind)(**{key: value.replace("/VICTIM", str(world.victim)) for key, value in told.items()})
    return case


def cases_of_names(is_full):
    every = [*cases_of_each_name()]
    always = len(every) // len(NAMES) * ALWAYS
    return every if is_full else every[:always] + every[always::PART]


def cases_of_each_name():
    for number, name in enumerate(NAMES):
        for key in ("projectId", "takeId", "cameraId", "clipId", "fileName", "name"):
            yield f"catalog {key} {number}", named("share", **{key: name})
        for key in ("projectId", "projectName", "takeId", "cameraId", "clipId", "path"):
            yield f"manifest {key} {number}", named("tell", **{key: name})


def planted(place, target, kind="share", is_hard=False):
    """A name in the program's folders behind which something else lies."""
    def case(world):
        path = world.work / place
        path.parent.mkdir(parents=True, exist_ok=True)
        make = path.hardlink_to if is_hard else path.symlink_to
        make(world.victim / target)
        return getattr(world, kind)()
    return case


def damaged(case):
    """With a library that cannot be read, and the three that are kept at most."""
    def whole(world):
        steps = case(world)
        (world.work / "storage/library.json").write_text("damaged")
        for number in range(1, 4):
            kept = world.work / f"storage/library.json.unreadable-20260101-00000{number}-000"
            if not kept.is_symlink():
                kept.write_text("kept")
        return steps
    return whole


def cases_of_links():
    recording = f"recordings/{PROJECT_ID}/take-1/cam-a/{CLIP_ID}/a.mov"
    unfinished = "export/.vorn-export-" + "0123456789abcdef" * 2
    temporary = "vorn-desktop-" + "0123456789abcdef" * 2 + ".tmp"
    for is_hard in (False, True):
        yield f"recording {is_hard}", planted(recording, "a.mov", is_hard=is_hard)
        yield f"partial recording {is_hard}", planted(recording + ".part", "a.mov.part", is_hard=is_hard)
        yield f"left save {is_hard}", planted(f"storage/{temporary}", "kept", is_hard=is_hard)
        yield f"left file of a package {is_hard}", planted(f"{unfinished}/timeline.fcpxml", "timeline.fcpxml", "tell", is_hard)
        yield f"left write of a package {is_hard}", planted(f"{unfinished}/{temporary}", "kept", "tell", is_hard)
        yield f"left copy {is_hard}", planted(f"{unfinished}/media/1-cam-a.mov", "folder/1-cam-a.mov", "tell", is_hard)
    yield "recording that is not there", planted(recording, "new.mov")
    yield "partial recording that is not there", planted(recording + ".part", "new.mov.part")
    yield "left package", planted(unfinished, "", "tell")
    yield "left copies", planted(f"{unfinished}/media", "folder", "tell")
    yield "kept library", damaged(planted("storage/library.json.unreadable-20260101-000001-000", "library.json"))


def names_outside(build, seed):
    """Whether all is well with a million names, and what the test of names says of them."""
    done = subprocess.run([build / "tests/store/partial_recording_test", "keepsEveryNameBelowTheFolder"], text=True,
                          env=dict(os.environ, VORN_NAMES=str(NAMES_DRAWN), VORN_SEED=str(seed)), stdout=subprocess.PIPE)
    print(done.stdout)
    return done.returncode == 0, (re.findall(r"\d+ names, .*", done.stdout) or ["names that are wrong"])[-1]


def campaign(options):
    world = World(options.build, options.folder)
    runs, faults = 0, 0
    for name, case in [*cases_of_links(), *cases_of_names(options.full or options.only)]:
        if not name.startswith(options.only):
            continue
        runs += 1
        free, changes = world.outcome(case, False)
        confined, _ = world.outcome(case, True)
        found = ["it changes what is not its own"] if changes else []
        if free != confined:
            found.append(f"it comes to {confined} where all else is read-only, and to {free} where it is not")
        for fault in found:
            faults += 1
            print(f"FAULT --only '{name}': {fault}", flush=True)
        if options.only:
            print(f"{name}: {free}")
    names = ""
    if options.full:
        is_good, told = names_outside(world.build, options.seed)
        names, faults = f"; {told}", faults + (not is_good)
    print(f"{runs} hostile cases, each twice, {faults} faults{names}")
    return faults == 0 and runs > 0


if __name__ == "__main__":
    options = asked(__doc__, full=False, seed=1, only="")
    sys.exit(0 if campaign(options) else 1)
