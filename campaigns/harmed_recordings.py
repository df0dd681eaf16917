#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: unshare --user --map-user=1000 harmed_recordings.py BUILD FOLDER
Does to each verified recording of a take what a disk, a person or another program may do to it. The export has to name it
and leave nothing, verifying has to name it too; what is another name for the same bytes passes. One program goes
through it all, so that nothing that it remembers can stand for what is there. As an ordinary user, whom permissions stop.
BUILD is a build folder; FOLDER is made anew."""

import os
import pathlib
import shutil
import socket
import subprocess
import sys

from command_line import asked
from random_operations import Program

CAMERAS = 3


def rewritten(change):
    """The bytes change; size, where it can be, and time stay."""
    def harm(path, _):
        times = path.stat()
        bytes_ = bytearray(path.read_bytes())
        path.write_bytes(change(bytes_) or bytes_)
        os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
    return harm


def flipped(place):
    def change(bytes_):
        bytes_[int(place * (len(bytes_) - 1))] ^= 1
    return rewritten(change)


def replaced(make):
    def harm(path, other):
        path.rename(path.with_name("aside"))
        make(path, other)
    return harm


def swapped(path, other):
    path.rename(path.with_name("aside"))
    other.rename(path)
    path.with_name("aside").rename(other)


def linked_socket(path):
    with socket.socket(socket.AF_UNIX) as made:
        os.chdir(path.parent)  # a socket's address is short
        made.bind(path.name)


HARMS = {
    "first bit": flipped(0), "middle bit": flipped(0.5), "last bit": flipped(1),
    "a bit a third in": flipped(1 / 3),
    "zeros in the middle": rewritten(lambda bytes_: bytes_[:4096] + bytes(4096) + bytes_[8192:]),
    "other bytes of its size": rewritten(lambda bytes_: os.urandom(len(bytes_))),
    "first byte lost": rewritten(lambda bytes_: bytes_[1:]),
    "last byte lost": rewritten(lambda bytes_: bytes_[:-1]), "half": rewritten(lambda bytes_: bytes_[:len(bytes_) // 2]),
    "emptied": lambda path, _: os.truncate(path, 0),
    "a byte more": rewritten(lambda bytes_: bytes_ + b"\0"), "twice": rewritten(lambda bytes_: bytes_ * 2),
    "a hole behind": lambda path, _: os.truncate(path, 1 << 26),
    "deleted": replaced(lambda path, _: None),
    "swapped": swapped,
    "the other's copy": replaced(lambda path, other: shutil.copy2(other, path)),
    "link to the other": replaced(lambda path, other: path.symlink_to(other)),
    "the other's second name": replaced(lambda path, other: path.hardlink_to(other)),
    "link to nothing": replaced(lambda path, _: path.symlink_to("nowhere")),
    "link to itself": replaced(lambda path, _: path.symlink_to(path.name)),
    "link to a device": replaced(lambda path, _: path.symlink_to("/dev/zero")),
    "pipe": replaced(lambda path, _: os.mkfifo(path)),
    "folder": replaced(lambda path, _: path.mkdir()),
    "socket": replaced(lambda path, _: linked_socket(path)),
    "unreadable": lambda path, _: path.chmod(0),
    "in a closed folder": lambda path, _: path.parent.chmod(0),
    "folder gone": lambda path, _: path.parent.rename(path.parent.with_name("aside")),
}
# The same bytes under its name.
HARMLESS = {
    "link to its bytes": replaced(lambda path, _: path.symlink_to("aside")),
    "second name of its bytes": replaced(lambda path, _: path.hardlink_to(path.with_name("aside"))),
    "a copy": replaced(lambda path, _: shutil.copyfile(path.with_name("aside"), path)),
}


class Take:
    """Recordings, each in a folder of its own, in the library of a running program."""

    def __init__(self, build, folder):
        self.folder, self.source = folder, folder / "source"
        if folder.exists():  # with what was closed, where that was ended in the middle
            subprocess.run(["chmod", "--recursive", "u+rwX", folder], check=True)
            shutil.rmtree(folder)
        folder.mkdir(parents=True)
        subprocess.run([build / "bin/vorn-rig", "take", "--out", self.source, "--cameras", str(CAMERAS), "--seconds", "4",
                        "--size", "320x180", "--fps", "10"], check=True, stdout=subprocess.DEVNULL)
        manifest = self.source / "manifest.json"
        text = manifest.read_text()
        for movie in sorted(self.source.glob("*.mov")):
            place = self.source / movie.stem / movie.name
            place.parent.mkdir()
            movie.rename(place)
            text = text.replace(f'"{movie.name}"', f'"{movie.stem}/{movie.name}"')
        manifest.write_text(text)
        self.pristine = shutil.copytree(self.source, folder / "pristine")
        self.program = Program(build / "campaigns/fault_driver", folder)
        self.program.start()
        state, told = self.does("import", str(manifest))
        clips = [] if told else state["library"]["projects"][0]["takes"][0]["clips"]
        if len(clips) != CAMERAS:
            sys.exit(f"the take is not there: {told}")
        self.movies = {clip["cameraId"]: pathlib.Path(clip["localPath"]) for clip in clips}

    def does(self, *words):
        self.program.send(words)
        state, told = self.program.answer()
        if state is None:
            sys.exit(f"the program has ended, or hangs, at {words}")
        return state, told

    def renew(self):
        for folder in self.source.iterdir():
            if folder.is_dir():
                folder.chmod(0o700)
        shutil.rmtree(self.source)
        shutil.copytree(self.pristine, self.source)
        shutil.rmtree(self.folder / "export", ignore_errors=True)
        (self.folder / "export").mkdir()

    def faults(self, harmed):
        """What is wrong with what is said of the take when the recordings of these cameras are."""
        exported, verified = self.does("export")[1], self.does("verify")[1]
        left = [path.name for path in (self.folder / "export").iterdir()]
        faults = []
        if not harmed:
            faults += [f"it tells {sentence}" for sentence in exported + verified]
            return faults + (["there is no package"] if len(left) != 1 else [])
        if left:
            faults.append(f"the export leaves {left}")
        if not any(sentence.startswith("Resolve export failed: ") and (
                sentence.endswith(f" for {camera}.") or str(self.movies[camera]) in sentence
                or f"{self.movies[camera].parent} " in sentence) for sentence in exported for camera in harmed):
            faults.append(f"the export tells {exported}")
        for camera in harmed:
            if not any(sentence.startswith(f"{camera}: ") and str(self.movies[camera].parent) in sentence
                       for sentence in verified):
                faults.append(f"verifying tells {verified}")
        if not any(f" Failed: {len(harmed)} ({', '.join(harmed)})." in sentence for sentence in verified):
            faults.append(f"verifying comes to {verified}")
        return faults


def campaign(build, folder):
    take = Take(build, folder)
    cameras = list(take.movies)
    runs, faults = 0, 0
    for name, harm in [*HARMS.items(), *HARMLESS.items()]:
        for number, camera in enumerate(cameras):
            other = cameras[number - 1]
            take.renew()
            harm(take.movies[camera], take.movies[other])
            harmed = sorted([camera, other], key=cameras.index) if name == "swapped" else [camera]
            runs += 1
            for fault in take.faults([] if name in HARMLESS else harmed):
                faults += 1
                print(f"FAULT {name}, {camera}: {fault}", flush=True)
    take.renew()
    for fault in take.faults([]):
        faults += 1
        print(f"FAULT in the end: {fault}", flush=True)
    take.program.kill()
    print(f"{runs} recordings harmed or renamed in {len(HARMS) + len(HARMLESS)} ways, {faults} faults")
    return faults == 0


if __name__ == "__main__":
    options = asked(__doc__)
    sys.exit(0 if campaign(options.build, options.folder) else 1)
