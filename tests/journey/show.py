# SPDX-License-Identifier: Apache-2.0
"""A show, directed by keyboard while simulated phones film the take that they have."""

import datetime
import json
import os
import pathlib
import subprocess
import time

from desktop import expect

# At which part of the take; the phones' places on the wall are those of their names.
SCRIPT = ((0.06, "CUT", "cam-a"), (0.18, "CUT", "cam-b"), (0.3, "FADE", "cam-c"), (0.42, "MARK", None),
          (0.5, "CUT", "cam-d"), (0.6, "CUT", "cam-a"), (0.7, "FADE", "cam-b"), (0.82, "CUT", "cam-c"),
          (0.9, "MARK", None))
LEAD_SECONDS = 6


def strike(*keys):
    subprocess.run(["xdotool", "key", *keys], check=True)


class Show:
    def __init__(self, program, phones, names, truth):
        self.program, self.phones = program, phones
        self.places = {camera: str(place) for place, camera in enumerate(sorted(names, key=names.get), 1)}
        reference = next(camera for camera in truth["cameras"] if camera["offsetSeconds"] == 0)
        rate = reference["rate"].split("/")
        self.seconds = reference["frames"] * int((rate + ["1"])[1]) / int(rate[0])

    def start_session(self):
        self.program.press("Library")
        self.program.press("New")
        self.program.type_into("Project name", "Tonight")
        self.program.press("Create")
        self.program.wait("No takes yet")
        self.program.press("Director")
        self.program.press("Start Director Session")
        self.program.wait("Session Running")

    def direct(self):
        """Works through the script while the phones film."""
        scene = json.loads(self.phones.do(f"film {LEAD_SECONDS}"))
        self.zero, self.rate = scene["sceneZeroMonotonicSeconds"], scene["sceneSecondsPerSecond"]
        for part, kind, camera in SCRIPT:
            self._wait_until(part * self.seconds)
            if kind == "MARK":
                self.program.press("Marker")
                continue
            if kind == "CUT":
                strike(self.places[camera], "space")
            else:
                strike(self.places[camera])
                self.program.press("FADE")
        self.program.wait(f"{len(SCRIPT)} events in this session")
        self.program.picture("show")
        self._wait_until(self.seconds)
        self.program.wait_gone("REC")

    def _wait_until(self, scene_seconds):
        """Until the scene is there: what the show is about is time."""
        while (left := self.zero + scene_seconds / self.rate - time.monotonic()) > 0:
            time.sleep(left)

    def decisions(self):
        """What was decided at which second of the scene, as vorn-rig cut takes it. The moments are those of the
        session's clock, which is this computer's; that of the scene knows nothing of the phones' clocks."""
        (journal,) = pathlib.Path(os.environ["XDG_DATA_HOME"], "VORN/sessions").glob("*.jsonl")
        head, *entries = map(json.loads, journal.read_text().splitlines())
        start = datetime.datetime.fromisoformat(head["startedAt"].replace("Z", "+00:00")).timestamp()
        monotonic = start + time.monotonic() - time.time()
        decided = []
        for event in (entry["event"] for entry in entries[1:]):
            second = (monotonic + event["elapsedSeconds"] - self.zero) * self.rate
            camera = {} if event["kind"] == "marker" else {"cameraId": event["toCameraID"]}
            decided.append({"kind": event.get("transition", "MARK"), "sceneSeconds": second, **camera})
        expect([(one["kind"], one.get("cameraId")) for one in decided] == [tuple(line[1:]) for line in SCRIPT],
               f"the journal tells of another show: {decided}")
        return decided
