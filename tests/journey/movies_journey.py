# SPDX-License-Identifier: Apache-2.0
"""Movies that know nothing of each other, dragged onto the Library window, become a take by their sound; then its export,
with editing copies.

movies_journey.py PROGRAM MOVIES OUT: MOVIES is a folder of movies of one moment but for one, which is another's; OUT gets
pictures/ and the package. Runs on the display and with the folders that its environment names.
"""

import hashlib
import json
import os
import pathlib
import subprocess
import sys

from desktop import Program, descendants, expect, fresh_folder, is_showing, library, wait_for
from dragging import drop_on

NOTHING_ALIKE = ("Nothing in its sound is found in the reference's. It may be of another moment, or from too far away.")
METRES = 18  # between the phones that are farthest apart, as movies_journey has them filmed
TAKE = "First night"
PATIENCE_SECONDS = 120  # where movies are listened to or copied


def names(program):
    """Of all that there is, also of what a page has out of sight."""
    return [node.get_name() for node in descendants(program.root)]


def reach(program, name, panel=None):
    """What bears the name, in the panel of that name, brought into sight as by Tab."""
    def reached():
        panels = [node for node in descendants(program.root) if panel in (None, node.get_name())]
        for node in (node for one in panels for node in descendants(one)):
            if node.get_name() == name and node.get_role_name() in ("text", "push button", "check box"):
                node.grab_focus()
                return node if is_showing(node) else None
        return None
    return wait_for(f"“{name}” in {panel or 'the program'}", reached)


def press(program, name, panel):
    reach(program, name, panel)
    program.press_in(panel, name)


def write(program, field, text, panel=None):
    """Types it by keyboard, in place of what the field has."""
    def written():
        node = reach(program, field, panel)
        subprocess.run(["xdotool", "key", "ctrl+a", "type", text], check=True)
        return node.get_text(0, -1) == text
    wait_for(f"“{text}” in “{field}”", written)


def take_in(program, movies):
    """Five movies by hand; one is another moment's, and it says so before the user leaves it out."""
    drop_on(program.wait("Select a Take"), movies)
    program.wait("Add Movies…", "push button")
    program.picture("dropped")
    wait_for("the movies to be heard", lambda: NOTHING_ALIKE in names(program), PATIENCE_SECONDS)
    program.wait("Some movies cannot be aligned. Leave them out, or choose another reference.",
                 seconds=PATIENCE_SECONDS)
    reach(program, "Leave out", f"Movie {len(movies)}")
    program.picture("heard")
    aligned = [name for name in names(program) if name.endswith(" ms, distance aside.")]
    expect(names(program).count(NOTHING_ALIKE) == 1 and len(aligned) == len(movies) - 2, f"aligned: {aligned}")
    expect(program.wait("Create Take").get_description().startswith("Some movies cannot be aligned."),
           "a take could be created with a movie of another moment")
    press(program, "Leave out", f"Movie {len(movies)}")
    program.wait("All movies are aligned.")


def create_take(program, cameras):
    press(program, "Make Reference", "Movie 1")
    wait_for("the others on the time of the first", lambda: "Movie 2" in names(program) and not program.find("Movie 1"))
    program.wait("All movies are aligned.", seconds=PATIENCE_SECONDS)
    for number, camera in enumerate(cameras, 1):
        write(program, f"Name of camera {number}", camera)
    write(program, "Take", TAKE, "The take")
    write(program, "Largest distance between phones, in metres", str(METRES))
    wait_for("the distance in what is shown", lambda: sum(
        name.endswith(" ms with the distance.") for name in names(program)) == len(cameras) - 1)
    program.picture("take-named")
    program.press("Create Take")
    program.wait_gone("Create Take")
    program.wait("READY")
    program.press("Media")
    program.picture("take-created")


def expect_an_ordinary_import(movies, cameras):
    takes = [take for project in library()["projects"] for take in project["takes"]]
    expect([take["id"] for take in takes] == [TAKE], f"takes in the library: {takes}")
    clips = {clip["cameraId"]: clip for clip in takes[0]["clips"]}
    expect(takes[0]["referenceCameraId"] == cameras[0] and
           {camera: clip["localPath"] for camera, clip in clips.items()} == dict(zip(cameras, map(str, movies))),
           f"clips in the library: {clips}")
    manifests = list(pathlib.Path(os.environ["HOME"]).rglob("Videos/**/manifest.json"))
    expect(len(manifests) == 1 and [file.name for file in manifests[0].parent.iterdir()] == ["manifest.json"]
           and manifests[0].parent.parent.name != "Videos", f"manifests: {manifests}")


def export_with_copies(program, parent):
    program.press("Resolve")
    reach(program, "Export with editing copies")
    program.press("Export with editing copies")
    wait_for("the forecast", lambda: any(name.startswith("The copies take about ") for name in names(program)))
    program.picture("editing-copies")
    return program.export(parent)


def say_what_is_missing(program, movies):
    drop_on(program.wait("Select a Take"), movies)
    wait_for("a sentence for each movie",
             lambda: names(program).count("Install ffmpeg to let VORN listen.") == len(movies))
    program.wait("Some movies cannot be aligned. Leave them out, or choose another reference.")
    program.picture("without-ffmpeg")


def state_of(movie):
    return hashlib.sha256(movie.read_bytes()).hexdigest(), movie.stat().st_mtime_ns


def main():
    path, folder, out = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
    movies = sorted(folder.iterdir())
    cameras = [f"cam-{letter}" for letter in "abcd"]
    before = {movie: state_of(movie) for movie in movies}
    program = Program(path, fresh_folder(out / "pictures"))

    def journey(program):
        program.press("Library")
        if "WITHOUT_FFMPEG" in os.environ:
            return say_what_is_missing(program, movies)
        take_in(program, movies)
        create_take(program, cameras)
        expect_an_ordinary_import(movies[:len(cameras)], cameras)
        return export_with_copies(program, fresh_folder(out / "packages 100% #1"))

    package = program.walk(journey)
    expect({movie: state_of(movie) for movie in sorted(folder.iterdir())} == before, "the movies have been touched")
    print(package)


if __name__ == "__main__":
    main()
