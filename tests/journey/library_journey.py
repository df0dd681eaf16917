# SPDX-License-Identifier: Apache-2.0
"""The offline road through the real window: a new project, an import, a reference camera, an export.

library_journey.py PROGRAM TAKE OUT: TAKE is a folder made by `vorn-rig take`, OUT gets pictures/ and the
package. Runs on the display and with the folders that its environment names.
"""

import fcntl
import json
import os
import pathlib
import re
import subprocess
import sys

from desktop import Program, descendants, expect, fresh_folder, library, wait_for


METRES = (6, 18, 2)  # from the voice, as library_journey has the take made


def row_name(clip):
    return f'{clip["cameraId"]}, {clip["path"]}, Verified on Mac'


def make_and_rename_project(program):
    program.press("New")
    program.wait("New VORN Project")
    program.type_into("Project name", "Rehearsal")
    program.picture("new-project")
    program.press("Create")
    program.wait("No takes yet")
    program.press("Rename")
    program.type_into("Project name", "Rehearsals")
    program.picture("rename-project")
    program.press_in("Rename Project", "Rename")
    wait_for("the new name on the disk",
             lambda: library()["projects"][0] | {"id": ""}
             == {"id": "", "name": "Rehearsals", "revision": 2, "takes": []})


def refuse_what_is_no_manifest(program, folder):
    broken = folder / "not a manifest.json"
    broken.write_text('{"schemaVersion": 1}')
    program.press("Import Manifest")
    program.choose_path("Import VORN Source Manifest", broken, "Open")
    program.wait("Manifest import failed: not a manifest.json: clips is missing "
                 "(a list was expected)")
    program.picture("refusal")
    program.press("OK")
    wait_for("the alert to go", lambda: program.find("OK") is None)


def import_take(program, take):
    manifest = json.loads((take / "manifest.json").read_text())
    program.press("Import Manifest")
    program.choose_path("Import VORN Source Manifest", take / "manifest.json", "Open")
    program.wait(f"Take {manifest['takeId']}")
    program.wait("READY")
    program.picture("overview")
    return manifest


def walk_through_tabs(program, manifest):
    for tab, row in (("Media", row_name(manifest["clips"][0])), ("Resolve", "Check head sync"),
                     ("Activity", f"Imported take {manifest['takeId']} with 4 camera clip(s).")):
        program.press(tab)
        program.wait_drawn(row)
        program.picture(tab.lower())


def choose_reference(program, manifest):
    """Chooses another reference camera, sees it on the disk, and goes back to the take's own."""
    def reference():
        return [take["referenceCameraId"] for project in library()["projects"]
                for take in project["takes"] if take["id"] == manifest["takeId"]][0]

    program.press("Media")
    original = manifest["referenceCameraId"]
    rows = {clip["cameraId"]: row_name(clip) for clip in manifest["clips"]}
    other = next(camera for camera in rows if camera != original)
    for camera in (other, original):
        program.press_in(rows[camera], "Use as reference")
        wait_for(f"{camera} as reference on the disk", lambda: reference() == camera)
    program.press("Overview")


def say_why_nothing_is_to_download(program):
    download = program.wait("Download Take")
    # Qt 6.4 tells the accessibility bus of a disabled Qt Quick control by its description alone.
    expect("on this computer" in download.get_description(), "Download Take does not say why it is disabled")


def raise_by_second_start(path, out):
    other = out / "other-runtime"
    other.mkdir(mode=0o700, exist_ok=True)
    second = subprocess.run([path], timeout=30, env={**os.environ, "XDG_RUNTIME_DIR": str(other)})
    expect(second.returncode == 0, "a second start did not hand over to the first")


class StartBesideASilentOne:
    """A start on a library that is held by somebody who does not answer. It tries for a while."""

    def __init__(self, path, out):
        data = out / "held"
        self.folder = fresh_folder(data / "VORN")
        self.lock = (self.folder / "vorn-desktop.lock").open("w")
        fcntl.flock(self.lock, fcntl.LOCK_EX)
        self.process = subprocess.Popen([path], env={**os.environ, "XDG_DATA_HOME": str(data)},
                                        stderr=subprocess.PIPE, text=True)

    def expect_refusal(self):
        words = self.process.communicate(timeout=60)[1]
        expect(self.process.returncode == 1 and "Another VORN Desktop works on this library" in words,
               f"a start beside a silent one ended with {self.process.returncode}: {words}")
        expect([file.name for file in self.folder.iterdir()] == ["vorn-desktop.lock"],
               "a start beside a silent one wrote to its library")


def check_network(program):
    """Nobody films here, and the program says so."""
    program.press("Director")
    program.press("Check network")
    program.wait("Previews: No camera is heard.")
    program.wait("Network lab0: 10.77.0.1/24 is listened on, multicast joined.")
    program.picture("check-network")


def leave_abandoned_save():
    folder = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "VORN"
    folder.mkdir(exist_ok=True)
    save = folder / f"vorn-desktop-{'0' * 32}.tmp"
    save.write_text("a part")
    return save


def check_export(program):
    """Distance is all that the ear finds, each metre 2.9 ms; without ffmpeg it says what to do."""
    program.press("Check export")
    program.wait("Nothing stands in the way of an export.", seconds=60)
    sentences = sorted({node.get_name() for node in descendants(program.root)  # some are out of sight
                        if node.get_name().startswith("By ear: ")})
    if "WITHOUT_FFMPEG" in os.environ:
        expect(sentences == ["By ear: cannot tell: Install ffmpeg to let VORN listen."], f"by ear: {sentences}")
        return
    heard = [re.fullmatch(r"By ear: (\d+) ms late throughout, as from (\d+) m further away\.", one)
             for one in sentences]
    expect(all(heard) and sorted(int(one[2]) for one in heard) == sorted(METRES)
           and all(abs(int(one[1]) - int(one[2]) / 0.343) <= 2 for one in heard), f"by ear: {sentences}")
    program.picture("check-export")


def main():
    path, take, out = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
    abandoned = leave_abandoned_save()
    program = Program(path, fresh_folder(out / "pictures"))
    silent = StartBesideASilentOne(path, out)

    def journey(program):
        program.press("Library")
        program.wait("Select a Take")
        program.picture("first-start")
        make_and_rename_project(program)
        refuse_what_is_no_manifest(program, out)
        manifest = import_take(program, take)
        walk_through_tabs(program, manifest)
        choose_reference(program, manifest)
        say_why_nothing_is_to_download(program)
        check_export(program)
        package = program.export(fresh_folder(out / "packages 100% #1"))
        check_network(program)
        raise_by_second_start(path, out)
        silent.expect_refusal()
        expect(not abandoned.exists(), "what a killed save has left was not removed")
        return package

    print(program.walk(journey))


if __name__ == "__main__":
    main()
