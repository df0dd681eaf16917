# SPDX-License-Identifier: Apache-2.0
"""What three phones film together, and how they and manifests tell of it."""

import uuid

from camera import digest, told_clip

CAMERAS = ("cam-a", "cam-b", "cam-c")


class World:
    """What has been filmed, and what each phone knows of it."""

    def __init__(self, chance):
        self.chance = chance
        self.projects = [self._project() for _ in range(2)]
        self.takes = []
        self.contents = {}

    def identity(self):
        return str(uuid.UUID(int=self.chance.getrandbits(128), version=4))

    def _project(self):
        return {"id": self.identity(), "names": [self.chance.choice(["Night", "Day", "Ärger", "night"])]}

    def grow(self):
        """Another project, another name, or another take, each with a clip of some cameras."""
        turn = self.chance.random()
        if turn < 0.1:
            self.projects.append(self._project())
        elif turn < 0.25:
            self.chance.choice(self.projects)["names"].append(f"Name {self.chance.randrange(5)}")
        else:
            owner = self.chance.choice([*self.projects, None])
            take = {"owner": owner, "clips": {}, "told": {"takeId": f"take-{len(self.takes) + 1}"}}
            for key, values in (("createdAt", ["2026-01-31T09:30:00Z"]), ("referenceCameraId", CAMERAS),
                                ("timelineFPS", ["25", "30", "29.97"])):
                if self.chance.random() < 0.5:
                    take["told"][key] = self.chance.choice(values)
            if owner and self.chance.random() < 0.5:
                take["told"]["projectNameAtCapture"] = owner["names"][-1]
                take["told"]["projectRevisionAtCapture"] = len(owner["names"])
            for camera in CAMERAS:
                if self.chance.random() < 0.8:
                    identity = take["clips"][camera] = self.identity()
                    self.contents[identity] = self.chance.randbytes(self.chance.randrange(1, 3000))
            self.takes.append(take)

    def catalog(self, device, camera):
        """What that phone tells: perhaps less than there is, names as they were, rarely a contradiction."""
        def takes(owner):
            return [take["told"] | ({"projectId": owner["id"]} if owner else {}) | {"clips": [
                told_clip(take["clips"][camera], camera, f"{camera}.mov", self.contents[take["clips"][camera]])
                for _ in take["clips"].keys() & {camera}]}
                for take in self.takes if take["owner"] is owner and self.chance.random() < 0.9]

        def known(project):
            revision = max(1, len(project["names"]) - self.chance.choice([0, 0, 0, 1]))
            return {"projectId": project["id"], "name": project["names"][revision - 1], "revision": revision,
                    "takes": takes(project)}
        told = {"schemaVersion": 1, "deviceId": device, "deviceName": camera,
                "catalogRevision": self.chance.randrange(99), "projects": [known(project) for project in self.projects]}
        if camera == "cam-a":
            told["unassignedTakes"] = takes(None)
        if self.chance.random() < 0.15:
            self._contradict(told["projects"])
        return told

    def _contradict(self, projects):
        takes = [take for project in projects for take in project["takes"]]
        clips = [clip for take in takes for clip in take["clips"]]
        changes = [("name", "Another", projects), ("revision", 1, projects), ("timelineFPS", "24", takes),
                   ("createdAt", "2026-02-01T00:00:00Z", takes), ("referenceCameraId", "cam-z", takes),
                   ("projectNameAtCapture", "Another", takes), ("sha256", digest(b"another"), clips),
                   ("sizeBytes", 7, clips), ("cameraId", "cam-z", clips)]
        key, value, records = self.chance.choice(changes)
        if records:
            self.chance.choice(records)[key] = value
        if len(takes) > 1 and self.chance.random() < 0.3:  # a recording in another take, its camera being new there
            source, target = self.chance.sample(takes, 2)
            if source["clips"] and not target["clips"]:
                target["clips"].append(source["clips"].pop())

    def manifest(self, folder, other_than):
        """Of recordings that lie in `folder`, of one take but that of this id."""
        take = self.chance.choice([take for take in self.takes if take["told"]["takeId"] != other_than])
        owner = take["owner"] or self.projects[0]
        told = {"schemaVersion": 1, "projectId": owner["id"], "referenceCameraId": "cam-a", **take["told"], "clips": []}
        if self.chance.random() < 0.5:
            revision = self.chance.randrange(len(owner["names"])) + 1
            told |= {"projectName": owner["names"][revision - 1], "projectRevision": revision}
        for camera, identity in take["clips"].items():
            file = folder / f"{identity}.mov"
            clip = {"cameraId": camera, "takeId": take["told"]["takeId"],
                    "sha256": digest(self.contents[identity]).upper(),
                    "path": self.chance.choice([str(file), f"../source/{file.name}"])}
            if self.chance.random() < 0.9:
                clip["clipId"] = identity
            told["clips"].append(clip)
        return told
