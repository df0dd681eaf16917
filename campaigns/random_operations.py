#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: random_operations.py [--operations N] [--seed S] BUILD FOLDER
Does what people, phones and bad luck do to a library, in random order, in the program and in a model of it: create,
rename, prepare, choose a reference, import, pair and merge (three phones, whose catalogs grow, lag behind and sometimes
contradict), download, also with something else beside it, verify, restart, kill; a bit of a recording is flipped, a
recording is deleted, an unfinished download is left. After each operation the library has to be the model's, and what
was told; after each start what was acknowledged is there. BUILD is a build folder; FOLDER is made anew. A library gets
EPISODE operations, by a seed of its own, that of the first one being S. A fault is printed with its seed and all that
was done up to it."""

import collections
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import time

from camera import Camera, certificates
from command_line import asked
from filmed_world import CAMERAS, World
from library_model import Model, from_file

EPISODE = 250
PATIENCE_SECONDS = 60
# How often each is done, of a hundred.
OPERATIONS = {"create": 3, "rename": 4, "prepare": 6, "reference": 3, "select": 16, "import": 9, "pair": 20,
              "download": 11, "beside": 6, "verify": 8, "restart": 4, "kill": 4, "flip": 3, "delete": 2, "partial": 3}
BESIDE = ("create", "rename", "prepare", "reference", "select", "import", "pair")
KILLED = (*BESIDE, "download", "download")


class Program:
    """The driver on one folder."""

    def __init__(self, driver, folder):
        self.arguments = [driver, "script", folder]
        self.environment = dict(os.environ, HOME=str(folder), LC_ALL="C.UTF-8")

    def start(self):
        self.process = subprocess.Popen(self.arguments, env=self.environment, text=True, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, start_new_session=True)
        signal.signal(signal.SIGALRM, lambda *_: self.process.kill())
        return self.answer()

    def send(self, words):
        self.process.stdin.write(json.dumps(words) + "\n")
        self.process.stdin.flush()

    def answer(self):
        """The last state, and all that was told; no state when it ended before its answer."""
        told, state = [], None
        signal.alarm(PATIENCE_SECONDS)
        for line in self.process.stdout:
            word, _, text = line.rstrip("\n").partition(" ")
            if word == "told":
                told.append(text)
            elif word == "state":
                state = text
            elif not word:
                signal.alarm(0)
                return json.loads(state), told
        signal.alarm(0)
        return None, told

    def kill(self):
        self.process.kill()
        state = self.answer()[0]  # what was acknowledged before
        self.process.wait()
        return state


class Episode:
    def __init__(self, driver, root, phones, counts, seed):
        self.chance = random.Random(seed)
        self.root = root
        shutil.rmtree(root, ignore_errors=True)
        (root / "source").mkdir(parents=True)
        self.world = World(self.chance)
        while not self.world.takes:
            self.world.grow()
        self.model = Model(str(root / "recordings"))
        self.phones, self.counts = phones, counts
        for phone, camera in zip(self.phones, CAMERAS):
            phone.renew()
            phone.device, phone.name = self.world.identity(), camera
        self.done = []  # for who wants to know how it came to a fault
        self.program = Program(driver, root)
        self.identity = self.program.start()[0]["identity"]
        self.faults = []

    def step(self):
        if self.chance.random() < 0.15:
            self.world.grow()
        operation = self.chance.choices(list(OPERATIONS), OPERATIONS.values())[0]
        if operation in ("flip", "delete", "partial"):
            self.done.append([operation, getattr(self, "_" + operation)()])
        elif operation == "kill":
            self._kill()
        else:
            words, expected = self._operation(operation)
            self.program.send(words)
            state, told = self.program.answer()
            if operation == "beside":  # in whatever order
                told, expected = sorted(told), sorted(expected)
            self._judge(state, told, expected)
            if operation == "restart":
                self._judge_disk()
        return operation

    def _operation(self, operation):
        """What is sent, and what is to be told of it; the model goes ahead."""
        values, expect = getattr(self, "_" + operation)()
        self.done.append([operation, *values])
        return [operation, *values], expect()

    def _create(self):
        name = self.chance.choice(["Night", " Day ", "", "Ä"])
        return [name], lambda: self.model.create(name)

    def _rename(self):
        name = self.chance.choice(["Night", "Day", " ", "Dawn "])
        return [name], lambda: self.model.rename(name)

    def _prepare(self):
        identity = self.chance.choice([f"take-{self.chance.randrange(1, 9)}", " take-1", "", "t" * 96, "t" * 97])
        return [identity], lambda: self.model.prepare(identity)

    def _reference(self):
        camera = self.chance.choice(CAMERAS)
        return [camera], lambda: self.model.reference(camera)

    def _select(self):
        projects = list(self.model.projects)
        project = self.chance.choice(projects) if projects else "none"
        takes = list(self.model.projects[project]["takes"]) if projects else []
        take = self.chance.choice(takes) if takes else "none"
        return [project, take], lambda: self.model.select(project, take)

    def _import(self, other_than=None):
        manifest = self.world.manifest(self.root / "source", other_than)
        path = self.root / "source/manifest.json"
        path.write_text(json.dumps(manifest))
        for clip in manifest["clips"]:
            file = str((path.parent / clip["path"]).resolve())
            if file not in self.model.files:
                self._leave(file, self.world.contents[pathlib.Path(file).stem])
        return [str(path)], lambda: self.model.bring_in(manifest, str(path))

    def _pair(self, other_than=()):
        phone = self.chance.choice([phone for phone in self.phones if phone.device not in other_than])
        phone.catalog, phone.contents = self.world.catalog(phone.device, phone.name), self.world.contents
        return phone.arguments(), lambda: self.model.merge(
            phone.catalog, phone.url.removesuffix("/vorn/v1/catalog"), phone.contents)

    def _download(self):
        return [], self.model.download

    def _beside(self):
        """Something else while a download runs; nothing of which the outcome hangs on who comes first."""
        away = [clip for clip in self.model.clips_in_order() if "localPath" not in clip]
        devices = {clip.get("deviceId") for clip in away}
        other = self.chance.choice(BESIDE)
        take = self.model.selected[1]
        is_unclear = any(os.path.exists(self.model.path_of(clip)) for clip in away)
        if is_unclear or len(devices) == len(self.phones) or len(self.world.takes) == 1:
            other = "select"
        others = {"pair": lambda: self._pair(devices), "import": lambda: self._import(take)}
        values, expect = others.get(other, getattr(self, "_" + other))()
        return [other, *values], lambda: self.model.download() + expect()

    def _verify(self):
        return [], self.model.verify

    def _restart(self):
        return [], self.model.restart

    def _flip(self):
        path, content = self._some_local()
        if content:
            at = self.chance.randrange(len(content))
            self._leave(path, content[:at] + bytes([content[at] ^ 1 << self.chance.randrange(8)]) + content[at + 1:])
        return path

    def _delete(self):
        path, content = self._some_local()
        if content:
            pathlib.Path(path).unlink()
            self.model.files[path] = None
        return path

    def _some_local(self):
        clips = self.model.local_clips()
        path = self.chance.choice(clips)["localPath"] if clips else None
        return path, self.model.files.get(path)

    def _leave(self, path, content):
        pathlib.Path(path).write_bytes(content)
        self.model.files[path] = content

    def _partial(self):
        """Of a recording of the selected take: its beginning, or something else, or too much."""
        away = [clip for clip in self.model.clips_in_order() if "localPath" not in clip]
        if not away:
            return None
        clip = self.chance.choice(away)
        path = pathlib.Path(self.model.path_of(clip) + ".part")
        content = self.world.contents.get(clip["id"], b"x")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(self.chance.choice(
            [content[:len(content) // 2], content, content + b"x", bytes(len(content))]))
        return str(path)

    def _kill(self):
        """At an instant of an operation: what was acknowledged is there, and nothing half."""
        operation = self.chance.choice(KILLED)
        before = self.model.copy()
        before.restart()
        words, _ = self._operation(operation)
        self.done.append(["kill"])
        self.program.send(words)
        time.sleep(self.chance.random() ** 3 * 0.02)
        is_acknowledged = self.program.kill() is not None
        self.counts["cut short"] += not is_acknowledged
        self.model.restart()
        state, told = self.program.start()
        if state is None:
            self.faults.append("it does not start")
            return
        self._judge_told(told, [])
        library = state["library"]
        if not (self.model.see(library) or not is_acknowledged and (
                before.see(library) or operation == "download" and self.model.is_between(library, before))):
            self.faults.append("the next start finds neither what was there nor what came after")
        self.model.restart_with(library)
        self._judge_disk()

    # Judging.

    def _judge(self, state, told, expected):
        if state is None:
            self.faults.append(f"it has ended with {self.program.process.wait()}, or was ended since it hung")
            return
        if not self.model.see(state["library"]):
            self.faults.append("the library is not the model's: "
                               + difference(from_file(state["library"]), self.model.projects))
        if state["identity"] != self.identity:
            self.faults.append("the identity is another")
        self._judge_told(told, expected)
        self.counts["refused"] += bool(told)

    def _judge_told(self, told, expected):
        if told != expected:
            self.faults.append(f"it tells {told} instead of {expected}")

    def _judge_disk(self):
        """Every recording that is called local is there as it came, but for what happened to it since."""
        for clip in self.model.local_clips():
            path, content = pathlib.Path(clip["localPath"]), self.model.files[clip["localPath"]]
            if (path.read_bytes() if path.exists() else None) != content:
                self.faults.append(f"{path} is not what it was")
        self.faults += [f"left behind: {path}" for path in (self.root / "storage").glob("*.tmp")]


def difference(found, expected, place="library"):
    """The first of what differs."""
    for key in sorted(found.keys() | expected.keys()):
        if found.get(key) != expected.get(key):
            if isinstance(found.get(key), dict) and isinstance(expected.get(key), dict):
                return difference(found[key], expected[key], f"{place} {key}")
            return f"{place} {key} is {found.get(key)} instead of {expected.get(key)}"
    return ""


def campaign(build, folder, operations, seed):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    known = certificates(folder)
    phones = [Camera(known) for _ in CAMERAS]
    counts, done, first, ended = collections.Counter(), 0, seed, []
    signal.signal(signal.SIGTERM, lambda *_: ended.append(True))  # when its time is over it tells how far it has come
    while done < operations and not ended:
        episode = Episode(build / "campaigns/fault_driver", folder / "library", phones, counts, seed)
        for _ in range(min(EPISODE, operations - done)):
            counts[episode.step()] += 1
            done += 1
            if episode.faults:
                print("\n".join(json.dumps(words) for words in episode.done))
                print(f"FAULT --seed {seed}, operation {len(episode.done)}: " + "; ".join(episode.faults))
                return False
        episode.program.kill()
        seed += 1
    print(", ".join(f"{name} {count}" for name, count in counts.items()))
    print(f"{done} operations on {seed - first} libraries, seeds {first} to {seed - 1}, 0 faults")
    return True


if __name__ == "__main__":
    options = asked(__doc__, operations=3000, seed=int(time.time()))
    sys.exit(0 if campaign(options.build, options.folder, options.operations, options.seed) else 1)
