# SPDX-License-Identifier: Apache-2.0
"""What may be true of the folder of an operation that was disturbed, and of what it said."""

import hashlib
import json
import re

TEMPORARY = "vorn-desktop-*.tmp"
UNFINISHED = ".vorn-export-*"
KEPT = "library.json.unreadable-*"
# Of a partial recording that holds other bytes; it is emptied, and is to be fetched anew.
MISMATCH = "Downloaded SHA-256 does not match the phone catalog."
WITHDRAWN = "Secure transfer authorization was cancelled after a transport failure."
# Everything is there that an operation needs, and nothing that is in its way: no failing call makes these true.
UNTRUE = re.compile("No such file|Not a directory|File exists|not there|Missing source|already exists")


def digest(path, unsaid=b""):
    """Of the file without every `unsaid`."""
    bytes_ = path.read_bytes()
    return hashlib.sha256(bytes_.replace(unsaid, b"") if unsaid else bytes_).hexdigest()


class Run:
    """What a driver said, and how it ended."""

    def __init__(self, code, output, calls=()):
        self.code = code  # "killed" where it has not ended by itself
        self.output = output
        self.calls = list(calls)
        self.told = []
        self.states = []
        self.acknowledged = None  # the index of the state that must be on the disk
        for line in output.splitlines():
            word, _, text = line.partition(" ")
            if word == "state":
                self.states.append(json.loads(text))
            elif word == "told":
                self.told.append(text)
            elif word == "done":
                self.acknowledged = len(self.states) - 1

    def ending(self):
        """What is wrong with how it ended; empty when nothing is."""
        if self.code == "killed":
            return ""
        if self.code == "hang":
            return "it hangs"
        if self.code not in (0, 1):
            return f"it ends with {self.code}"
        if self.code == 1 and not self.told:
            return "it fails and tells nothing"
        return ""


def clips(state):
    return [clip for project in state["library"]["projects"] for take in project["takes"]
            for clip in take["clips"] if clip.get("localPath")]


def packages(folder):
    """The visible entries of the packages' folder, and what is in each: the files' digests by their paths, without the
    package's own name, which tells the time."""
    return {package: {str(path.relative_to(package)): digest(path, package.name.encode())
                      for path in sorted(package.rglob("*")) if path.is_file()}
            for package in (folder / "export").glob("*") if not package.name.startswith(".")}


class Judge:
    """Knows what an operation is to find and to leave. `before` is a folder as it is prepared, `clean` that of a run
    in which nothing has failed."""

    def __init__(self, before, started, clean):
        library = before / "storage/library.json"
        self.library = library.read_bytes() if library.exists() else b""
        self.started = started  # the state of a start on it
        self.identity = (before / "storage/collector-id.txt").exists()
        self.recordings = {str(path.relative_to(clean)): path.read_bytes()
                           for path in (clean / "recordings").rglob("*") if path.is_file()}
        self.packages = [set(files.items()) for files in packages(clean).values()]

    def has_damaged_partial(self, folder):
        """Bytes have come, or stayed, that are not the recording's: that must be told, and fetched anew."""
        return any(not self.recordings[str(path.relative_to(folder))[:-len(".part")]].startswith(path.read_bytes())
                   for path in folder.rglob("*.part"))

    def faults(self, folder, first, calls):
        """Of the folder after the run in which `calls` have failed."""
        faults = [first.ending()]
        faults += [f"it writes elsewhere: {call}" for call in first.calls if call.startswith("outside")]
        faults += [f"it tells what is not so: {sentence}" for sentence in first.told if UNTRUE.search(sentence)]
        faults += self.wrong_files(folder)
        if first.states:
            faults += self._wrong_clips(first.states[-1])
        return [fault for fault in faults if fault]

    def faults_later(self, folder, first, second, calls):
        """Of what a second run has found and left, in which nothing failed."""
        if second.code != 0:
            return [f"the second run ends with {second.code} and tells {second.told}"]
        found, last = second.states[0], second.states[-1]
        faults = self._lost(folder, first, found)
        if self._identity_lost(first, found) and not any("collector-id.txt" in call for call in calls):
            faults.append("the identity is another")
        faults += self.wrong_files(folder) + self._wrong_clips(found) + self._wrong_clips(last)
        faults += [f"left behind: {path.name}" for pattern in (TEMPORARY, UNFINISHED, "*.part")
                   for path in folder.rglob(pattern)]
        library = folder / "storage/library.json"
        saved = json.loads(library.read_text()) if library.exists() else {"projects": []}
        if saved not in [state["library"] for state in second.states[second.acknowledged:]]:
            faults.append("the library on the disk is not what the second run acknowledged")
        return faults

    def _lost(self, folder, first, found):
        """Of what was there before, and of what the first run acknowledged."""
        events = set(self.started["found"])
        possible = first.states[first.acknowledged:] if first.acknowledged is not None else (
            [self.started, *first.states])
        if not any(found["library"] == state["library"] and set(found["found"]) == events.union(state["found"], state["appended"])
                   for state in possible):
            return ["the next start finds neither what was acknowledged nor what came after"]
        could_read = first.states and first.states[0]["library"] == self.started["library"]
        is_kept = any(kept.read_bytes() == self.library for kept in (folder / "storage").glob(KEPT))
        if self.library and not could_read and found["library"] != self.started["library"] and not is_kept:
            return ["the library that could not be read is gone"]
        return []

    def _identity_lost(self, first, found):
        known = self.started if self.identity else first.states[0] if first.states and not first.told else None
        return known is not None and known["identity"] != found["identity"]

    def wrong_files(self, folder):
        faults = [f"{path.name} bears its final name and is not right" for path in (folder / "recordings").rglob("*")
                  if path.is_file() and path.suffix != ".part"
                  and path.read_bytes() != self.recordings.get(str(path.relative_to(folder)))]
        faults += [f"the package {package.name} is not whole" for package, files in packages(folder).items()
                   if set(files.items()) not in self.packages]
        return faults

    def _wrong_clips(self, state):
        def is_right(clip):
            try:
                with open(clip["localPath"], "rb") as file:
                    return hashlib.file_digest(file, "sha256").hexdigest() == clip["sha256"]
            except OSError:
                return False
        return [f"{clip['fileName']} is called local and is not right" for clip in clips(state) if not is_right(clip)]
