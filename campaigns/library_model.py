# SPDX-License-Identifier: Apache-2.0
"""What the library is to be after each operation, told by the rules and not by the program: its records as the library
file has them, but in dictionaries by id."""

import copy
import hashlib
import pathlib
import re

from judge import WITHDRAWN

NEW = "new"  # stands for what only the program knows: a fresh id, the present time
NO_DOWNLOAD = "{} has no compatible range-download metadata."


class Refusal(Exception):
    pass


def safe(identifier):
    return re.sub(r"[^a-z0-9_-]", "-", identifier.lower()).strip("-")


def present(**values):
    return {key: value for key, value in values.items() if value is not None}


def from_file(library):
    """The library file's form in dictionaries; refuses what has two entries of one id."""
    def by_id(entries, inner=()):
        named = {entry["id"]: dict(entry) for entry in entries}
        if len(named) != len(entries):
            raise Refusal("two entries have one id")
        for entry in named.values():
            for key in inner[:1]:
                entry[key] = by_id(entry[key], inner[1:])
        return named
    return by_id(library["projects"], ("takes", "clips"))


def at(projects, ids):
    """That clip; an empty one where there is none."""
    project, take, clip = ids
    return projects.get(project, {"takes": {}})["takes"].get(take, {"clips": {}})["clips"].get(clip, {})


class Model:
    def __init__(self, recordings):
        self.recordings = recordings
        self.projects = {}
        self.selected = (None, None)
        self.phones = {}  # that are paired: what they serve, by device
        self.unsaved = []  # what is local in memory alone: ids of project, take and clip
        self.files = {}  # what is to be in each file that is called local; none where it has been deleted
        self.order = {}  # of what was seen last: it decides what a start selects, and who comes first

    def copy(self):
        other = copy.copy(self)
        other.projects, other.phones, other.files = copy.deepcopy(self.projects), dict(self.phones), dict(self.files)
        return other

    # What is seen, against what is expected.

    def see(self, library):
        """Takes over what only the program knows. True when all else is as expected."""
        found = from_file(library)
        self.order = {project["id"]: {take["id"]: [clip["id"] for clip in take["clips"]] for take in project["takes"]}
                      for project in library["projects"]}
        if NEW in self.projects:
            fresh = [key for key in found if key not in self.projects]
            if len(fresh) == 1:
                self.projects[fresh[0]] = self.projects.pop(NEW) | {"id": fresh[0]}
                self.selected = (fresh[0], None)
        for project in self.projects.values():
            for take in project["takes"].values():
                seen = found.get(project["id"], {}).get("takes", {}).get(take["id"], {}).get("createdAt", "")
                if take.get("createdAt") == NEW and re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", seen):
                    take["createdAt"] = seen
        if self.selected[0] is None and self.order:
            self._select_first()
        return found == self.projects

    def is_between(self, library, before):
        """It is this one, but for recordings that are not called local yet, as they were not `before`."""
        found = from_file(library)
        for project, take, clip in ((project, take, clip) for project in self.projects.values()
                                    for take in project["takes"].values() for clip in take["clips"].values()):
            ids = project["id"], take["id"], clip["id"]
            if "localPath" in clip and "localPath" not in at(before.projects, ids):
                at(found, ids).setdefault("localPath", clip["localPath"])
        return found == self.projects

    def restart(self):
        """Nobody was told of what is not on the disk."""
        for ids in self.unsaved:
            del at(self.projects, ids)["localPath"]
        self.unsaved, self.phones = [], {}
        self._select_first()
        return []

    def restart_with(self, library):
        """Whatever is on the disk."""
        self.projects, self.unsaved = from_file(library), []
        self.see(library)
        self.restart()

    def _select_first(self):
        project = next(iter(self.order), None)
        self.selected = (project, next(iter(self.order.get(project, ())), None))

    def local_clips(self):
        return [clip for project in self.projects.values() for take in project["takes"].values()
                for clip in take["clips"].values() if "localPath" in clip]

    def take(self):
        return self.projects.get(self.selected[0], {"takes": {}})["takes"].get(self.selected[1])

    def clips_in_order(self):
        take = self.take()
        return [take["clips"][key] for key in self.order[self.selected[0]][self.selected[1]]] if take else []

    # The operations; each gives what is told of it.

    def create(self, name):
        if name.strip():
            self.projects[NEW] = {"id": NEW, "name": name.strip(), "revision": 1, "takes": {}}
            self.selected = (NEW, None)
            self.unsaved = []
        return []

    def rename(self, name):
        project = self.projects.get(self.selected[0])
        if project and name.strip() and not project["id"].startswith("unassigned-") and project["name"] != name.strip():
            project |= {"name": name.strip(), "revision": project.get("revision", 0) + 1}
            self.unsaved = []
        return []

    def prepare(self, identity):
        project, identity = self.projects.get(self.selected[0]), identity.strip()
        if not identity or len(identity.encode()) > 96 or not project or project["id"].startswith("unassigned-"):
            return ["Choose a regular project and a valid take ID before starting the Director session."]
        take = project["takes"].get(identity)
        if take and (take.get("projectNameAtCapture", project["name"]) != project["name"] or (
                "projectRevisionAtCapture" in take and take["projectRevisionAtCapture"] != project.get("revision"))):
            return [f"Take {identity} is frozen to a different project revision."]
        if not take:
            project["takes"][identity] = {"id": identity, "timelineFPS": "30", "createdAt": NEW, "clips": {}, **present(
                projectNameAtCapture=project["name"], projectRevisionAtCapture=project.get("revision"))}
            self.unsaved = []
        self.selected = (project["id"], identity)
        return []

    def reference(self, camera):
        if self.take():
            self.take()["referenceCameraId"] = camera
            self.unsaved = []
        return []

    def select(self, project, take):
        self.selected = (project, take)
        return []

    def verify(self):
        faults, matching, away = [], 0, 0
        for clip in self.clips_in_order():
            if "localPath" not in clip:
                away += 1
                continue
            path, content = clip["localPath"], self.files[clip["localPath"]]
            if content is None:
                faults.append((clip["cameraId"], f"{path} is not there."))
            elif clip.get("sizeBytes", len(content)) != len(content):
                faults.append((clip["cameraId"], f"{path} has {len(content)} bytes instead of {clip['sizeBytes']}."))
            elif hashlib.sha256(content).hexdigest() != clip["sha256"].lower():
                faults.append((clip["cameraId"], f"{path} has changed: its checksum is another one."))
            else:
                matching += 1
        if not faults:
            return []
        return [": ".join(fault) for fault in faults] + [
            f"Verified take {self.selected[1]}. Matching: {matching}. Failed: {len(faults)} "
            f"({', '.join(camera for camera, _ in faults)})." + (f" Not on this computer: {away}." if away else "")]

    def path_of(self, clip):
        folders = map(safe, (*self.selected, clip["cameraId"], clip["id"]))
        return str(pathlib.Path(self.recordings, *folders, clip["fileName"]))

    def download(self):
        told = []
        for clip in self.clips_in_order():
            if "localPath" not in clip:
                told += self._fetch(clip)
        return told

    def _fetch(self, clip):
        device = clip.get("deviceId")
        if not clip.get("sizeBytes") or not clip.get("remoteURL") or device not in self.phones:
            return [NO_DOWNLOAD.format(clip["fileName"])]
        path, served = pathlib.Path(self.path_of(clip)), self.phones[device][clip["id"]]
        told, withdrawn = "", True
        partial = path.with_name(path.name + ".part")
        kept = partial.read_bytes() if partial.exists() else b""
        if path.exists():
            if hashlib.sha256(path.read_bytes()).hexdigest() == clip["sha256"]:
                self.unsaved.append((*self.selected, clip["id"]))
            else:
                told, withdrawn = "Existing destination hash differs; move it before retrying.", False
        elif len(kept) > clip["sizeBytes"]:
            told, withdrawn = "Partial file is larger than catalog size.", False
        elif len(kept) < clip["sizeBytes"] != len(served):
            told = "File server returned the wrong byte range."
        elif len(kept) < clip["sizeBytes"] and hashlib.sha256(served).hexdigest() != clip["sha256"]:
            told = "File identity headers do not match the catalog."
        elif hashlib.sha256(kept + served[len(kept):clip["sizeBytes"]]).hexdigest() != clip["sha256"]:
            told = "Downloaded SHA-256 does not match the phone catalog."
        else:
            self.unsaved = []
        if told:
            if withdrawn:
                self.phones.pop(device)
            return [f"Download failed for {clip['fileName']}: {told}", *[WITHDRAWN] * withdrawn]
        clip["localPath"] = str(path)
        self.files[str(path)] = path.read_bytes() if path.exists() else served
        return []

    def bring_in(self, manifest, path):
        """A source manifest, at that path."""
        try:
            name = manifest.get("projectName", manifest["projectId"])
            project = copy.deepcopy(self.projects.get(manifest["projectId"])) or present(
                id=manifest["projectId"], name=name, revision=manifest.get("projectRevision"), takes={})
            revision, known = manifest.get("projectRevision"), project.get("revision", 0)
            if revision is not None and known < revision:
                project |= {"name": name, "revision": revision}
            elif "projectName" in manifest and name != project["name"] and (
                    revision is None or revision == project.get("revision")):
                raise Refusal(f"Project ID {project['id']} has conflicting names at the same revision.")
            take = self._stated(project, {key: manifest[key] for key in manifest if key != "createdAt"})
            take["sourceManifestPath"] = path
            for source in manifest["clips"]:
                file = str((pathlib.Path(path).parent / source["path"]).resolve())
                self._merge_clip({"id": source.get("clipId", f"{take['id']}::{source['cameraId']}"), "localPath": file,
                                  "fileName": pathlib.Path(file).name, "anchors": [], "cameraId": source["cameraId"],
                                  "sha256": source["sha256"]}, take, project, self.projects)
        except Refusal as refusal:
            return [f"Manifest import failed: {refusal}"]
        self.projects[project["id"]] = project
        self.selected = (project["id"], take["id"])
        self.unsaved = []
        return []

    def merge(self, catalog, url, served):
        """A phone's catalog, at that address."""
        library = dict(self.projects)
        try:
            for source in catalog["projects"]:
                project = copy.deepcopy(library.get(source["projectId"])) or {
                    "id": source["projectId"], "name": source["name"], "revision": source["revision"], "takes": {}}
                known = project.get("revision", 0)
                if known < source["revision"]:
                    project |= {"name": source["name"], "revision": source["revision"]}
                elif known == source["revision"] and project["name"] != source["name"]:
                    raise Refusal(f"Project ID {project['id']} has conflicting names at revision {known}.")
                library[project["id"]] = self._merge_takes(source["takes"], project, catalog, url, library)
            if catalog.get("unassignedTakes"):
                identity = "unassigned-" + safe(catalog["deviceId"])
                project = copy.deepcopy(library.get(identity)) or {
                    "id": identity, "name": "Unassigned — " + catalog["deviceName"], "revision": 1, "takes": {}}
                library[identity] = self._merge_takes(catalog["unassignedTakes"], project, catalog, url, library)
        except Refusal as refusal:
            return [f"Secure camera connection failed: {refusal}"]
        self.projects = library
        self.phones[catalog["deviceId"]] = served
        self.unsaved = []
        return []

    # The rules of identity.

    def _merge_takes(self, sources, project, catalog, url, library):
        for source in sources:
            take = self._stated(project, source)
            for clip in source["clips"]:
                same = ("cameraId", "fileName", "sizeBytes", "sha256", "mediaKind", "hasVideo", "hasAudio", "anchors")
                self._merge_clip({"id": clip["clipId"], "anchors": [], "remoteURL": url + clip["downloadURL"],
                                  "deviceId": catalog["deviceId"], "deviceName": catalog["deviceName"],
                                  "originCatalogRevision": catalog["catalogRevision"],
                                  **present(**{key: clip.get(key) for key in same})}, take, project, library)
        return project

    @staticmethod
    def _stated(project, source):
        """The take of that id with what `source` states of it."""
        take = project["takes"].setdefault(source["takeId"], {"id": source["takeId"], "timelineFPS": "30", "clips": {}})
        for key, what in (("projectNameAtCapture", "captured project names"),
                          ("projectRevisionAtCapture", "captured project revisions"), ("createdAt", "creation times"),
                          ("referenceCameraId", "reference cameras"), ("timelineFPS", "timeline frame rates")):
            if key in source and take.get(key, source[key]) != source[key] and (key, take[key]) != ("timelineFPS", "30"):
                raise Refusal(f"Take {take['id']} has conflicting {what}.")
        take |= {key: source[key] for key in ("projectNameAtCapture", "projectRevisionAtCapture", "createdAt",
                                              "referenceCameraId", "timelineFPS") if key in source}
        return take

    @staticmethod
    def _merge_clip(clip, take, project, library):
        for other in library.values():
            if other["id"] != project["id"] and any(clip["id"] in each["clips"] for each in other["takes"].values()):
                raise Refusal(f"Immutable clip ID {clip['id']} appears in multiple projects.")
        if any(clip["id"] in each["clips"] for each in project["takes"].values() if each is not take):
            raise Refusal(f"Immutable clip ID {clip['id']} appears in multiple takes.")
        known = take["clips"].get(clip["id"])
        if known and (known["sha256"].lower() != clip["sha256"].lower() or known["cameraId"] != clip["cameraId"] or any(
                key in known and key in clip and known[key] != clip[key] for key in ("sizeBytes", "deviceId"))):
            raise Refusal(f"Immutable clip ID {clip['id']} has conflicting metadata.")
        if not known and any(each["cameraId"] == clip["cameraId"] for each in take["clips"].values()):
            raise Refusal(f"Take {take['id']} has more than one finalized clip for camera {clip['cameraId']}.")
        if known and "localPath" in known:
            clip["localPath"] = known["localPath"]
        take["clips"][clip["id"]] = clip
